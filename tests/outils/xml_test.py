#!/usr/bin/env python3
"""outils-socle xml as a user runs it: well-formedness with its place, validation against the
settings schema with each error's line and path, reindentation in each encoding read back by
Python's own XML reader (xml.etree, over expat), a hostile document refused, a schema shown."""
import os
import shutil
import subprocess
import sys
import xml.etree.ElementTree as ET

PROGRAMME, DOSSIER, SCHEMA = sys.argv[1], sys.argv[2], sys.argv[3]
shutil.rmtree(DOSSIER, ignore_errors=True)
os.makedirs(DOSSIER)


def lance(*arguments, attendu=0):
    r = subprocess.run([PROGRAMME, "xml", *arguments], capture_output=True, timeout=60)
    if r.returncode != attendu:
        sys.exit(f"xml {arguments}: exit {r.returncode}, {attendu} expected\n{r.stdout!r}\n{r.stderr!r}")
    return r.stdout


def ecris(nom, texte):
    chemin = os.path.join(DOSSIER, nom)
    with open(chemin, "wb") as f:
        f.write(texte.encode("utf-8") if isinstance(texte, str) else texte)
    return chemin


bon = ecris("bon.xml", """<?xml version="1.0" encoding="UTF-8"?>
<reglages version="2"><affichage><police><taille>12</taille><famille>DejaVu &amp; co</famille></police>
<theme>système</theme><raccourci touche="F5" ctrl="true">recharger</raccourci></affichage>
<fichiers><recents type="liste"><element>été.txt</element><max>3</max></recents></fichiers></reglages>
""")
mauvais = ecris("mauvais.xml", "<reglages>\n  <affichage>\n    <theme>bleu</theme>\n  </affichage>\n"
                               "  <etat><fenetre>pas du base64 !</fenetre></etat>\n</reglages>\n")
casse = ecris("casse.xml", "<reglages>\n  <affichage>\n</reglages>\n")
hostile = ecris("hostile.xml", '<!DOCTYPE r [<!ENTITY s SYSTEM "file:///etc/passwd">]><r>&s;</r>')

sortie = lance("verifie", bon).decode()
if "bien formé, 11 éléments, 4 attributs" not in sortie:
    sys.exit(f"verifie: {sortie}")
sortie = lance("verifie", casse, hostile, attendu=1).decode()
if f"{casse}:3:" not in sortie or f"{hostile}:1:" not in sortie or "ressource externe refusée : file:///etc/passwd" not in sortie:
    sys.exit(f"verifie of malformed documents: {sortie}")
if lance("verifie", "--schema", SCHEMA, bon).decode() != f"{bon} : valide\n":
    sys.exit("the good document is not valid")
lignes = lance("verifie", "--schema", SCHEMA, mauvais, attendu=1).decode().splitlines()
if len(lignes) != 2 or not lignes[0].startswith(f"{mauvais}:3: /reglages/affichage/theme : ") \
        or not lignes[1].startswith(f"{mauvais}:5: /reglages/etat/fenetre : "):
    sys.exit(f"validation errors: {lignes}")

# Reindented in each encoding, the document reads back with Python as the same content.
def contenu(element):
    return (element.tag, sorted(element.attrib.items()), (element.text or "").strip(),
            [contenu(e) for e in element])

reference = contenu(ET.parse(bon).getroot())
for codage, marque in (("utf8", b"<?xml"), ("utf16", b"\xff\xfe"), ("latin9", b'<?xml version="1.0" encoding="ISO-8859-15"?>')):
    octets = lance("formate", bon, "--codage", codage, "--indentation", "3")
    if not octets.startswith(marque):
        sys.exit(f"formate --codage {codage}: starts with {octets[:40]!r}")
    relu = ecris(f"formate-{codage}.xml", octets)
    if contenu(ET.parse(relu).getroot()) != reference:
        sys.exit(f"formate --codage {codage} changed the content")
    if codage == "utf8" and b"\n   <affichage>\n      <police>" not in octets:
        sys.exit(f"formate: not indented by 3:\n{octets.decode()}")
cible = os.path.join(DOSSIER, "sortie.xml")
lance("formate", bon, "--sortie", cible)
if contenu(ET.parse(cible).getroot()) != reference:
    sys.exit("formate --sortie")
lance("formate", bon, "--codage", "ebcdic", attendu=2)

# The schema: its roots, then what an element allows.
if lance("schema", SCHEMA).decode().split() != ["reglages", "raccourci"]:
    sys.exit("schema: roots")
sortie = lance("schema", SCHEMA, "reglages/affichage/theme").decode()
if "reglages/affichage/theme : Theme" not in sortie or "valeur « système »" not in sortie:
    sys.exit(f"schema theme: {sortie}")
sortie = [l.split() for l in lance("schema", SCHEMA, "reglages/fichiers/recents").decode().splitlines()]
if ["enfant", "element", "xs:string", "0..∞"] not in sortie or \
        ["attribut", "type", "xs:string", "requis", "fixé", "à", "«", "liste", "»"] not in sortie:
    sys.exit(f"schema recents: {sortie}")
lance("schema", SCHEMA, "reglages/inconnu", attendu=1)
print("xml: verifie, validation, formate in three encodings, hostile document and schema as expected")
