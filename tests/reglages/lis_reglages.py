#!/usr/bin/env python3
"""Reads settings files with Python's own readers (xml.etree, json, configparser), independent of
Boost.PropertyTree, and checks each value against what was saved.

Each line of the manifest named on the command line reads "<format> <file> <path> <value>", the
path "section/key", the value the hex of the expected string's UTF-8 ("-" for an empty string),
or, for a list, "L" and its items so written, joined by commas. Prints one line per mismatch and
exits 1 if there is any."""
import configparser
import json
import sys
import xml.etree.ElementTree as ET


def attendu(hexa):
    return "" if hexa == "-" else bytes.fromhex(hexa).decode("utf-8")


def lis(format_, fichier, chemin, liste):
    section, cle = chemin.split("/")
    if format_ == "xml":
        noeud = ET.parse(fichier).getroot().find(f"{section}/{cle}")
        if liste:
            return [e.text or "" for e in noeud]
        return noeud.text or ""
    if format_ == "json":
        with open(fichier, encoding="utf-8") as f:
            return json.load(f)[section][cle]
    lecteur = configparser.ConfigParser(interpolation=None)
    lecteur.optionxform = str
    with open(fichier, encoding="utf-8") as f:
        lecteur.read_file(f)
    return lecteur[section][cle]


erreurs = 0
with open(sys.argv[1], encoding="utf-8") as manifeste:
    for ligne in manifeste:
        format_, fichier, chemin, hexa = ligne.split()
        liste = hexa.startswith("L")
        valeur = [attendu(h) for h in hexa[1:].split(",") if h] if liste else attendu(hexa)
        try:
            lu = lis(format_, fichier, chemin, liste)
        except Exception as e:  # a reader that refuses our file is a finding too
            lu = f"<{type(e).__name__}: {e}>"
        if lu != valeur:
            erreurs += 1
            print(f"{format_} {fichier}: {lu!r} read, {valeur!r} saved")
sys.exit(1 if erreurs else 0)
