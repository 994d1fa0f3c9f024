"""outils-socle synchro and jours, run as a user runs them, against independent oracles.

- synchro against GNU diff: on a few hundred random pairs of line sequences (few distinct
  lines, so that many alignments compete) and on versions of a French text edited here, the
  lines deleted plus inserted equal `diff --minimal`'s count; the unified output, with any
  context, given to `patch`, turns the old file into the new one byte for byte (last lines
  without a newline included); the exit status is diff's.
- --caracteres: the character view, read back (removals kept and insertions dropped, or the
  reverse), gives the old and the new text.
- --cote-a-cote never passes its width; --limite returns in time on a pathological pair with
  an output that still patches; trouble exits with 2.
- jours against Julian day numbers (Julian calendar before each reform, Gregorian after) and
  Python's weekday, for random dates; today's date against Python's.
"""
import datetime
import os
import random
import re
import shutil
import subprocess
import sys
import time
import unicodedata

PROGRAMME, DOSSIER = sys.argv[1], sys.argv[2]
os.makedirs(DOSSIER, exist_ok=True)
alea = random.Random(15)


def lance(*arguments, attendu=None, entree=None):
    r = subprocess.run([PROGRAMME, *arguments], capture_output=True, timeout=300, input=entree)
    if attendu is not None and r.returncode != attendu:
        sys.exit(f"{arguments}: exit {r.returncode}, {attendu} expected\n{r.stderr.decode('utf-8', 'replace')}")
    return r


def synchro(*arguments, **k):
    return lance("synchro", *arguments, **k)


def ecris(nom, texte):
    chemin = os.path.join(DOSSIER, nom)
    with open(chemin, "wb") as f:
        f.write(texte.encode("utf-8"))
    return chemin


def diff_minimal(a, b):
    r = subprocess.run(["diff", "--minimal", a, b], capture_output=True, timeout=300)
    return sum(1 for l in r.stdout.split(b"\n") if l[:2] in (b"< ", b"> ") or l in (b"<", b">"))


def verifie_paire(nom, ancien, nouveau, contexte):
    a, b = ecris(nom + ".a", ancien), ecris(nom + ".b", nouveau)
    attendu = 0 if ancien == nouveau else 1
    distance = int(synchro(a, b, "--distance", attendu=attendu).stdout)
    if distance != diff_minimal(a, b):
        sys.exit(f"{nom}: distance {distance}, diff --minimal counts {diff_minimal(a, b)}")
    # Below the search's bound the default is already a shortest diff; --minimal says the same.
    if int(synchro(a, b, "--distance", "--minimal", attendu=attendu).stdout) != distance:
        sys.exit(f"{nom}: --minimal gives another distance")
    unifie = synchro(a, b, "--contexte", str(contexte), attendu=attendu).stdout
    if attendu == 0:
        if unifie:
            sys.exit(f"{nom}: output for equal files")
        return distance
    if sum(1 for l in unifie.split(b"\n")[2:] if l[:1] in (b"-", b"+")) != distance:
        sys.exit(f"{nom}: the unified output's lines do not add up to the distance")
    copie = os.path.join(DOSSIER, nom + ".patche")
    shutil.copyfile(a, copie)
    r = subprocess.run(["patch", "-s", "-o", copie + ".sortie", copie], input=unifie, capture_output=True, timeout=60)
    with open(copie + ".sortie", "rb") as f:
        patche = f.read()
    if r.returncode != 0 or patche != nouveau.encode("utf-8"):
        sys.exit(f"{nom}: patch does not give the new file back ({r.stdout!r} {r.stderr!r})\n{unifie.decode()}")
    return distance


