"""The Python module against independent references: the program's own answers (the C++ library
behind a process boundary), Python's codecs, datetime, unicodedata and GNU diff."""
import datetime
import gc
import itertools
import os
import random
import re
import subprocess
import sys
import threading
import unicodedata

import pytest

import outils_socle as o

PROGRAMME = os.environ["OUTILS_SOCLE_PROGRAMME"]
LISTE = "/usr/share/dict/french"
DONNEES = os.path.join(os.path.dirname(__file__), "..", "donnees")


def lis_liste(chemin):
    """The list as the program reads it: UTF-8 lines, a final CR dropped, empty lines skipped."""
    with open(chemin, encoding="utf-8") as f:
        return [l.rstrip("\n").removesuffix("\r") for l in f if l.rstrip("\n").removesuffix("\r")]


@pytest.fixture(scope="module")
def lexique(tmp_path_factory):
    dossier = tmp_path_factory.mktemp("lexique")
    chemin_py, chemin_prog = str(dossier / "python.lex"), str(dossier / "programme.lex")
    avances = []
    compilateur = o.CompilateurAutomateAcycliqueMin(iter(lis_liste(LISTE)),
                                                    progression=lambda f, t: avances.append((f, t)))
    compilateur.ecris(chemin_py)
    subprocess.run([PROGRAMME, "lexique", "compile", LISTE, chemin_prog], check=True, capture_output=True)
    return {"python": chemin_py, "programme": chemin_prog, "avances": avances, "compilateur": compilateur,
            "automate": o.AutomateAcycliqueMin(chemin_py), "mots": lis_liste(LISTE)}


def programme(*arguments):
    return subprocess.run([PROGRAMME, *arguments], check=True, capture_output=True, text=True).stdout


LIGNE = re.compile(r"^  (\S.*?)\s+n° (\d+)(?:\s+rangs (\d+),(\d+) détail 0x([0-9A-F]+))?(?:\s+coût (\d+))?")


def formes_du_programme(sortie):
    """Per query, the (form, number, ...) lines the program printed under its header line."""
    reponses = []
    for ligne in sortie.splitlines():
        if ligne.startswith("« "):
            reponses.append([])
        elif (m := LIGNE.match(ligne)):
            reponses[-1].append(tuple(int(g, 16) if i == 4 else (int(g) if i else g)
                                      for i, g in enumerate(m.groups()) if g is not None))
    return reponses


def test_compiler_depuis_python_donne_les_octets_du_programme(lexique):
    with open(lexique["python"], "rb") as a, open(lexique["programme"], "rb") as b:
        assert a.read() == b.read()
    assert lexique["compilateur"].octets() == open(lexique["python"], "rb").read()
    assert lexique["compilateur"].nb_formes == len(set(lexique["mots"])) == len(lexique["automate"])
    avances = lexique["avances"]
    assert avances and avances[-1][0] == avances[-1][1]
    assert all(a[0] <= b[0] for a, b in zip(avances, avances[1:]))


