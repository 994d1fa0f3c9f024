"""Reads a block-compressed stream with Python's zlib and prints its strings, one per line.

The stream: the block size and the type (VarElias, one byte), then records of a VarElias
length and that many bytes of zlib stream. Every block holds strings ending with a zero byte.
"""
import sys
import zlib


def varelias(octets, p):
    premier = octets[p]
    k = 8 - premier.bit_length() + 1  # leading zeros + 1 = bytes used
    valeur = premier & ((1 << (8 - k)) - 1)
    for i in range(1, k):
        valeur = valeur << 8 | octets[p + i]
    debut = sum(1 << (7 * j) for j in range(1, k))  # the first value coded on k bytes
    return valeur + debut, p + k


octets = open(sys.argv[1], "rb").read()
taille, p = varelias(octets, 0)
if octets[p] != 1:
    sys.exit(f"type {octets[p]}, expected 1 (zlib)")
p += 1
sortie = []
while p < len(octets):
    s, p = varelias(octets, p)
    bloc = zlib.decompress(octets[p : p + s])
    if len(bloc) > taille:
        sys.exit(f"a block of {len(bloc)} bytes for blocks of {taille}")
    sortie.extend(m.decode("utf-8") for m in bloc.split(b"\0")[:-1])
    p += s
sys.stdout.write("".join(m + "\n" for m in sortie))