# ---- random pairs
total = 0
for n in range(300):
    distinctes = [f"ligne {c}" for c in "abcdefghijklmnopqrst"[: alea.randint(1, 20)]]
    ancien = [alea.choice(distinctes) for _ in range(alea.randint(0, 60))]
    if n % 5 == 0:
        nouveau = [alea.choice(distinctes) for _ in range(alea.randint(0, 60))]
    else:
        nouveau = list(ancien)
        for _ in range(alea.randint(0, 8)):
            k = alea.randint(0, len(nouveau))
            choix = alea.randrange(3)
            if choix == 0 and k < len(nouveau):
                del nouveau[k]
            elif choix == 1:
                nouveau.insert(k, alea.choice(distinctes + ["neuve"]))
            elif k < len(nouveau):
                nouveau[k] = "changée " + nouveau[k]

    def texte(lignes):
        t = "".join(l + "\n" for l in lignes)
        return t[:-1] if t and alea.random() < 0.2 else t

    total += verifie_paire(f"alea{n}", texte(ancien), texte(nouveau), alea.randint(0, 4))
print(f"300 random pairs: {total} lines deleted and inserted, as diff --minimal counts, and patch agrees")


# ---- a shuffled file: every line moved, where a shortest diff costs the square of the size. The
# bounded search gives a diff that patch applies, no longer than GNU diff's own bounded one
# (within a hundredth), in about the time diff takes (bench_synchro measures it).
def diff_gnu(a, b):
    r = subprocess.run(["diff", a, b], capture_output=True, timeout=300)
    return sum(1 for l in r.stdout.split(b"\n") if l[:2] in (b"< ", b"> "))


mots = [m for m in open("/usr/share/dict/french", encoding="utf-8").read().split()][:30000]
melange = list(mots)
alea.shuffle(melange)
a, b = ecris("melange.a", "\n".join(mots) + "\n"), ecris("melange.b", "\n".join(melange) + "\n")
distance = int(synchro(a, b, "--distance", attendu=1).stdout)
gnu = diff_gnu(a, b)
if distance > gnu * 1.01:
    sys.exit(f"shuffled file: {distance} lines deleted and inserted, GNU diff {gnu}")
unifie = synchro(a, b, attendu=1).stdout
r = subprocess.run(["patch", "-s", "-o", a + ".sortie", a], input=unifie, capture_output=True, timeout=120)
if r.returncode != 0 or open(a + ".sortie", "rb").read() != open(b, "rb").read():
    sys.exit(f"shuffled file: patch does not give the new file back ({r.stderr!r})")
print(f"a shuffled file of 30,000 lines: {distance} lines deleted and inserted (GNU diff {gnu}), and patch agrees")