def test_chaque_requete_comme_le_programme(lexique):
    a = lexique["automate"]
    alea = random.Random(7)
    mots = alea.sample(lexique["mots"], 40)
    variantes = [m.upper() for m in mots[:10]] + [unicodedata.normalize("NFD", m).encode("ascii", "ignore").decode()
                                                  for m in mots[10:20]] + ["oeuvre", "ETE", "zzzz"]

    # Numbers both ways.
    for ligne, mot in zip(programme("lexique", "numero", lexique["python"], *mots, "zzzz").splitlines(), mots + ["zzzz"]):
        assert ligne == f"{mot}\t{a.no_pour_mot(mot)}"
        assert (mot in a) == (a.no_pour_mot(mot) >= 0)
    numeros = [a.no_pour_mot(m) for m in mots]
    for ligne, n in zip(programme("lexique", "forme", lexique["python"], *map(str, numeros)).splitlines(), numeros):
        assert ligne.split("\t")[1] == a.forme_pour_no(n)

    # Insensitive ranked lookups, prefixes, jokers, corrections.
    attendu = formes_du_programme(programme("lexique", "cherche", lexique["python"], *variantes))
    assert [[(f.forme, f.numero, f.rang1, f.rang2, f.detail) for f in a.formes_pour(v)] for v in variantes] == attendu
    prefixes = sorted({m[:6] for m in mots if len(m) > 6})[:15]
    attendu = formes_du_programme(programme("lexique", "prefixe", lexique["python"], *prefixes))
    assert [[(f.forme, f.numero) for f in a.formes_commencant(p)] for p in prefixes] == attendu
    for motif in ["*phant*", "?aison", "m&is#n", "ab*ss*"]:
        attendu = formes_du_programme(programme("lexique", "joker", lexique["python"], motif))[0]
        assert [(f.forme, f.numero) for f in a.formes_pour_joker(motif)] == attendu
    fautes = ["mainson", "ecol", "garcon", "aujourdhui", "téléfone"]
    attendu = formes_du_programme(programme("lexique", "corrige", lexique["python"], *fautes, "--limite", "5"))
    assert [[(c.forme, c.numero, c.cout) for c in a.formes_probabilistes(f, 5)] for f in fautes] == attendu


def test_listages_paresseux(lexique):
    a = lexique["automate"]
    # The whole lexicon from the empty prefix, in number order, taken lazily.
    premiers = list(itertools.islice(a.formes_commencant(""), 5))
    assert [f.numero for f in premiers] == [0, 1, 2, 3, 4]
    assert [f.forme for f in premiers] == [a.forme_pour_no(i) for i in range(5)]
    assert sum(1 for _ in a.formes_commencant("")) == len(a)
    generateur = a.formes_pour_joker("*")
    assert next(generateur).numero == 0
    del a, lexique  # the generator keeps its lexicon alive
    gc.collect()
    assert len(list(itertools.islice(generateur, 1000))) == 1000


def test_un_fichier_refuse_est_un_oserror_avec_errno_et_nom(tmp_path):
    """Every refused file operation is an OSError with errno, strerror and filename, and the
    library's message naming the operation; the file that was there stays whole."""
    import errno
    compilateur = o.CompilateurAutomateAcycliqueMin(["chat", "chien"])
    table = o.TableChaine({"chat": 1})
    absent = str(tmp_path / "manque" / "x")
    for ecris in (compilateur.ecris, table.ecris):
        with pytest.raises(o.OuvertureEchouee) as e:
            ecris(absent)
        assert (e.value.errno, e.value.filename) == (errno.ENOENT, absent)
        assert e.value.strerror == "Aucun fichier ou dossier de ce type"
        assert str(e.value) == f"Création échouée : {absent} : Aucun fichier ou dossier de ce type"
        with pytest.raises(o.OuvertureEchouee) as e:
            ecris(str(tmp_path))
        assert (e.value.errno, e.value.filename) == (errno.EISDIR, str(tmp_path))
        with pytest.raises(o.OuvertureEchouee) as e:
            ecris("/dev/full")
        assert (e.value.errno, e.value.filename) == (errno.ENOSPC, "/dev/full")
        assert str(e.value).startswith("Écriture échouée : /dev/full : ")
    with pytest.raises(OSError) as e:
        o.AutomateAcycliqueMin(absent)
    assert (e.value.errno, e.value.filename) == (errno.ENOENT, absent)


