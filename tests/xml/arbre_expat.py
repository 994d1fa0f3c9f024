#!/usr/bin/env python3
"""Reads each XML file named on the command line with Python's expat, an independent parser,
and prints one line per file: the tree in the canonical form of tests/xml/Arbres.h, or "REFUSE"
when expat finds the document malformed ("REFUSE <line> <column>" after --position, the
column counted from 1). No namespace processing, so names and xmlns attributes
stay as written, attributes in document order."""
import sys
import xml.parsers.expat


def hexa(texte):
    return texte.encode("utf-8").hex()


class Noeud:
    def __init__(self, nom, attributs):
        self.nom, self.attributs, self.texte, self.queue, self.enfants = nom, attributs, "", "", []

    def canonique(self):
        attrs = "".join(" %s=%s" % (hexa(self.attributs[i]), hexa(self.attributs[i + 1]))
                        for i in range(0, len(self.attributs), 2))
        return "<%s%s>T%s%s</>Q%s" % (hexa(self.nom), attrs, hexa(self.texte),
                                       "".join(e.canonique() for e in self.enfants), hexa(self.queue))


def lis(chemin):
    pile, racine = [], []
    p = xml.parsers.expat.ParserCreate()
    p.ordered_attributes = True
    p.buffer_text = True

    def debut(nom, attributs):
        n = Noeud(nom, attributs)
        if pile:
            pile[-1].enfants.append(n)
        else:
            racine.append(n)
        pile.append(n)

    def fin(_nom):
        pile.pop()

    def texte(t):
        if not pile:
            return
        courant = pile[-1]
        if courant.enfants:
            courant.enfants[-1].queue += t
        else:
            courant.texte += t

    p.StartElementHandler, p.EndElementHandler, p.CharacterDataHandler = debut, fin, texte
    with open(chemin, "rb") as f:
        p.Parse(f.read(), True)
    return racine[0].canonique()


position = sys.argv[1:2] == ["--position"]
for chemin in sys.argv[1 + position:]:
    try:
        print(lis(chemin))
    except xml.parsers.expat.ExpatError as e:
        print(f"REFUSE {e.lineno} {e.offset + 1}" if position else "REFUSE")
    except LookupError:
        print("REFUSE")
