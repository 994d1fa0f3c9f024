#!/usr/bin/env python3
"""Writes one linear-chain acceptor per word, in OpenFst's text format, labels = UTF-16 units.

usage: chaines_fst.py LISTE [PAS] | fstcompile --acceptor | fstdeterminize | fstminimize | fstinfo

Every word gets its own chain of fresh states from state 0, so determinisation and minimisation
do all the work and nothing of our compiler's construction is reused. PAS keeps one line in PAS.
"""
import sys


def main():
    chemin = sys.argv[1]
    pas = int(sys.argv[2]) if len(sys.argv) > 2 else 1
    sortie = sys.stdout
    finals = []
    suivant = 1
    with open(chemin, encoding="utf-8") as mots:
        for numero, ligne in enumerate(mots):
            mot = ligne.rstrip("\r\n")
            if not mot or numero % pas:
                continue
            source = 0
            octets = mot.encode("utf-16-le")
            for i in range(0, len(octets), 2):
                sortie.write(f"{source}\t{suivant}\t{int.from_bytes(octets[i:i + 2], 'little')}\n")
                source = suivant
                suivant += 1
            finals.append(source)
    sortie.write("".join(f"{etat}\n" for etat in finals))


if __name__ == "__main__":
    main()