def test_exceptions_de_la_bibliotheque(tmp_path, lexique):
    with pytest.raises(o.OuvertureEchouee, match="Ouverture échouée : /nulle/part") as erreur:
        o.AutomateAcycliqueMin("/nulle/part")
    assert isinstance(erreur.value, OSError) and isinstance(erreur.value, o.OutilsSocleErreur)
    for nom in ["lexique-chemins-exponentiels.aut", "lexique-corrections-exponentielles.aut"]:
        with pytest.raises(o.TableNonValide, match="Table non valide"):
            o.AutomateAcycliqueMin(os.path.join(DONNEES, "automates-endommages", nom))
    # Damage anywhere: an exception of the family or a correct answer, never a crash.
    octets = open(lexique["python"], "rb").read()[:20000]
    alea = random.Random(3)
    for essai in range(200):
        abime = bytearray(octets[: alea.randrange(len(octets))] if essai % 2 else octets)
        for _ in range(4):
            abime[alea.randrange(len(abime))] = alea.randrange(256)
        chemin = tmp_path / "abime.lex"
        chemin.write_bytes(bytes(abime))
        try:
            a = o.AutomateAcycliqueMin(str(chemin))
            a.formes_pour("maison")
            list(itertools.islice(a.formes_commencant("a"), 50))
            list(itertools.islice(a.formes_pour_joker("a*"), 50))
            a.formes_probabilistes("maison", 3)
        except o.OutilsSocleErreur:
            pass
    with pytest.raises(IndexError):
        lexique["automate"].forme_pour_no(len(lexique["automate"]))
    with pytest.raises(ValueError):
        o.encode("x", 9)
    with pytest.raises(TypeError):
        lexique["automate"].no_pour_mot(3)
    with pytest.raises(TypeError):
        b"mot" in lexique["automate"]
    with pytest.raises(TypeError):
        o.CompilateurAutomateAcycliqueMin(["a", 3])
    # A progress callback that raises: the compile ends, the error comes out, nothing crashes.
    def refuse(fait, total):
        raise ValueError("assez")
    with pytest.raises(ValueError, match="assez"):
        o.CompilateurAutomateAcycliqueMin(lexique["mots"][:200000], progression=refuse)
    assert issubclass(o.IndexHorsBorne, IndexError) and issubclass(o.TableNonValide, o.OutilsSocleErreur)


CODECS = {o.CODAGE_MAC_ROMAN: "mac_roman", o.CODAGE_LATIN9: "iso8859_15", o.CODAGE_WIN_LATIN1: "cp1252",
          o.CODAGE_DOS: "cp850", o.CODAGE_UTF8: "utf-8", o.CODAGE_UTF16LE: "utf-16-le", o.CODAGE_UTF16BE: "utf-16-be"}


def test_codages_comme_les_codecs_de_python():
    texte = "Noël à l'œuvre : déjà 12 ÉTÉS, ça ! ÿ ü ï ô"
    for codage, codec in CODECS.items():
        if codage == o.CODAGE_DOS:
            t = texte.replace("œ", "oe")  # not in code page 850
        else:
            t = texte
        assert o.encode(t, codage) == t.encode(codec), codec
        assert o.decode(t.encode(codec), codage) == t, codec
    assert o.encode("€", o.CODAGE_LATIN9) == b"\xa4"
    assert o.decode(b"\xf0\x9d\x84\x9e", o.CODAGE_UTF8) == "\U0001D11E"


def test_egal_et_normalisations():
    assert o.egal("Œuvre", "oeuvre", o.MALGRAY_LIGATURES | o.MALGRAY_CASSE)
    assert not o.egal("Œuvre", "oeuvre", o.MALGRAY_CASSE)
    assert o.egal("Été", "ete", o.MALGRAY_ACCENTS | o.MALGRAY_CASSE)
    assert not o.egal("Été", "ete")
    assert o.egal("aujourd’hui", "aujourd'hui", o.MALGRAY_VARIANTES)
    assert o.normalise_nfc("e\u0301te\u0301") == unicodedata.normalize("NFC", "e\u0301te\u0301") == "été"
    assert o.normalise_variante_minusculise_sans_accent("ÉTÉ") == "ete"
    assert o.deligature("Œuvre") == "OEuvre" and o.ligature("coeur") == "cœur"
    assert o.normalise_apostrophe("l’été") == "l'été"
    assert o.consolide_blancs("a \t  b") == "a b" and o.nettoie_blancs("  a  ") == "a"


