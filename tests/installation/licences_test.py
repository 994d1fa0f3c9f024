"""No file of the project contradicts its licence.

Debian's licensecheck reads every tracked file and names the licence it finds, if any. The
project is MIT: the only licences allowed are MIT, the Unicode data licence in the packages'
copyright file (the character table comes from Unicode's data), and the word list's licence in
the French lexicon package's copyright file. The root LICENSE must be the
MIT text naming the project's authors, and the copyright file must give each its text.

Usage: licences_test.py <source folder>
"""
import re
import subprocess
import sys

SOURCE = sys.argv[1]
PERMISES = {"MIT", "Unicode-DFS-2016"}
# The one file that names another licence, with the reason: the French lexicon package holds
# Debian's French word list compiled, whose licence (GPL-2+) its copyright file must give.
EXCEPTIONS = {"cmake/debian/copyright-lexique-fr": {"GPL-2.0-or-later"}}

fichiers = subprocess.run(["git", "-C", SOURCE, "ls-files"], capture_output=True, check=True,
                          text=True).stdout.split()
if not fichiers:
    sys.exit("no tracked file found")
# Every file, whatever its name (--check=.); SPDX names; the whole file read (--lines=0).
r = subprocess.run(["licensecheck", "--machine", "--shortname-scheme=spdx", "--lines=0", "--check=.", *fichiers],
                   cwd=SOURCE, capture_output=True, text=True, timeout=600)
if r.returncode != 0:
    sys.exit(f"licensecheck failed: {r.stderr}")

trouves = dict(ligne.split("\t", 1) for ligne in r.stdout.splitlines())
fautes = []
for chemin, licence in sorted(trouves.items()):
    # One file may hold several: "MIT and/or Unicode-DFS-2016".
    noms = set(re.split(r" and/or | and | or ", licence)) - {"UNKNOWN"}
    if noms - PERMISES - EXCEPTIONS.get(chemin, set()):
        fautes.append(f"{chemin}: {licence}")

if trouves.get("LICENSE") != "MIT":
    fautes.append(f"LICENSE: {trouves.get('LICENSE')}, not the MIT licence")
with open(f"{SOURCE}/LICENSE", encoding="utf-8") as f:
    if "Copyright (c) 2026 Les auteurs d'OutilsSocle" not in f.read():
        fautes.append("LICENSE does not name Les auteurs d'OutilsSocle")
with open(f"{SOURCE}/cmake/debian/copyright", encoding="utf-8") as f:
    copyright = f.read()
for nom in ("MIT", "Unicode-DFS-2016"):
    if f"\nLicense: {nom}\n" not in copyright:
        fautes.append(f"cmake/debian/copyright: no stand-alone paragraph for {nom}")
if "tous droits réservés" in copyright.lower() or "all rights reserved by its authors" in copyright:
    fautes.append("cmake/debian/copyright still reserves all rights")

if fautes:
    sys.exit("licences that contradict the project's:\n" + "\n".join(fautes))
print(f"{len(fichiers)} files: MIT, or no licence named")
