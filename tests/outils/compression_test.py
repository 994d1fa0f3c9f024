"""outils-socle huffman and blocs, run as a user runs them, against independent oracles.

- The total length that `huffman stats` reports equals the optimum of an independent Huffman
  construction over the same counts (Python's heapq, the escape leaf of count 0 included): the
  optimum is unique even where ties allow several codes. It lies between the entropy of the
  counts and one bit per character above it.
- A code written by `huffman code` encodes and decodes a text back to the same bytes.
- `blocs range` packs words that `blocs lis` gives back from their positions.
"""
import heapq
import math
import os
import random
import subprocess
import sys

PROGRAMME, DOSSIER = sys.argv[1], sys.argv[2]
os.makedirs(DOSSIER, exist_ok=True)


def lance(*arguments):
    r = subprocess.run([PROGRAMME, *arguments], capture_output=True, timeout=300)
    if r.returncode != 0:
        sys.exit(f"{arguments}: exit {r.returncode}\n{r.stderr.decode('utf-8', 'replace')}")
    return r.stdout.decode("utf-8")


def champ(sortie, nom):
    for ligne in sortie.splitlines():
        if ligne.startswith(nom):
            return ligne[len(nom):].split()[0]
    sys.exit(f"no « {nom} » in:\n{sortie}")


def optimum(comptes):
    """The least total length of a prefix code over these counts and an escape leaf of 0."""
    tas = list(comptes) + [0]
    heapq.heapify(tas)
    total = 0
    while len(tas) > 1:
        a, b = heapq.heappop(tas), heapq.heappop(tas)
        total += a + b
        heapq.heappush(tas, a + b)
    return total


def unites(texte):
    octets = texte.encode("utf-16-le")
    return [octets[i] | octets[i + 1] << 8 for i in range(0, len(octets), 2)]


def verifie_stats(chemin, texte):
    sortie = lance("huffman", "stats", chemin)
    u = unites(texte)
    comptes = {}
    for c in u:
        comptes[c] = comptes.get(c, 0) + 1
    n = len(u)
    bits = int(champ(sortie, "bits au total"))
    if int(champ(sortie, "caractères")) != n:
        sys.exit(f"{chemin}: {champ(sortie, 'caractères')} characters, expected {n}")
    attendu = optimum(comptes.values())
    if bits != attendu:
        sys.exit(f"{chemin}: {bits} bits, the optimum is {attendu}")
    if n:
        h = -sum(k / n * math.log2(k / n) for k in comptes.values())
        if not (h * n <= bits + 1e-6 and bits <= (h + 1) * n + 1e-6):
            sys.exit(f"{chemin}: {bits} bits outside [{h * n:.1f}, {(h + 1) * n:.1f}]")
    if champ(sortie, "aller-retour") != "exact":
        sys.exit(f"{chemin}: the round trip failed")
    return bits


textes = {
    "vide.txt": "",
    "seul.txt": "aaaa",
    "abracadabra.txt": "abracadabra",
    "melange.txt": "L’été, « cœur » et Œdipe — 日本 ☃ " * 50 + "\n",
}
for nom, texte in textes.items():
    chemin = os.path.join(DOSSIER, nom)
    with open(chemin, "w", encoding="utf-8") as f:
        f.write(texte)
    verifie_stats(chemin, texte)
with open("/usr/share/dict/french", encoding="utf-8") as f:
    francais = f.read()
bits = verifie_stats("/usr/share/dict/french", francais)

# A code from one text, used on another (with characters the code lacks).
code = os.path.join(DOSSIER, "fr.huf")
lance("huffman", "code", "/usr/share/dict/french", code)
for nom in ("melange.txt", "abracadabra.txt"):
    source = os.path.join(DOSSIER, nom)
    bits_fichier, retour = source + ".bits", source + ".retour"
    lance("huffman", "encode", code, source, bits_fichier)
    lance("huffman", "decode", code, bits_fichier, retour)
    if open(source, "rb").read() != open(retour, "rb").read():
        sys.exit(f"{nom}: decoded text differs")
if "échappement" not in lance("huffman", "montre", code, "--limite", "5"):
    sys.exit("huffman montre shows no escape code")

# Blocks: pack a slice of the list, fetch words back by position.
mots = francais.split("\n")[:30000]
liste = os.path.join(DOSSIER, "mots.txt")
with open(liste, "w", encoding="utf-8") as f:
    f.write("\n".join(mots) + "\n")
blocs = os.path.join(DOSSIER, "mots.blocs")
sortie = lance("blocs", "range", liste, blocs, "--taille", "4096")
if "tous exacts" not in sortie:
    sys.exit(f"blocs range: {sortie}")
positions = open(blocs + ".positions").read().split()
if len(positions) != len(mots):
    sys.exit(f"{len(positions)} positions for {len(mots)} words")
alea = random.Random(3)
choisis = [alea.randrange(len(mots)) for _ in range(20)]
sortie = lance("blocs", "lis", blocs, *(positions[i] for i in choisis))
lus = [ligne.split("\t")[1] for ligne in sortie.splitlines()]
if lus != [mots[i] for i in choisis]:
    sys.exit(f"blocs lis gave {lus}")
print(f"huffman: the French list in {bits} bits, the optimum; blocs: 20 words fetched back")
