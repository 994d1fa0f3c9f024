"""Our Enchant provider beside Enchant's Hunspell provider (Debian's hunspell-fr), in one run,
through Enchant's own clients.

1. Speed: `enchant-2 -l -d fr` over a 1 MB French text generated from the word list (seeded:
   words drawn from /usr/share/dict/french, one in 30 given a typing mistake), best of three
   runs per provider.
2. Corrections: through pyenchant, the 10,000 seeded misspellings of bench_corrections (its
   OUTILS_SOCLE_FAUTES_TSV output): how often the intended word comes first and in the first
   five. Hunspell takes about 0.1 s a word, so it is measured on the first 1,000 (the same 1,000
   are given for ours); OUTILS_SOCLE_HUNSPELL_COMPLET=1 measures it on all 10,000.

A third provider, the floor (enchant_plancher.c: every word known at once), measures what
Enchant itself costs (its tokenizer, a look at the personal word list for each word): each
provider's own time is its time less the floor's. Enchant loads the modules from its own folder
in a mount namespace (tests/enchant/espace_enchant.py): run as root. Usage:
  enchant_bench.py <outils-socle> <provider module> <floor module> <bench_corrections> <work folder>
"""
import os
import random
import re
import subprocess
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "enchant"))
import espace_enchant  # noqa: E402

DANS = espace_enchant.dans_l_espace()
PROGRAMME, MODULE, PLANCHER, CORRECTIONS, DOSSIER = (os.path.abspath(a) for a in sys.argv[1:6])
LISTE = "/usr/share/dict/french"
TEXTE = os.path.join(DOSSIER, "texte_1Mo.txt")
FAUTES = os.path.join(DOSSIER, "fautes.tsv")
ORDRES = {f: os.path.join(DOSSIER, "ordre-" + f) for f in ("plancher", "outils_socle", "hunspell")}


def prepare():
    os.makedirs(os.path.join(DOSSIER, "share", "outils-socle", "lexiques"), exist_ok=True)
    subprocess.run([PROGRAMME, "lexique", "compile", LISTE,
                    os.path.join(DOSSIER, "share", "outils-socle", "lexiques", "fr.aut")], check=True, capture_output=True)
    for fournisseur, dossier in ORDRES.items():
        os.makedirs(dossier, exist_ok=True)
        with open(os.path.join(dossier, "enchant.ordering"), "w") as f:
            f.write(f"fr:{fournisseur}\nfr_FR:{fournisseur}\n")
    # The text: French words drawn from the list, sentences of 8 to 20, one word in 30 mistyped.
    mots = [m for m in open(LISTE, encoding="utf-8").read().split() if m.isalpha()]
    alea = random.Random(29)
    morceaux, taille = [], 0
    while taille < 1 << 20:
        phrase = []
        for _ in range(alea.randint(8, 20)):
            mot = alea.choice(mots)
            if alea.random() < 1 / 30 and len(mot) > 3:
                i = alea.randrange(len(mot) - 1)
                mot = mot[:i] + mot[i + 1] + mot[i] + mot[i + 2:]
            phrase.append(mot)
        ligne = " ".join(phrase).capitalize() + ".\n"
        morceaux.append(ligne)
        taille += len(ligne.encode("utf-8"))
    with open(TEXTE, "w", encoding="utf-8") as f:
        f.write("".join(morceaux))
    subprocess.run([CORRECTIONS], env=dict(os.environ, OUTILS_SOCLE_FAUTES_TSV=FAUTES), check=True)
    return dict(os.environ, XDG_DATA_DIRS=os.path.join(DOSSIER, "share"), HOME=DOSSIER, LC_ALL="C.UTF-8")


def mesure():
    print(f"Text: {os.path.getsize(TEXTE) / 1e6:.2f} MB of French, enchant-2 -l -d fr, best of 3")
    temps, inconnus = {}, {}
    for fournisseur, dossier in ORDRES.items():
        env = dict(os.environ, ENCHANT_CONFIG_DIR=dossier)
        choisi = subprocess.run(["enchant-lsmod-2", "-lang", "fr"], env=env, capture_output=True, text=True).stdout
        if fournisseur not in choisi:
            sys.exit(f"Enchant chose {choisi.strip()} instead of {fournisseur}")
        meilleur = None
        for _ in range(3):
            t0 = time.monotonic()
            r = subprocess.run(["enchant-2", "-l", "-d", "fr", TEXTE], env=env, capture_output=True, text=True,
                               check=True)
            duree = time.monotonic() - t0
            meilleur = duree if meilleur is None else min(meilleur, duree)
        temps[fournisseur] = meilleur
        inconnus[fournisseur] = len(r.stdout.split())
        print(f"  {fournisseur:13s} {meilleur:8.3f} s  {os.path.getsize(TEXTE) / 1e6 / meilleur:7.2f} MB/s  "
              f"{inconnus[fournisseur]} unknown words")
    propre = {f: max(temps[f] - temps["plancher"], 1e-3) for f in ("outils_socle", "hunspell")}
    print(f"  whole run, Hunspell / ours: {temps['hunspell'] / temps['outils_socle']:.1f}x")
    print(f"  the providers' own time (less the floor): ours {propre['outils_socle']:.3f} s, "
          f"Hunspell {propre['hunspell']:.3f} s, Hunspell / ours: {propre['hunspell'] / propre['outils_socle']:.1f}x")

    import enchant
    paires = [ligne.rstrip("\n").split("\t") for ligne in open(FAUTES, encoding="utf-8")]
    complet = os.environ.get("OUTILS_SOCLE_HUNSPELL_COMPLET") is not None
    print(f"\nCorrections through pyenchant ({len(paires)} seeded misspellings of bench_corrections)")
    for fournisseur, n in (("outils_socle", len(paires)), ("outils_socle", 1000),
                           ("hunspell", len(paires) if complet else 1000)):
        courtier = enchant.Broker()
        courtier.set_ordering("fr", fournisseur)
        d = courtier.request_dict("fr")
        if d.provider.name != fournisseur:
            sys.exit(f"pyenchant gives {d.provider.name} for {fournisseur}")
        premiers = cinq = 0
        t0 = time.monotonic()
        for faute, juste in paires[:n]:
            s = d.suggest(faute)[:5]
            premiers += bool(s) and s[0] == juste
            cinq += juste in s
        duree = time.monotonic() - t0
        print(f"  {fournisseur:13s} on {n:5d}: first {100 * premiers / n:5.1f} %, first five {100 * cinq / n:5.1f} %, "
              f"{1000 * duree / n:8.3f} ms a word")


if DANS:
    mesure()
    sys.exit(0)
pourquoi = espace_enchant.manque()
if pourquoi:
    sys.exit(f"{pourquoi}: the Enchant benchmark needs root")
sys.exit(espace_enchant.relance([MODULE, PLANCHER], DOSSIER, prepare()))
