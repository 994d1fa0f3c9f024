"""The Enchant provider through Enchant's own clients: enchant-lsmod-2, enchant-2 -l, the ispell
pipe of enchant-2 -a (as Emacs's ispell and flyspell speak it), and Python's pyenchant.

Enchant loads the provider from its own folder (see espace_enchant.py); the lexicons come from
XDG_DATA_DIRS and XDG_DATA_HOME, and the ordering that puts ours first for French is the one the
package installs, given through ENCHANT_CONFIG_DIR. Without the right to make a mount namespace
(not root), the test is skipped.

Usage: enchant_test.py <outils-socle> <provider module> <work folder> [<fr lexicon> <ordering>]
(the French lexicon and the ordering default to ones made from the sources: /usr/share/dict/french
compiled by the program, and enchant/enchant.ordering; the package check passes the packaged ones)
"""
import os
import re
import shutil
import subprocess
import sys

import espace_enchant

DANS_L_ESPACE = espace_enchant.dans_l_espace()
ARGUMENTS = sys.argv[1:]
PROGRAMME, MODULE, DOSSIER = (os.path.abspath(a) for a in ARGUMENTS[:3])
ICI = os.path.dirname(os.path.abspath(__file__))
LEXIQUE_FR, ORDRE = (os.path.abspath(a) for a in ARGUMENTS[3:5]) if len(ARGUMENTS) >= 5 else (
    None, os.path.join(ICI, "..", "..", "enchant", "enchant.ordering"))
LISTE = "/usr/share/dict/french"

TEXTE = """Aujourd'hui, l'école du village ouvre ses portes à huit heures.
Les enfants arrivent avec leurs cartables ; c'est-à-dire qu'ils sont prêts.
Jusqu'au soir, la maîtresse lit des histoires de chevaux et de châteaux.
Peut-être viendra-t-il demain à la bibliothèque municipale ?
Dis-moi ce que tu lis, et je te dirai qui tu es.
PARIS est loin, mais la mer est proche. Qu'est-ce que c'est ?
L'œuvre du peintre fut exposée lorsqu'il revint de voyage.
"""
# The planted mistakes and the word meant, as the ispell pipe shows them.
FAUTES = {
    "l'ecole": "l'école", "vilage": "village", "cartabels": "cartables", "histoirres": "histoires",
    "chateaux": "châteaux", "Peut-etre": "Peut-être", "bibliotheque": "bibliothèque",
    "prohce": "proche", "voyaeg": "voyage",
}


def prepare():
    """The folders the namespace will use; returns the environment of the clients."""
    shutil.rmtree(DOSSIER, ignore_errors=True)
    lexiques = os.path.join(DOSSIER, "share", "outils-socle", "lexiques")
    os.makedirs(lexiques)
    if LEXIQUE_FR:
        shutil.copy(LEXIQUE_FR, os.path.join(lexiques, "fr.aut"))
    else:
        subprocess.run([PROGRAMME, "lexique", "compile", LISTE, os.path.join(lexiques, "fr.aut")], check=True,
                       capture_output=True)
    configuration = os.path.join(DOSSIER, "configuration")
    os.makedirs(configuration)
    shutil.copy(ORDRE, os.path.join(configuration, "enchant.ordering"))
    maison = os.path.join(DOSSIER, "maison")
    os.makedirs(maison)
    with open(os.path.join(DOSSIER, "texte.txt"), "w", encoding="utf-8") as f:
        f.write(TEXTE)
    fautes = TEXTE
    for faute, juste in FAUTES.items():
        assert fautes.count(juste) == 1, juste
        fautes = fautes.replace(juste, faute)
    with open(os.path.join(DOSSIER, "fautes.txt"), "w", encoding="utf-8") as f:
        f.write(fautes)
    return dict(os.environ, ENCHANT_CONFIG_DIR=configuration, XDG_DATA_DIRS=os.path.join(DOSSIER, "share"),
                HOME=maison, XDG_DATA_HOME=os.path.join(maison, ".local", "share"),
                XDG_CONFIG_HOME=os.path.join(maison, ".config"), LC_ALL="C.UTF-8")


def lance(*arguments, entree=None):
    r = subprocess.run(list(arguments), capture_output=True, text=True, input=entree, timeout=120)
    if r.returncode != 0:
        sys.exit(f"{arguments}: exit {r.returncode}\n{r.stderr}")
    return r.stdout


