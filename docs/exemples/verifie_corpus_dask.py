"""Spell-checking a corpus with dask.bag on a Dask cluster: the lexicon is sent to each worker
once, each worker reads and checks its blocks of the corpus, and the unknown words come back.

    python3 verifie_corpus_dask.py LEXIQUE CORPUS [ADRESSE_DU_PLANIFICATEUR]

Without an address, a LocalCluster of 2 worker processes runs on this machine; with one (for
instance tcp://10.0.0.5:8786, a scheduler started with `dask scheduler` and workers with
`dask worker tcp://10.0.0.5:8786` on other machines that have outils_socle installed), the
same code runs on that cluster: the lexicon travels as its bytes and is read in place on
arrival, so the workers need no copy of the file.
"""
import re
import sys

import dask.bag as db
from distributed import Client, LocalCluster

import outils_socle as o

MOT = re.compile(r"[^\W\d_]+(?:['’-][^\W\d_]+)*")


def inconnus(lignes, lexique):
    """The words of the lines the lexicon does not know, as written or lower-cased."""
    r = []
    for ligne in lignes:
        for mot in MOT.findall(ligne):
            if mot not in lexique and mot.lower() not in lexique:
                r.append(mot)
    return r


def verifie(client, lexique, fichiers, taille_bloc="4MiB"):
    """The unknown words of the text files, in order, checked on the cluster of `client`. The
    workers read their own blocks of the files (they must see the same paths: a shared folder,
    or files copied to each machine)."""
    sur_le_cluster = client.scatter(lexique, broadcast=True)  # pickled once, sent once a worker
    lignes = db.read_text(fichiers, blocksize=taille_bloc, encoding="utf-8")
    return lignes.map_partitions(inconnus, sur_le_cluster).compute()


def main():
    lexique = o.AutomateAcycliqueMin(sys.argv[1])
    if len(sys.argv) > 3:
        client = Client(sys.argv[3])
    else:
        client = Client(LocalCluster(n_workers=2, threads_per_worker=1, processes=True))
    with client:
        for mot in verifie(client, lexique, sys.argv[2]):
            print(mot)


# Worker processes are started afresh and import this file: only the main program checks.
if __name__ == "__main__":
    main()
