#!/usr/bin/env python3
"""Checks every column of the generated character table against the Unicode Character Database
text files (Debian package unicode-data), an implementation independent of ICU's, which the
generator reads.

Usage: verifie_table_caracteres.py <TableCaracteres.bin> [<UCD directory>]
Prints "N passed, M failed" and exits non-zero on any difference.
"""
import struct
import sys

table_path = sys.argv[1]
ucd = sys.argv[2] if len(sys.argv) > 2 else "/usr/share/unicode"

# ---- The UCD, BMP only
categorie = {}
majuscule = {}
minuscule = {}
decomposition = {}
with open(ucd + "/UnicodeData.txt", encoding="utf-8") as f:
    premier = None
    for ligne in f:
        champs = ligne.rstrip("\n").split(";")
        cp = int(champs[0], 16)
        if cp > 0xFFFF:
            break
        nom = champs[1]
        if nom.endswith(", First>"):
            premier = cp
            continue
        codes = [cp] if not nom.endswith(", Last>") else range(premier, cp + 1)
        for c in codes:
            categorie[c] = champs[2]
            if champs[12]:
                majuscule[c] = int(champs[12], 16)
            if champs[13]:
                minuscule[c] = int(champs[13], 16)
            if champs[5] and not champs[5].startswith("<"):
                decomposition[c] = [int(x, 16) for x in champs[5].split()]

latin = set()
with open(ucd + "/Scripts.txt", encoding="utf-8") as f:
    for ligne in f:
        ligne = ligne.split("#")[0].strip()
        if not ligne:
            continue
        plage, script = [x.strip() for x in ligne.split(";")]
        if script != "Latin":
            continue
        if ".." in plage:
            a, b = [int(x, 16) for x in plage.split("..")]
        else:
            a = b = int(plage, 16)
        latin.update(range(a, min(b, 0xFFFF) + 1))


def cat(c):
    return categorie.get(c, "Cn")


def nfd(c):
    if c in decomposition:
        return [x for d in decomposition[c] for x in nfd(d)]
    return [c]


def sans_accent(c):
    if 0xD800 <= c <= 0xDFFF:
        return c
    d = nfd(c)
    if d == [c] or d[0] > 0xFFFF:
        return c
    if all(cat(x).startswith("M") for x in d[1:]):
        return d[0]
    return c


VARIANTES_BLANC = [0x05, 0x11, 0xA0, 0x1680, 0x180E, 0x202F, 0x205F, 0x3000] + list(range(0x09, 0x0E)) + list(range(0x2000, 0x200B))
VARIANTES_APOSTROPHE = [0x60, 0xB4, 0x2018, 0x2019]
VARIANTES_TIRET = [0x058A, 0x05BE, 0x1806, 0x2053, 0x2212, 0x2E17, 0x301C, 0x3030, 0x30A0, 0x30FB,
                   0xFE31, 0xFE32, 0xFE58, 0xFE63, 0xFF0D, 0xFF65] + list(range(0x2010, 0x2016))
assert len(VARIANTES_BLANC) + len(VARIANTES_APOSTROPHE) + len(VARIANTES_TIRET) == 50


def variante(c):
    if c in VARIANTES_BLANC:
        return 0x20
    if c in VARIANTES_APOSTROPHE:
        return 0x27
    if c in VARIANTES_TIRET:
        return 0x2D
    return c


def low(c):
    return minuscule.get(c, c)


def up(c):
    return majuscule.get(c, c)


LIGATURES = {0x152, 0x153, 0xC6, 0xE6}
APOSTROPHES = {0x27, 0x2019, 0x2018, 0x60, 0xB4, 0x2BC}


def classes(c):
    g = cat(c)
    k = 0
    if g.startswith("L"):
        k |= 1 << 0 | 1 << 41
    if g in ("Lu", "Lt"):
        k |= 1 << 1
    if g == "Ll":
        k |= 1 << 2
    if g == "Nd":
        k |= 1 << 3 | 1 << 25
    if g.startswith("P"):
        k |= 1 << 4
    if c in APOSTROPHES:
        k |= 1 << 7
    if g == "Zs" or variante(c) == 0x20:
        k |= 1 << 8
    if g.startswith("S"):
        k |= 1 << 9
    if g.startswith("M"):
        k |= 1 << 10
    if g in ("Nl", "No"):
        k |= 1 << 11
    for bit, gg in ((12, "Cc"), (13, "Cf"), (14, "Cs"), (15, "Co"), (22, "Cn"), (16, "Pd")):
        if g == gg:
            k |= 1 << bit
    if g in ("Ps", "Pi"):
        k |= 1 << 17
    if g in ("Pe", "Pf"):
        k |= 1 << 18
    if sans_accent(c) != c:
        k |= 1 << 19
    if c in latin:
        k |= 1 << 20
    if c < 0x80:
        k |= 1 << 21
    if c in LIGATURES:
        k |= 1 << 50
    if c in latin and g.startswith("L"):
        base = low(sans_accent(c))
        voyelle = c in LIGATURES or base in map(ord, "aeiouy")
        k |= 1 << (6 if voyelle else 5)
    return k


donnees = open(table_path, "rb").read()
assert len(donnees) == 65536 * 24, len(donnees)
echecs = []
reussis = 0
for c in range(0x10000):
    champs = struct.unpack_from("<12H", donnees, 24 * c)
    k = champs[0] | champs[1] << 16 | champs[2] << 32 | champs[3] << 48
    surrogate = 0xD800 <= c <= 0xDFFF
    sa = sans_accent(c)
    attendu = {
        "classes": classes(c),
        "majuscule": c if surrogate else up(c),
        "minuscule": c if surrogate else low(c),
        "sansAccent": sa,
        "casseInversee": c if surrogate else (low(c) if low(c) != c else up(c)),
        "variante": variante(c),
        "blancsNormalises": 0x20 if variante(c) == 0x20 else c,
        "forme": variante(low(sa)),
        "zero": 0,
    }
    obtenu = {
        "classes": k, "majuscule": champs[4], "minuscule": champs[5], "sansAccent": champs[6],
        "casseInversee": champs[7], "variante": champs[8], "blancsNormalises": champs[9],
        "forme": champs[10], "zero": champs[11],
    }
    for nom in attendu:
        if attendu[nom] == obtenu[nom]:
            reussis += 1
        else:
            echecs.append("U+%04X %s: expected %X, got %X" % (c, nom, attendu[nom], obtenu[nom]))

for e in echecs[:40]:
    print(e)
print("%d passed, %d failed" % (reussis, len(echecs)))
sys.exit(1 if echecs else 0)
