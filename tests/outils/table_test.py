"""outils-socle table, run as a user runs it, against answers worked out here in Python.

- A list with a number column (and words without one, numbered by their line) is built into a
  table; `trouve` gives every word's number, from the loaded table and from the file read in
  place, and "absent" for near misses; the last of two equal words wins.
- `joker` answers what matching the list with a regular expression gives; `anagrammes` what
  comparing sorted letters gives, folded as the command folds them (case, accents, "œ" as "oe").
- Versions 110 and 100 answer alike; a damaged file is refused with exit status 1 and one line
  on stderr, never a crash.
"""
import os
import random
import re
import subprocess
import sys
import unicodedata

PROGRAMME, DOSSIER = sys.argv[1], sys.argv[2]
os.makedirs(DOSSIER, exist_ok=True)


def lance(*arguments, attendu=0):
    r = subprocess.run([PROGRAMME, *arguments], capture_output=True, timeout=300)
    if r.returncode != attendu:
        sys.exit(f"{arguments}: exit {r.returncode}, {attendu} expected\n"
                 f"{r.stderr.decode('utf-8', 'replace')}")
    return r.stdout.decode("utf-8"), r.stderr.decode("utf-8")


def reponses(sortie):
    """The keys a search printed, in order (the first column of the indented lines)."""
    return [ligne.split()[0] for ligne in sortie.splitlines() if ligne.startswith("  ")]


alea = random.Random(14)
lettres = "abcdeéèêfgiœrst"
mots = sorted({"".join(alea.choice(lettres) for _ in range(alea.randint(1, 7))) for _ in range(3000)})
nombres = {}
lignes = []
for i, m in enumerate(mots):
    if i % 3 == 0:
        lignes.append(m)  # numbered by its line
        nombres[m] = len(lignes)
    else:
        n = alea.randrange(2**32)
        lignes.append(f"{m}\t{n}")
        nombres[m] = n
# A word again: its last number stands.
lignes.append(f"{mots[5]}\t77")
nombres[mots[5]] = 77
liste = os.path.join(DOSSIER, "liste.txt")
with open(liste, "w", encoding="utf-8") as f:
    f.write("\n".join(lignes) + "\n")

for version in ("110", "100"):
    table = os.path.join(DOSSIER, f"table{version}.tab")
    sortie, _ = lance("table", "construis", liste, table, "--version", version)
    assert f"{len(mots)} clefs (1 en double)" in sortie, sortie
    info, _ = lance("table", "info", table)
    assert re.search(rf"version\s+{version}\b", info) and re.search(rf"clefs\s+{len(mots)}\b", info), info

    # Every word, and words that are not there (a letter more, a letter less).
    requetes = mots[::7] + [m + "z" for m in mots[::50]] + [m[:-1] for m in mots[::50] if m[:-1] not in nombres]
    sortie, erreurs = lance("table", "trouve", table, *requetes)
    vus = {}
    for ligne in sortie.splitlines()[1:]:
        mot, reponse = ligne.split("\t")[:2]
        vus[mot.rstrip()] = reponse
    for m in requetes:
        attendu = str(nombres[m]) if m in nombres else "absent"
        assert vus.get(m) == attendu, (version, m, vus.get(m), attendu)

    # Jokers: "?" one character, "*" any run; keys in code point order.
    for motif in ("a*", "?e*", "*é", "b?r*s", "*œ*", "??"):
        sortie, _ = lance("table", "joker", table, motif)
        expression = re.compile("".join(".*" if c == "*" else "." if c == "?" else re.escape(c) for c in motif))
        attendus = sorted((m for m in mots if expression.fullmatch(m)))
        assert reponses(sortie) == attendus, (version, motif, reponses(sortie)[:5], attendus[:5])

# Anagrams fold case and accents (the default mask), and ligatures into their letters.
def signature(mot):
    plie = "".join(c for c in unicodedata.normalize("NFD", mot.replace("œ", "oe")) if not unicodedata.combining(c))
    return sorted(plie.lower())


table = os.path.join(DOSSIER, "table110.tab")
for mot in alea.sample(mots, 40):
    sortie, _ = lance("table", "anagrammes", table, mot)
    attendus = sorted(m for m in mots if signature(m) == signature(mot))
    assert sorted(reponses(sortie)) == attendus, (mot, reponses(sortie), attendus)

# Damage: cut short, or bytes changed at random; refused, one line, status 1 (or answered
# when the change left a valid table).
with open(table, "rb") as f:
    octets = f.read()
coupee = os.path.join(DOSSIER, "coupee.tab")
with open(coupee, "wb") as f:
    f.write(octets[: len(octets) // 2])
_, erreurs = lance("table", "trouve", coupee, mots[0], attendu=1)
assert erreurs.startswith("outils-socle: ") and erreurs.count("\n") == 1, erreurs
for essai in range(30):
    abimee = bytearray(octets)
    for _ in range(4):
        abimee[alea.randrange(len(abimee))] = alea.randrange(256)
    chemin = os.path.join(DOSSIER, "abimee.tab")
    with open(chemin, "wb") as f:
        f.write(abimee)
    for action, argument in (("trouve", mots[essai]), ("joker", "*"), ("anagrammes", mots[essai])):
        r = subprocess.run([PROGRAMME, "table", action, chemin, argument], capture_output=True, timeout=60)
        assert r.returncode in (0, 1), (essai, action, r.returncode, r.stderr)

# A bad number column: the line is named.
mauvaise = os.path.join(DOSSIER, "mauvaise.txt")
with open(mauvaise, "w", encoding="utf-8") as f:
    f.write("un\t1\ndeux\tdeux\n")
_, erreurs = lance("table", "construis", mauvaise, os.path.join(DOSSIER, "x.tab"), attendu=1)
assert "mauvaise.txt:2" in erreurs, erreurs
print("outils-socle table : construction, recherches et dommages conformes")