# ---- a French text, edited
TEXTE = """Le matin, la brume couvrait encore la vallée.
Les premiers passants traversaient le pont sans se presser.
Au marché, on installait les étals de légumes et de fromages.
Une odeur de pain chaud montait de la boulangerie.
Le facteur saluait chacun d'un geste de la main.
À l'école, les enfants répétaient une chanson d'automne.
Le maire relisait son discours pour la fête du village.
Près de la fontaine, deux vieillards jouaient aux cartes.
Le soleil perça enfin les nuages vers dix heures.
On entendit sonner les cloches de l'église Saint-Étienne.
Les hirondelles tournaient au-dessus des toits d'ardoise.
Dans le café, on parlait de la récolte et du temps qu'il ferait.
Un chien aboyait derrière la grille du château.
La rivière, grossie par les pluies, emportait des branches.
Le pêcheur, patient, attendait sous son grand chapeau de paille.
Vers midi, les rues se vidèrent et le village s'assoupit.
L'après-midi fut chaud, presque lourd, comme en plein été.
Le soir venu, les fenêtres s'allumèrent une à une.
On ferma les volets, et la nuit reprit ses droits.
Demain, tout recommencerait, ou presque.
"""
lignes = TEXTE.splitlines()
mots = sorted({m for l in lignes for m in re.findall(r"\w+", l)})
for version in range(40):
    nouvelles = list(lignes)
    for _ in range(alea.randint(1, 6)):
        k = alea.randrange(len(nouvelles))
        choix = alea.randrange(5)
        if choix == 0:
            del nouvelles[k]
        elif choix == 1:
            nouvelles.insert(k, " ".join(alea.choice(mots) for _ in range(6)).capitalize() + ".")
        elif choix == 2:
            ancien_mot = alea.choice(re.findall(r"\w+", nouvelles[k]) or ["x"])
            nouvelles[k] = nouvelles[k].replace(ancien_mot, alea.choice(mots), 1)
        elif choix == 3:
            # Accents dropped, as a hurried typist would.
            nouvelles[k] = "".join(c for c in unicodedata.normalize("NFD", nouvelles[k]) if not unicodedata.combining(c))
        else:
            j = alea.randrange(len(nouvelles))
            nouvelles[k], nouvelles[j] = nouvelles[j], nouvelles[k]
    nouveau = "".join(l + "\n" for l in nouvelles)
    verifie_paire(f"texte{version}", TEXTE, nouveau, alea.randint(0, 3))

    # The character view with the whole text as context, read back both ways.
    a, b = os.path.join(DOSSIER, f"texte{version}.a"), os.path.join(DOSSIER, f"texte{version}.b")
    vue = synchro(a, b, "--caracteres", "--contexte", "1000", attendu=1 if nouveau != TEXTE else 0).stdout.decode()
    if nouveau == TEXTE:
        continue
    corps = "\n".join(vue.split("\n")[3:])  # the file headers and the single hunk's header
    relu_ancien = re.sub(r"\{\+.*?\+\}", "", corps, flags=re.S)
    relu_ancien = re.sub(r"\[-(.*?)-\]", r"\1", relu_ancien, flags=re.S)
    relu_nouveau = re.sub(r"\[-.*?-\]", "", corps, flags=re.S)
    relu_nouveau = re.sub(r"\{\+(.*?)\+\}", r"\1", relu_nouveau, flags=re.S)
    if relu_ancien != TEXTE or relu_nouveau != nouveau:
        sys.exit(f"texte{version}: the character view does not read back\n{vue}")
    # Side by side: never wider than asked, one view line per aligned pair.
    cote = synchro(a, b, "--cote-a-cote", "--caracteres", "--largeur", "70", attendu=1).stdout.decode()
    for l in cote.splitlines():
        largeur = sum(0 if unicodedata.combining(c) else 2 if unicodedata.east_asian_width(c) in "WF" else 1 for c in l)
        if largeur > 70:
            sys.exit(f"texte{version}: side-by-side line of {largeur} columns:\n{l}")
    if not re.search(r" [|<>]( |$)", cote, re.M):
        sys.exit(f"texte{version}: no changed line in the side-by-side view\n{cote}")
print("40 versions of a French text: counts and patches as diff, character views read back")

# ---- standard input, trouble, the time limit
a = ecris("stdin.a", "un\ndeux\n")
b = ecris("stdin.b", "un\ntrois\n")
if b"+trois" not in synchro(a, "-", attendu=1, entree=b"un\ntrois\n").stdout:
    sys.exit("standard input as the new file")
synchro(a, os.path.join(DOSSIER, "absent"), attendu=2)
synchro(a, DOSSIER, attendu=2)
synchro("-", "-", attendu=2)
synchro(a, attendu=2)
synchro(a, b, "--contexte", "-1", attendu=2)
synchro(a, b, "--largeur", "5", attendu=2)
synchro(a, b, "--limite", "-3", attendu=2)
synchro(a, a, attendu=0)

lent_a = ecris("lent.a", "".join(alea.choice("abcd") + "\n" for _ in range(40000)))
lent_b = ecris("lent.b", "".join(alea.choice("abcd") + "\n" for _ in range(40000)))
debut = time.monotonic()
r = synchro(lent_a, lent_b, "--limite", "0.2", attendu=1)
duree = time.monotonic() - debut
if duree > 5 or b"limite de temps atteinte" not in r.stderr:
    sys.exit(f"--limite 0.2 on 40,000 very different lines: {duree:.2f} s, stderr {r.stderr!r}")
