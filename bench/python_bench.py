#!/usr/bin/env python3
"""The Python module beside Debian's python3-marisa (marisa-trie's binding), in the same run, on
the French list: exact lookups per second, prefix listing, and the cost of one call crossing into
the library. Usage: PYTHONPATH=build/python/module python3 bench/python_bench.py [LISTE]"""
import random
import sys
import tempfile
import time

import marisa

import outils_socle as o

LISTE = sys.argv[1] if len(sys.argv) > 1 else "/usr/share/dict/french"


def mesure(nom, f, n, unite):
    meilleur = float("inf")
    for _ in range(5):
        debut = time.perf_counter()
        f()
        meilleur = min(meilleur, time.perf_counter() - debut)
    print(f"{nom:48} {n / meilleur:14,.0f} {unite}/s   ({meilleur * 1e9 / n:8.1f} ns chacun)")
    return n / meilleur


with open(LISTE, encoding="utf-8") as f:
    mots = [l.rstrip("\n") for l in f if l.strip()]
alea = random.Random(1)
requetes = [alea.choice(mots) for _ in range(200_000)]
prefixes = [m[:4] for m in alea.sample(mots, 2000)]

with tempfile.NamedTemporaryFile(suffix=".lex") as fichier:
    o.CompilateurAutomateAcycliqueMin(mots).ecris(fichier.name)
    lexique = o.AutomateAcycliqueMin(fichier.name)
    jeu = marisa.Keyset()
    for m in mots:
        jeu.push_back(m)
    trie = marisa.Trie()
    trie.build(jeu)
    agent = marisa.Agent()

    def marisa_cherche():
        for m in requetes:
            agent.set_query(m)
            trie.lookup(agent)

    def marisa_prefixes():
        n = 0
        for p in prefixes:
            agent.set_query(p)
            while trie.predictive_search(agent):
                agent.key_str()
                n += 1
        return n

    def nos_prefixes():
        n = 0
        for p in prefixes:
            for f in lexique.formes_commencant(p):
                n += 1
        return n

    print(f"{len(mots):,} mots, {len(requetes):,} recherches exactes, {len(prefixes):,} préfixes de 4 lettres")
    nous = mesure("outils_socle : no_pour_mot", lambda: [lexique.no_pour_mot(m) for m in requetes], len(requetes),
                  "recherches")
    mesure("outils_socle : mot in lexique", lambda: [m in lexique for m in requetes], len(requetes), "recherches")
    eux = mesure("marisa : lookup", marisa_cherche, len(requetes), "recherches")
    print(f"{'rapport (no_pour_mot / marisa)':48} {nous / eux:14.2f}")
    # Ours also lists the forms the prefix matches without accents, case or ligatures ("ete"
    # lists "été…"): more forms, each found by more work.
    mesure("outils_socle : formes_commencant (insensible)", nos_prefixes, nos_prefixes(), "formes")
    mesure("marisa : predictive_search (exact)", marisa_prefixes, marisa_prefixes(), "formes")
    mesure("un appel qui ne fait presque rien : len(lexique)", lambda: [len(lexique) for _ in range(200_000)], 200_000,
           "appels")
