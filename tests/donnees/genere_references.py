#!/usr/bin/env python3
"""Writes the reference data that the encoding tests compare against, from Python's codecs
(an implementation independent of ours and of glibc's charmaps, from which our tables come).

  codes_un_octet.txt : per code page, "decode <page> <byte> <unit|->" for all 256 bytes ('-'
                       where Python leaves the byte undefined), then "encode <page> <unit> <byte>"
                       for every unit of 0..FFFF that Python can encode.
  utf8_aleatoire.txt : "<bytes hex> <units hex> <offset|->" lines: random byte strings biased
                       towards the edges of the well-formed table, decoded with errors='replace'
                       (one U+FFFD per maximal ill-formed subpart), as UTF-16 units; then the
                       offset of the first ill-formed byte that a strict decode reports, or '-'.

Usage: python3 tests/donnees/genere_references.py tests/donnees
"""
import os
import random
import sys

PAGES = [("MacRoman", "mac_roman"), ("Latin9", "iso8859_15"), ("WinLatin1", "cp1252"), ("DOS", "cp850")]

dossier = sys.argv[1] if len(sys.argv) > 1 else "."

with open(os.path.join(dossier, "codes_un_octet.txt"), "w") as f:
    for nom, codec in PAGES:
        for b in range(256):
            try:
                u = "%04X" % ord(bytes([b]).decode(codec))
            except UnicodeDecodeError:
                u = "-"
            f.write("decode %s %02X %s\n" % (nom, b, u))
        for u in range(0x10000):
            try:
                octets = chr(u).encode(codec)
            except UnicodeEncodeError:
                continue
            f.write("encode %s %04X %02X\n" % (nom, u, octets[0]))

rng = random.Random(20261122)
INTERESSANTS = [0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xC1, 0xC2, 0xDF,
                0xE0, 0xE1, 0xEC, 0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xFF]


def unites(texte):
    donnees = texte.encode("utf-16-le")
    return [int.from_bytes(donnees[i:i + 2], "little") for i in range(0, len(donnees), 2)]


with open(os.path.join(dossier, "utf8_aleatoire.txt"), "w") as f:
    for _ in range(4000):
        n = rng.randint(1, 12)
        octets = bytes(rng.choice(INTERESSANTS) if rng.random() < 0.7 else rng.randrange(256)
                       for _ in range(n))
        decode = unites(octets.decode("utf-8", errors="replace"))
        try:
            octets.decode("utf-8")
            erreur = "-"
        except UnicodeDecodeError as e:
            erreur = str(e.start)
        f.write("%s %s %s\n" % (octets.hex().upper(), "".join("%04X" % u for u in decode), erreur))