def lcs(a, b):
    ligne = [0] * (len(b) + 1)
    for x in a:
        precedent = 0
        for j, y in enumerate(b, 1):
            precedent, ligne[j] = ligne[j], precedent + 1 if x == y else max(ligne[j], ligne[j - 1])
    return ligne[-1]


def test_synchro_minimale():
    alea = random.Random(5)
    for _ in range(200):
        a = [alea.choice("abc") for _ in range(alea.randrange(12))]
        b = [alea.choice("abc") for _ in range(alea.randrange(12))]
        for ancien, nouveau in ((a, b), ("".join(a), "".join(b))):
            s = o.Synchro(ancien, nouveau)
            alignement = s.synchronise()
            assert len(alignement) == len(nouveau)
            paires = [(i, j) for j, i in enumerate(alignement) if i >= 0]
            assert all(ancien[i] == nouveau[j] for i, j in paires)
            assert all(p[0] < q[0] for p, q in zip(paires, paires[1:]))
            assert len(paires) == lcs(ancien, nouveau)
            assert s.distance() == len(ancien) + len(nouveau) - 2 * len(paires)
    assert o.Synchro("le petit chat", "le gros chat").distance() == 9


def test_diff_unifie_comme_le_programme_et_gnu_diff(tmp_path):
    """The program's output below its dated headers; a minimal count, as diff --minimal finds;
    and patch turns the old text into the new with it."""
    alea = random.Random(11)
    a_, b_ = str(tmp_path / "a"), str(tmp_path / "b")
    for essai in range(60):
        a = "".join(alea.choice(["x\n", "y\n", "z\n", "é\n", "\n"]) for _ in range(alea.randrange(25)))
        b = "".join(alea.choice(["x\n", "y\n", "w\n", "é\n", "\n"]) for _ in range(alea.randrange(25)))
        if essai % 5 == 0:
            b = b.rstrip("\n")  # a last line without its line end
        with open(a_, "w", encoding="utf-8") as f:
            f.write(a)
        with open(b_, "w", encoding="utf-8") as f:
            f.write(b)
        contexte = essai % 4
        notre = o.diff_unifie(a, b, contexte)
        assert (notre == "") == (a == b)
        if not notre:
            continue
        prog = subprocess.run([PROGRAMME, "synchro", "--unifie", "--contexte", str(contexte), a_, b_],
                              capture_output=True, text=True).stdout
        assert notre.splitlines()[2:] == prog.splitlines()[2:], (a, b)
        minimal = subprocess.run(["diff", "--minimal", a_, b_], capture_output=True, text=True).stdout
        assert sum(l[:1] in "-+" for l in notre.splitlines()[2:] if not l.startswith("@@")) == \
            sum(l[:1] in "<>" for l in minimal.splitlines())
        sortie = str(tmp_path / "patche")
        subprocess.run(["patch", "-s", "-o", sortie, a_], input=notre, text=True, check=True, capture_output=True)
        assert open(sortie, encoding="utf-8").read() == b


def test_calendrier_comme_datetime():
    origine = datetime.date(1582, 12, 20)
    for jour in [datetime.date(1582, 12, 20), datetime.date(1600, 2, 29), datetime.date(2000, 1, 1),
                 datetime.date(2026, 11, 24)]:
        assert o.calcule_ecart_depuis_15821209(jour.day, jour.month, jour.year) == (jour - origine).days + 1
    assert o.calcule_ecart_depuis_15821209(9, 12, 1582) == 0
    assert o.compare_dates(2000, 1, 2, 2000, 1, 1) == 1 and o.compare_dates(1999, 12, 31, 2000, 1, 1) == -1
    annee, mois, jour, _ = o.donne_date()
    assert o.calcule_difference_dates(annee, mois, jour) == 0


