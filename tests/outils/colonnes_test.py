"""Result columns of `outils-socle lexique` line up on a terminal whatever the accents.

Each result line pads the form to 30 terminal columns before its number. The width is measured
here by Python's unicodedata, independently of the program: combining marks and format
characters take no column, wide and full-width East Asian characters two, the rest one.
"""
import os
import subprocess
import sys
import unicodedata

PROGRAMME, DOSSIER = sys.argv[1], sys.argv[2]
LARGEUR = 2 + 30  # two spaces of indent, then the padded form

MOTS = [
    "ete", "été", "Été", "ÉTÉ", "e\u0301te",  # precomposed and combining accents
    "œuvre", "cœur", "naïveté", "garçon",
    "日本", "東京都",  # two columns each
    "anticonstitutionnellement",
]


def largeur(texte):
    total = 0
    for c in texte:
        if unicodedata.combining(c) or unicodedata.category(c) in ("Mn", "Me", "Cf"):
            continue
        total += 2 if unicodedata.east_asian_width(c) in ("W", "F") else 1
    return total


def lance(*arguments):
    r = subprocess.run([PROGRAMME, *arguments], capture_output=True, timeout=60)
    if r.returncode != 0:
        sys.exit(f"{arguments}: exit {r.returncode}\n{r.stderr.decode('utf-8', 'replace')}")
    return r.stdout.decode("utf-8")


os.makedirs(DOSSIER, exist_ok=True)
liste = os.path.join(DOSSIER, "mots.txt")
lexique = os.path.join(DOSSIER, "mots.aut")
with open(liste, "w", encoding="utf-8") as f:
    f.write("\n".join(MOTS) + "\n")
lance("lexique", "compile", liste, lexique)

sorties = {
    "prefixe (every form)": lance("lexique", "prefixe", lexique, ""),
    "cherche": lance("lexique", "cherche", lexique, "ETE", "coeur"),
    "corrige": lance("lexique", "corrige", lexique, "cuer", "naivete"),
}
vues = set()
fautes = []
for nom, sortie in sorties.items():
    for ligne in sortie.splitlines():
        if " n° " not in ligne:
            continue
        avant = ligne.split(" n° ")[0]
        vues.add(avant.strip())
        if largeur(avant) != LARGEUR:
            fautes.append(f"{nom}: {largeur(avant)} columns before the number in {ligne!r}")
manquants = set(MOTS) - vues
if manquants:
    fautes.append(f"forms never listed: {sorted(manquants)}")
if fautes:
    sys.exit("\n".join(fautes))
print(f"{len(vues)} forms, every number at column {LARGEUR + 1}")
