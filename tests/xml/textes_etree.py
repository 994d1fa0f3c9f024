#!/usr/bin/env python3
"""Reads each XML file named on the command line with Python's xml.etree (expat underneath), an
independent reader, and prints one line per file: the hex of the root element's text and of its
attribute "a" (UTF-8, "-" for nothing), or "REFUSE" when the reader finds the file malformed."""
import sys
import xml.etree.ElementTree as ET


def hexa(texte):
    return (texte or "").encode("utf-8", "surrogatepass").hex() or "-"


for chemin in sys.argv[1:]:
    try:
        racine = ET.parse(chemin).getroot()
        print(hexa(racine.text), hexa(racine.get("a")))
    except ET.ParseError:
        print("REFUSE")