p = subprocess.run(["patch", "-s", "-o", os.path.join(DOSSIER, "lent.sortie"), lent_a], input=r.stdout,
                   capture_output=True, timeout=60)
with open(os.path.join(DOSSIER, "lent.sortie"), "rb") as f, open(lent_b, "rb") as g:
    if p.returncode != 0 or f.read() != g.read():
        sys.exit("the time-limited output does not patch the old file into the new")
print(f"time limit: 40,000 very different lines in {duree:.2f} s, output still patches")

# ---- jours


def jdn_gregorien(j, m, a):
    return datetime.date(a, m, j).toordinal() + 1721425


def jdn_julien(j, m, a):
    b = (14 - m) // 12
    y, mm = a + 4800 - b, m + 12 * b - 3
    return j + (153 * mm + 2) // 5 + 365 * y + y // 4 - 32083


JOURS = ["lundi", "mardi", "mercredi", "jeudi", "vendredi", "samedi", "dimanche"]
LONGUEURS = [31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31]
verifiees = 0
while verifiees < 300:
    a, m = alea.randint(1, 3000), alea.randint(1, 12)
    j = alea.randint(1, LONGUEURS[m - 1])  # no 29 February: it exists in one calendar only
    if (a, m) == (1582, 12) and 9 < j < 20 or (a, m) == (1752, 9) and 2 < j < 14:
        continue
    francais = (a, m, j) > (1582, 12, 9)
    anglais = (a, m, j) > (1752, 9, 2)
    jf = (jdn_gregorien if francais else jdn_julien)(j, m, a)
    ja = (jdn_gregorien if anglais else jdn_julien)(j, m, a)
    attendu_f = jf - jdn_julien(9, 12, 1582)
    attendu_a = ja - jdn_julien(2, 9, 1752) + (1 if a == 1700 and m <= 2 else 0)
    texte = f"{j:02d}/{m:02d}/{a}" if verifiees % 2 else f"{a:04d}-{m:02d}-{j:02d}"
    sortie = lance("jours", texte, attendu=0).stdout.decode()
    trouve = re.findall(r"jour (-?\d+), un (\w+)", sortie)
    # Python's weekday of a Julian day number: JDN 0 was a Monday.
    attendus = [(str(attendu_f), JOURS[jf % 7]), (str(attendu_a), JOURS[ja % 7])]
    if trouve != attendus:
        sys.exit(f"jours {texte}: {trouve}, expected {attendus}\n{sortie}")
    verifiees += 1
sortie = lance("jours", "01/01/1700", "2000-01-01", attendu=0).stdout.decode()
ecarts = re.findall(r": (-?\d+) jours?", sortie)
if ecarts != [str(jdn_gregorien(1, 1, 2000) - jdn_gregorien(1, 1, 1700)),
              str(jdn_gregorien(1, 1, 2000) - jdn_julien(1, 1, 1700) - 1)]:
    sys.exit(f"jours between two dates: {ecarts}\n{sortie}")
for mauvaise in ["31/02/2000", "29/02/2001", "2000-13-01", "00/01/2000", "1/1/0", "demain", "2000-1-1x", "1/ 1/2000"]:
    lance("jours", mauvaise, attendu=2)
aujourdhui = datetime.date.today()
sortie = lance("jours", attendu=0).stdout.decode()
mois = ["janvier", "février", "mars", "avril", "mai", "juin", "juillet", "août", "septembre", "octobre",
        "novembre", "décembre"]
jour = f"{aujourdhui.day}er" if aujourdhui.day == 1 else str(aujourdhui.day)
attendue = f"Aujourd'hui : {JOURS[aujourdhui.weekday()]} {jour} {mois[aujourdhui.month - 1]} {aujourdhui.year}"
if not sortie.startswith(attendue) and datetime.date.today() == aujourdhui:
    sys.exit(f"jours: {sortie!r}, expected {attendue!r}")
print("jours: 300 random dates against Julian day numbers and their weekdays, today, and bad dates refused")