def test_pas_de_fuite_sur_100000_appels(lexique):
    a = lexique["automate"]
    mot = "maisonnée"
    avant_mot = sys.getrefcount(mot)
    for _ in range(1000):  # warm up caches
        a.formes_pour(mot)
    gc.collect()
    avant = len(gc.get_objects())
    for i in range(100000):
        a.no_pour_mot(mot)
        if i % 10 == 0:
            a.formes_pour(mot)
            o.egal(mot, "MAISONNEE", 6)
    gc.collect()
    assert len(gc.get_objects()) - avant < 100
    assert sys.getrefcount(mot) == avant_mot


def test_fils_en_parallele(lexique):
    a = lexique["automate"]
    mots = random.Random(1).sample(lexique["mots"], 400)
    attendu = {m: (a.no_pour_mot(m), [(f.forme, f.numero) for f in a.formes_pour(m.upper())]) for m in mots}
    erreurs = []

    def travaille(k):
        for m in mots[k::4]:
            if (a.no_pour_mot(m), [(f.forme, f.numero) for f in a.formes_pour(m.upper())]) != attendu[m]:
                erreurs.append(m)

    fils = [threading.Thread(target=travaille, args=(k,)) for k in range(4)]
    for f in fils:
        f.start()
    for f in fils:
        f.join()
    assert erreurs == []


def test_table_chaine_comme_un_dict(tmp_path, lexique):
    alea = random.Random(9)
    cles = ["été", "ete", "tête", "bête", "œuvre", "oeuvre", "a", "ab", "abc", "", "\U0001D11E", "zut!"]
    table, reference = o.TableChaine(), {}
    for _ in range(3000):
        k = alea.choice(cles) + alea.choice(["", "s", "x"])
        if alea.random() < 0.3 and k in reference:
            del table[k], reference[k]
        else:
            table[k] = reference[k] = alea.randrange(-2**40, 2**40)
        assert len(table) == len(reference)
    assert dict(table.items()) == reference and set(table) == set(reference)
    assert all(table[k] == v and k in table for k, v in reference.items())
    assert table.get("absent", 7) == 7
    with pytest.raises(KeyError):
        table["absent"]
    with pytest.raises(KeyError):
        del table["absent"]
    table.ecris(str(tmp_path / "t.tab"))
    relue = o.TableChaine.lis(str(tmp_path / "t.tab"))
    assert relue.items() == table.items()
    (tmp_path / "abime.tab").write_bytes((tmp_path / "t.tab").read_bytes()[:-3])
    with pytest.raises(o.TableNonValide):
        o.TableChaine.lis(str(tmp_path / "abime.tab"))
    # The searches rank as the lexicon does: same forms, same ranks, for words of the French list.
    mots = random.Random(2).sample(lexique["mots"], 3000) + ["été", "ete", "Été", "oeuvre", "oeuvré"]
    t = o.TableChaine({m: i for i, m in enumerate(mots)})
    o.CompilateurAutomateAcycliqueMin(mots).ecris(str(tmp_path / "petit.lex"))
    a = o.AutomateAcycliqueMin(str(tmp_path / "petit.lex"))
    for m in ["ETE", "OEUVRE"] + mots[:50]:
        assert [f for f, _ in t.formes_pour(m)] == [f.forme for f in a.formes_pour(m)]
        assert all(t[f] == v for f, v in t.formes_pour(m))
    assert {f for f, _ in t.formes_pour_joker("*t?")} == {f.forme for f in a.formes_pour_joker("*t?")}
    anagrammes = [f for f, _ in t.formes_pour_anagrammes("tee")]
    assert {"été", "ete", "Été"} <= set(anagrammes)
    assert all(sorted(o.normalise_variante_minusculise_sans_accent(f)) == sorted("tee") for f in anagrammes)