def verifie_dans_l_espace():
    fautes_vues = []

    def faute(message):
        fautes_vues.append(message)

    texte, fautes = os.path.join(DOSSIER, "texte.txt"), os.path.join(DOSSIER, "fautes.txt")
    # The provider and its dictionary are listed.
    modules = lance("enchant-lsmod-2")
    if not re.search(r"^outils_socle \(", modules, re.M):
        faute(f"enchant-lsmod-2 does not list the provider:\n{modules}")
    dictionnaires = lance("enchant-lsmod-2", "-list-dicts")
    if "fr (outils_socle)" not in dictionnaires.splitlines():
        faute(f"enchant-lsmod-2 -list-dicts does not give fr (outils_socle):\n{dictionnaires}")
    choisi = lance("enchant-lsmod-2", "-lang", "fr").strip()
    if choisi != "fr (outils_socle)":
        faute(f"Enchant chooses {choisi!r} for fr, not our provider")

    # enchant-2 -l: the correct text has no unknown word; the other, exactly the planted ones,
    # and the same as lexique verifie.
    if lance("enchant-2", "-l", "-d", "fr", texte).strip():
        faute("enchant-2 -l finds unknown words in the correct text")
    inconnus = lance("enchant-2", "-l", "-d", "fr", fautes).split()
    if sorted(inconnus) != sorted(FAUTES):
        faute(f"enchant-2 -l gives {sorted(inconnus)}, planted {sorted(FAUTES)}")
    lexique = os.path.join(DOSSIER, "share", "outils-socle", "lexiques", "fr.aut")
    r = subprocess.run([PROGRAMME, "lexique", "verifie", "--suggestions", "0", lexique, fautes],
                       capture_output=True, text=True, env=dict(os.environ, LANGUAGE="fr"))
    verifie = [ligne.split(": ", 1)[1] for ligne in r.stdout.splitlines()]
    if sorted(verifie) != sorted(inconnus):
        faute(f"lexique verifie gives {sorted(verifie)}, Enchant {sorted(inconnus)}")

    # The ispell pipe: "*" for each known word, "& word N offset: suggestions" for each mistake,
    # the word meant first. "^" keeps each line from being read as a command.
    entree = "".join("^" + ligne + "\n" for ligne in open(fautes, encoding="utf-8").read().splitlines())
    reponses = lance("enchant-2", "-a", "-d", "fr", entree=entree).splitlines()
    if not reponses or "Ispell" not in reponses[0]:
        faute(f"enchant-2 -a gives no ispell banner: {reponses[:1]}")
    etoiles, esperluettes = 0, {}
    for reponse in reponses[1:]:
        if reponse == "*":
            etoiles += 1
        elif reponse.startswith("&"):
            m = re.match(r"^& (\S+) (\d+) (\d+): (.*)$", reponse)
            if not m:
                faute(f"malformed ispell answer {reponse!r}")
                continue
            suggestions = m.group(4).split(", ")
            if int(m.group(2)) != len(suggestions):
                faute(f"{reponse!r}: {m.group(2)} announced, {len(suggestions)} given")
            esperluettes[m.group(1)] = suggestions
        elif reponse.startswith("#"):
            faute(f"no suggestion for {reponse!r}")
    for mot, juste in FAUTES.items():
        if mot not in esperluettes:
            faute(f"enchant-2 -a does not flag {mot}")
        elif esperluettes[mot][0] != juste:
            faute(f"enchant-2 -a: {mot} → {esperluettes[mot][:3]}, {juste} first expected")
    if etoiles != 71 - len(FAUTES):
        faute(f"enchant-2 -a: {etoiles} known words, {71 - len(FAUTES)} expected")

    # pyenchant, and Enchant's own personal and session words on top of our provider.
    r = subprocess.run(["/usr/bin/python3", os.path.join(ICI, "pyenchant_client.py")], capture_output=True,
                       text=True, timeout=300)
    if r.returncode != 0:
        faute(f"pyenchant:\n{r.stdout}{r.stderr}")

    # Another language, installed by lexique installe into the user's folder.
    subprocess.run([PROGRAMME, "lexique", "installe", "/usr/share/dict/american-english", "eo"], check=True,
                   capture_output=True)
    if "eo (outils_socle)" not in lance("enchant-lsmod-2", "-list-dicts").splitlines():
        faute("the lexicon installed for eo is not listed")
    inconnus = lance("enchant-2", "-l", "-d", "eo", entree="the quikc brown fox\n").split()
    if inconnus != ["quikc"]:
        faute(f"eo: enchant-2 -l gives {inconnus}")

    # A file that is not a lexicon, and tags that would leave the folder: refused, never a crash.
    utilisateur = os.path.join(os.environ["XDG_DATA_HOME"], "outils-socle", "lexiques")
    with open(os.path.join(utilisateur, "xx.aut"), "wb") as f:
        f.write(b"\x00\x01 ceci n'est pas un lexique " * 40)
    r = subprocess.run(["enchant-2", "-l", "-d", "xx"], input="mot\n", capture_output=True, text=True, timeout=60)
    if r.returncode < 0 or r.returncode == 0:
        faute(f"a damaged lexicon: enchant-2 exit {r.returncode}\n{r.stderr}")
    r = subprocess.run(["/usr/bin/python3", "-c", """import enchant
b = enchant.Broker()
print([b.dict_exists(t) for t in ["fr", "../fr", "fr/../fr", "x" * 300, "xx"]])"""],
                       capture_output=True, text=True, timeout=60)
    if r.returncode != 0 or r.stdout.strip() != "[True, False, False, False, False]":
        faute(f"tags: {r.stdout}{r.stderr}")

    if fautes_vues:
        sys.exit("\n".join(fautes_vues))
    print("Enchant, its ispell pipe and pyenchant check and correct with our lexicons")


if DANS_L_ESPACE:
    verifie_dans_l_espace()
    sys.exit(0)

pourquoi = espace_enchant.manque()
if pourquoi:
    print(f"{pourquoi}: skipped")
    sys.exit(espace_enchant.SAUTE)
sys.exit(espace_enchant.relance(MODULE, DOSSIER, prepare()))
