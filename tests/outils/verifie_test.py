"""outils-socle lexique verifie on a French text with mistakes placed in it.

Every mistake is found at its line and column (in characters) with the intended word among the
suggestions; nothing else is reported: elisions (l'arbre, qu'il, l'école with a typographic
apostrophe), words held whole (aujourd'hui, c'est-à-dire), hyphenated compounds of known parts
(dis-moi, a-t-il), capitals at a sentence start or throughout, a ligature typed as two letters,
decomposed accents, and codes glued to digits. Exit status 1 with mistakes, 0 without, 2 on
trouble.
"""
import os
import random
import re
import subprocess
import sys
import unicodedata

PROGRAMME, DOSSIER = sys.argv[1], sys.argv[2]
os.makedirs(DOSSIER, exist_ok=True)

MOTS = """aujourd'hui l' arbre du jardin a perdu ses feuilles c'est-à-dire que automne est là le facteur
passé ce matin il apporté la lettre dis moi qu' dit les enfants jouaient dans cour de école et leur
maîtresse appelait une œuvre remarquable un cœur d' or voilà nous retiendrons chapitre faisait beau
boulangerie sentait pain chaud jusqu' au soir été elle mairesse pelait chapelait fessait peut être""".split()


def lance(*arguments, attendu):
    r = subprocess.run([PROGRAMME, *arguments], capture_output=True, timeout=120)
    if r.returncode != attendu:
        sys.exit(f"{arguments}: exit {r.returncode}, {attendu} expected\n{r.stderr.decode('utf-8', 'replace')}")
    return r.stdout.decode("utf-8")


liste = os.path.join(DOSSIER, "mots.txt")
with open(liste, "w", encoding="utf-8") as f:
    f.write("\n".join(MOTS) + "\n")
lexique = os.path.join(DOSSIER, "mots.aut")
lance("lexique", "compile", liste, lexique, attendu=0)

# The clean text: every word is known one way or another.
PROPRE = (
    "Aujourd'hui, l'arbre du jardin a perdu ses feuilles. C'est-à-dire que l'automne est là.\n"
    "Le facteur est passé ce matin ; a-t-il apporté la lettre ? Dis-moi ce qu'il a dit.\n"
    "Les enfants jouaient dans la cour de l\u2019école, et leur maîtresse les appelait.\n"
    "Une OEUVRE remarquable, un cœur d'or : voilà ce que nous retiendrons du 2e chapitre.\n"
    "Il faisait beau, et la boulangerie sentait le pain chaud jusqu'au soir. "
    + unicodedata.normalize("NFD", "Été") + ".\n"
)
# Mistakes of the kinds the correction model knows, placed at random words of the clean text.
FAUTES = {"maîtresse": "maitresse", "appelait": "apelait", "faisait": "fesait", "jardin": "jardn",
          "feuilles": "fueilles", "remarquable": "remarqable"}

propre = os.path.join(DOSSIER, "propre.txt")
with open(propre, "w", encoding="utf-8") as f:
    f.write(PROPRE)
sortie = lance("lexique", "verifie", lexique, propre, attendu=0)
if sortie:
    sys.exit(f"words reported in the clean text:\n{sortie}")

alea = random.Random(16)
for essai in range(5):
    choisies = alea.sample(sorted(FAUTES), 3)
    texte = PROPRE
    for juste in choisies:
        texte = re.sub(rf"\b{juste}\b", FAUTES[juste], texte, count=1)
    attendus = []
    for numero, ligne in enumerate(texte.split("\n"), 1):
        for juste in choisies:
            for m in re.finditer(rf"\b{FAUTES[juste]}\b", ligne):
                attendus.append((numero, m.start() + 1, FAUTES[juste], juste))
    attendus.sort()
    chemin = os.path.join(DOSSIER, f"fautes{essai}.txt")
    with open(chemin, "w", encoding="utf-8") as f:
        f.write(texte)
    sortie = lance("lexique", "verifie", lexique, chemin, "--suggestions", "5", attendu=1)
    trouves = []
    for l in sortie.splitlines():
        m = re.fullmatch(re.escape(chemin) + r":(\d+):(\d+): (\S+) → (.*)", l)
        if not m:
            sys.exit(f"unexpected line: {l!r}")
        trouves.append((int(m[1]), int(m[2]), m[3], m[4].split(", ")))
    if [(a, b, c) for a, b, c, _ in attendus] != [(a, b, c) for a, b, c, _ in trouves]:
        sys.exit(f"reported {[(a, b, c) for a, b, c, _ in trouves]}, expected {attendus}")
    for (_, _, _, juste), (_, _, faute, suggestions) in zip(attendus, trouves):
        if juste not in suggestions:
            sys.exit(f"{faute}: {suggestions} lacks {juste}")
print("5 texts with 3 placed mistakes each: found where they are, with the intended word suggested")

# An elided or hyphenated word with one wrong part: that part is corrected, the rest kept as
# typed (apostrophe, capital), and only vowels or an h follow an elision.
elisions = os.path.join(DOSSIER, "elisions.txt")
with open(elisions, "w", encoding="utf-8") as f:
    f.write("Dans la cour de l'ecole, L\u2019Ecole, peut-etre.\n")
sortie = lance("lexique", "verifie", lexique, elisions, attendu=1)
premieres = {m[1]: m[2].split(", ") for m in re.finditer(r":\d+:\d+: (\S+) → (.*)", sortie)}
for faute, juste in [("l'ecole", "l'école"), ("L\u2019Ecole", "L\u2019École"), ("peut-etre", "peut-être")]:
    if premieres.get(faute, [None])[0] != juste:
        sys.exit(f"{faute}: {premieres.get(faute)} does not begin with {juste}\n{sortie}")
    if any(re.match(r"[lL]['\u2019][^aeiouyhàâéèêëîïôöûùüœæAEIOUYHÉÈ]", s) for s in premieres[faute]):
        sys.exit(f"{faute}: an elision before a consonant in {premieres[faute]}")
print("elided and hyphenated words corrected part by part")

# Without suggestions, only the positions; trouble exits with 2.
sortie = lance("lexique", "verifie", lexique, chemin, "--suggestions", "0", attendu=1)
if "→" in sortie or len(sortie.splitlines()) != len(trouves):
    sys.exit(f"--suggestions 0:\n{sortie}")
lance("lexique", "verifie", lexique, os.path.join(DOSSIER, "absent.txt"), attendu=2)
lance("lexique", "verifie", lexique, attendu=2)
lance("lexique", "verifie", lexique, propre, "--suggestions", "-1", attendu=2)
print("positions alone with --suggestions 0; trouble exits with 2")
