"""The corpus example of docs/exemples on a real distributed.LocalCluster of two worker
processes: the lexicon is scattered once, each partition is checked on a worker, and the
unknown words are those a single process finds."""
import os
import random
import sys

import pytest

import outils_socle as o

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "docs", "exemples"))
import verifie_corpus_dask as exemple  # noqa: E402

distributed = pytest.importorskip("distributed")


def corpus(mots, n, graine):
    h = random.Random(graine)
    lignes = []
    for _ in range(n):
        ligne = []
        for _ in range(12):
            m = h.choice(mots)
            if h.random() < 0.05:  # a planted mistake
                i = h.randrange(len(m))
                m = m[:i] + h.choice("xzq") + m[i + 1:]
            ligne.append(m.capitalize() if h.random() < 0.1 else m)
        lignes.append(" ".join(ligne) + ".")
    return lignes


def test_verification_d_un_corpus_sur_un_cluster_local(tmp_path):
    mots = [l.strip() for l in open("/usr/share/dict/french", encoding="utf-8") if l.strip()]
    lexique = o.AutomateAcycliqueMin.depuis_octets(o.CompilateurAutomateAcycliqueMin(mots).octets())
    lignes = corpus(mots, 4000, 5)
    attendu = exemple.inconnus(lignes, lexique)
    (tmp_path / "corpus.txt").write_text("\n".join(lignes) + "\n", encoding="utf-8")
    assert len(attendu) > 100
    cluster = distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                       dashboard_address=None)
    with cluster, distributed.Client(cluster) as client:
        # Small blocks, so that the corpus spreads over several partitions and both workers.
        assert exemple.verifie(client, lexique, str(tmp_path / "corpus.txt"), taille_bloc=20000) == attendu
        # Both workers took part, each with its own copy of the lexicon.
        pids = client.run(os.getpid)
        assert len(set(pids.values())) == 2 and os.getpid() not in pids.values()
