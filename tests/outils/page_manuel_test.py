"""A manual page renders cleanly and names everything the program's help texts name.

The help texts are the program's own account of its commands, actions and options; the pages
(English and French) are written by hand. This test reads the help in the page's language and
looks for each name in the rendered page, so that a command or option added to the program
without a word in the page fails here.

Usage: page_manuel_test.py <outils-socle> <page> <fr|en>
"""
import os
import re
import subprocess
import sys

PROGRAMME, PAGE, LANGUE = sys.argv[1], sys.argv[2], sys.argv[3]
# Where each language's help text puts its sections.
COMMANDES, OPTIONS, CODAGES = {
    "fr": ("Commandes :", "Options :", "Codages (sans distinction de casse) :"),
    "en": ("Commands:", "Options:", "Encodings (case ignored):"),
}[LANGUE]


def aide(*arguments):
    env = dict(os.environ, LANGUAGE=LANGUE, LC_ALL="C.UTF-8")
    r = subprocess.run([PROGRAMME, *arguments, "--help"], capture_output=True, timeout=60, env=env)
    if r.returncode != 0:
        sys.exit(f"{arguments} --help: exit {r.returncode}")
    return r.stdout.decode("utf-8")


# Rendered as a reader sees it; groff's warnings (-ww) on stderr are failures, as for lintian.
env = dict(os.environ, MANWIDTH="200", LC_ALL="C.UTF-8")
r = subprocess.run(["man", "--warnings", "-E", "UTF-8", "-l", PAGE], capture_output=True, env=env, timeout=60)
if r.returncode != 0 or r.stderr.strip():
    sys.exit(f"man reports on {PAGE}:\n{r.stderr.decode('utf-8', 'replace')}")
page = r.stdout.decode("utf-8")
if re.search(r"@[A-Za-z_][A-Za-z0-9_]*@", page):
    sys.exit("an unconfigured @VARIABLE@ is left in the page")

generale = aide()
commandes = re.findall(r"^  ([a-z]+) {2,}", generale.split(COMMANDES)[1].split(OPTIONS)[0], re.M)
if len(commandes) < 3:
    sys.exit(f"commands not found in the help text:\n{generale}")
textes = {"": generale}
for commande in commandes:
    textes[commande] = aide(commande)

attendus = set()
for commande, texte in textes.items():
    if commande:
        attendus.add(f"outils-socle {commande}")
    attendus.update(re.findall(r"(?<![\w-])(--?[A-Za-z][\w-]*)", texte))
# Each command's actions: an indented line of its help, the action and its first argument.
for commande, texte in textes.items():
    attendus.update(f"{action} {argument}" for action, argument in re.findall(r"^  ([a-z]+) ([A-Z]+)", texte, re.M))
if not any(a.startswith("cherche ") for a in attendus):
    sys.exit(f"actions not found in the lexique help:\n{textes['lexique']}")
# The encodings' names listed by convertis.
noms = textes["convertis"].split(CODAGES)[1]
attendus.update(n.strip(" .\n") for n in noms.split(","))
attendus.discard("")

absents = sorted(x for x in attendus if x not in page)
if absents:
    sys.exit("the manual page does not mention: " + ", ".join(absents))
print(f"{len(attendus)} names from the help texts, all in the manual page")
