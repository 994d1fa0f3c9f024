"""Words checked per second by the corpus example of docs/exemples on a distributed.LocalCluster
of 1 and then 2 worker processes, beside one process doing the same work alone. The lexicon is
scattered before the clock starts; each run checks the same corpus, read from a file by the
workers in 1 MiB blocks."""
import os
import random
import sys
import tempfile
import time

import dask.bag as db
import distributed

import outils_socle as o

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "docs", "exemples"))
import verifie_corpus_dask as exemple  # noqa: E402



def main():
    # Worker processes are spawned: they import this file, which must not run the benchmark.
    mots = [l.strip() for l in open("/usr/share/dict/french", encoding="utf-8") if l.strip()]
    lexique = o.AutomateAcycliqueMin.depuis_octets(o.CompilateurAutomateAcycliqueMin(mots).octets())
    h = random.Random(6)
    lignes = [" ".join(h.choice(mots) for _ in range(12)) + "." for _ in range(int(os.environ.get("LIGNES", "200000")))]
    nb_mots = sum(len(exemple.MOT.findall(l)) for l in lignes)
    fichier = os.path.join(tempfile.mkdtemp(), "corpus.txt")
    with open(fichier, "w", encoding="utf-8") as f:
        f.write("\n".join(lignes) + "\n")

    debut = time.perf_counter()
    seul = exemple.inconnus(lignes, lexique)
    print(f"un processus, sans Dask : {nb_mots / (time.perf_counter() - debut) / 1e6:.2f} M mots/s")
    for n in (1, 2):
        cluster = distributed.LocalCluster(n_workers=n, threads_per_worker=1, processes=True, dashboard_address=None)
        with cluster, distributed.Client(cluster) as client:
            sac = client.scatter(lexique, broadcast=True)
            client.run(lambda: None)
            debut = time.perf_counter()
            r = db.read_text(fichier, blocksize="1MiB").map_partitions(exemple.inconnus, sac).compute()
            duree = time.perf_counter() - debut
            assert r == seul
            print(f"LocalCluster, {n} processus : {nb_mots / duree / 1e6:.2f} M mots/s ({nb_mots} mots en {duree:.2f} s)")


if __name__ == "__main__":
    main()
