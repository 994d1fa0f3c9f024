#!/usr/bin/env python3
"""Encodes strings with Python's codecs, an implementation independent of ours.

Reads lines of UTF-16 units in hex ("0061 D800 ...", or "-" for the empty string) from the file
named on the command line and prints, for each, three fields: the UTF-8 bytes in hex ("x" when
the string holds a surrogate without its other half, which UTF-8 cannot carry), then the UTF-16LE
and UTF-16BE bytes (surrogatepass: every unit as it is); "-" for no bytes."""
import sys


def hexa(octets):
    return octets.hex() or "-"


with open(sys.argv[1]) as f:
    for ligne in f:
        champs = ligne.split()
        unites = b"".join(int(u, 16).to_bytes(2, "little") for u in champs if u != "-")
        texte = unites.decode("utf-16-le", "surrogatepass")
        try:
            utf8 = hexa(texte.encode("utf-8"))
        except UnicodeEncodeError:
            utf8 = "x"
        print(utf8, hexa(texte.encode("utf-16-le", "surrogatepass")),
              hexa(texte.encode("utf-16-be", "surrogatepass")))
