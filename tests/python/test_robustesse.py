"""The module never crashes its interpreter: the programs that once did run in a child process
(a crash kills the child, not the test), and every misuse ends in a Python exception that says
what was wrong."""
import os
import pickle
import subprocess
import sys
import textwrap
import threading
import time

import pytest

import outils_socle as o

MOTS = ["chat", "chien", "maison", "contre-indication", "nation", "été", "Été", "oeuvre", "œuvre"]


def enfant(code, delai=120):
    """Runs `code` in a fresh interpreter with the same module; returns its output. A crash (a
    signal) or an uncaught exception fails the test with the child's error output."""
    r = subprocess.run([sys.executable, "-c", textwrap.dedent(code)], capture_output=True, text=True,
                       timeout=delai)
    assert r.returncode == 0, f"code {r.returncode}\n{r.stderr}"
    return r.stdout


# ---- the programs that used to crash

def test_reecrire_un_lexique_ouvert_le_laisse_lisible(tmp_path):
    sortie = enfant(f"""
        import outils_socle as o
        chemin = {str(tmp_path / "x.lex")!r}
        o.CompilateurAutomateAcycliqueMin({MOTS!r}).ecris(chemin)
        lex = o.AutomateAcycliqueMin(chemin)
        o.CompilateurAutomateAcycliqueMin(["chat"]).ecris(chemin)          # smaller
        print("maison" in lex, len(lex))
        o.CompilateurAutomateAcycliqueMin([str(i) for i in range(5000)]).ecris(chemin)  # larger
        print("chat" in lex, "maison" in lex, "42" in lex, len(o.AutomateAcycliqueMin(chemin)))
    """)
    assert sortie == f"True {len(MOTS)}\nTrue True False 5000\n"


def test_un_synchro_partage_par_deux_fils():
    sortie = enfant("""
        import random, threading, outils_socle as o
        h = random.Random(1)
        a = "".join(h.choice("abcdef") for _ in range(20000))
        b = "".join(c for c in a if h.random() > 0.1)
        s = o.Synchro(a, b)
        attendu = (s.distance(), s.synchronise())
        erreurs = []
        def boucle():
            for _ in range(5):
                if (s.distance(), s.synchronise()) != attendu:
                    erreurs.append("différent")
        fils = [threading.Thread(target=boucle) for _ in range(2)]
        for f in fils: f.start()
        for f in fils: f.join()
        print(erreurs, attendu[0] > 0)
    """)
    assert sortie == "[] True\n"


@pytest.mark.parametrize("methode", ["formes_commencant('')", "formes_pour_joker('*')"])
def test_un_generateur_avance_par_deux_fils(tmp_path, methode):
    sortie = enfant(f"""
        import threading, outils_socle as o
        mots = ["".join("abcdefghij"[int(c)] for c in str(i)) for i in range(20000)]
        lex = o.AutomateAcycliqueMin.depuis_octets(o.CompilateurAutomateAcycliqueMin(mots).octets())
        g = lex.{methode}
        recus, refus = [], []
        def boucle():
            while True:
                try:
                    recus.append(next(g).forme)
                except StopIteration:
                    return
                except ValueError as e:
                    refus.append(str(e))
        fils = [threading.Thread(target=boucle) for _ in range(4)]
        for f in fils: f.start()
        for f in fils: f.join()
        # Nothing lost, nothing given twice; refusals say what Python's generators say.
        print(sorted(recus) == sorted(mots), set(refus) <= {{"generator already executing"}})
    """)
    assert sortie == "True True\n"


def test_une_table_cherchee_pendant_qu_un_autre_fil_la_change():
    sortie = enfant("""
        import threading, outils_socle as o
        t = o.TableChaine({"mot%d" % i: i for i in range(20000)})
        fin = threading.Event()
        erreurs = []
        def lecteur():
            while not fin.is_set():
                r = t.formes_commencant("mot1")
                if any(t.get(k, v) != v for k, v in r[:50]):
                    erreurs.append("valeur")
                t.formes_pour("MOT12"); len(t); list(t.items())[:1]
        def ecrivain():
            for tour in range(3):
                for i in range(0, 20000, 3):
                    del t["mot%d" % i]
                for i in range(0, 20000, 3):
                    t["mot%d" % i] = i
            fin.set()
        fils = [threading.Thread(target=lecteur) for _ in range(3)] + [threading.Thread(target=ecrivain)]
        for f in fils: f.start()
        for f in fils: f.join()
        print(erreurs, len(t), t["mot3"])
    """)
    assert sortie == "[] 20000 3\n"


def test_new_sans_init_puis_chaque_methode():
    sortie = enfant("""
        import outils_socle as o
        classes = [o.AutomateAcycliqueMin, o.CompilateurAutomateAcycliqueMin, o.TableChaine, o.Synchro,
                   o._outils_socle._Listage]
        appels = 0
        for classe in classes:
            for nom in sorted(vars(classe)):
                if nom in ("__new__", "__init__", "__doc__", "__module__", "__dict__", "__weakref__", "__setstate__"):
                    continue
                x = classe.__new__(classe)
                attribut = getattr(classe, nom)
                for arguments in ((), ("a",), ("a", 1)):
                    try:
                        if isinstance(attribut, property):
                            attribut.fget(x)
                        elif callable(attribut):
                            attribut(x, *arguments)
                        else:
                            continue
                    except TypeError as e:
                        appels += 1
                        assert "non initialisé" in str(e) or "argument" in str(e) or "attendu" in str(e), (nom, e)
                    else:
                        raise AssertionError((classe, nom, "answered"))
                # Unbound, with another object.
                if callable(attribut) and not isinstance(attribut, property):
                    try:
                        attribut(None)
                    except TypeError:
                        appels += 1
        print(appels > 60)
    """)
    assert sortie == "True\n"


# ---- clear errors, each naming its argument

@pytest.fixture(scope="module")
def lex():
    return o.AutomateAcycliqueMin.depuis_octets(o.CompilateurAutomateAcycliqueMin(MOTS).octets())


SUBSTITUT = "a\ud800b"

ERREURS = [
    ("o.Synchro(None, None)", TypeError, "ancien, nouveau : deux str"),
    ("o.Synchro('abc', ['a'])", TypeError, "reçu str et list"),
    ("o.Synchro([1], [2])", TypeError, "ancien[0] : str attendu, reçu int"),
    ("o.Synchro('a', 'b', limite=-1)", ValueError, "limite"),
    ("o.TableChaine({1: 2})", TypeError, "clef str attendue, reçu int"),
    ("o.TableChaine({'a': 'b'})", TypeError, "donnees['a'] : int attendu, reçu str"),
    ("o.TableChaine({'a': 2**70})", ValueError, "donnees['a']"),
    ("o.TableChaine([1])", TypeError, "donnees : un dict"),
    ("o.CompilateurAutomateAcycliqueMin(['a', SUBSTITUT])", ValueError, "mots[1] : substitut isolé U+D800 en position 1"),
    ("o.CompilateurAutomateAcycliqueMin(['a', None])", TypeError, "mots[1] : str attendu, reçu NoneType"),
    ("o.CompilateurAutomateAcycliqueMin('abc')", TypeError, "mots : un itérable de str"),
    ("o.CompilateurAutomateAcycliqueMin(['a'], progression=3)", TypeError, "progression"),
    ("SUBSTITUT in lex", ValueError, "mot : substitut isolé"),
    ("lex.no_pour_mot(SUBSTITUT)", ValueError, "mot : substitut isolé"),
    ("lex.formes_pour(SUBSTITUT)", ValueError, "mot : substitut isolé"),
    ("lex.formes_pour('chat', masque=99)", ValueError, "masque : un entier de 0 à 15"),
    ("lex.formes_pour(b'chat')", TypeError, "mot : str attendu, reçu bytes"),
    ("lex.formes_commencant(SUBSTITUT)", ValueError, "prefixe : substitut isolé"),
    ("lex.formes_pour_joker('*', parametre=64)", ValueError, "parametre"),
    ("lex.formes_probabilistes('chat', limite=-1)", ValueError, "limite : un entier de 0 à 4294967295"),
    ("lex.formes_probabilistes('chat', limite=1.5)", TypeError, "limite : int attendu, reçu float"),
    ("lex.forme_pour_no(-1)", IndexError, "numero : hors du lexique"),
    ("lex.forme_pour_no(len(lex))", IndexError, "numero : hors du lexique"),
    ("lex.forme_pour_no(2**80)", ValueError, "numero"),
    ("lex.forme_pour_no('1')", TypeError, "numero : int attendu, reçu str"),
    ("o.AutomateAcycliqueMin(None)", TypeError, "chemin : str, bytes ou os.PathLike attendu, reçu NoneType"),
    ("o.AutomateAcycliqueMin('')", ValueError, "chemin : chemin vide"),
    ("o.AutomateAcycliqueMin('a\\0b')", ValueError, "caractère nul"),
    ("o.AutomateAcycliqueMin.depuis_octets('abc')", TypeError, "donnees"),
    ("o.encode(SUBSTITUT)", ValueError, "texte : substitut isolé"),
    ("o.encode('a', 7)", ValueError, "codage : un entier de 0 à 6"),
    ("o.decode('abc')", TypeError, "octets"),
    ("o.egal('a', None)", TypeError, "b : str attendu"),
    ("o.diff_unifie('a', SUBSTITUT)", ValueError, "nouveau : substitut isolé"),
    ("o.diff_unifie('a', 'b', contexte=-1)", ValueError, "contexte"),
    ("o.calcule_ecart_depuis_15821209(1, 1, 2_000_000_000)", ValueError, "annee : un entier de -5000000 à 5000000"),
    ("o.calcule_ecart_depuis_17520902(10**9, 1, 2000)", ValueError, "jour"),
    ("o.calcule_difference_dates(2000, 10**6, 1)", ValueError, "mois"),
    ("o.compare_dates(2**40, 1, 1, 2000, 1, 1)", ValueError, "annee1"),
]


@pytest.mark.parametrize("expression,classe,fragment", ERREURS, ids=[e[0] for e in ERREURS])
def test_une_erreur_claire(lex, expression, classe, fragment):
    with pytest.raises(classe) as e:
        eval(expression, {"o": o, "lex": lex, "SUBSTITUT": SUBSTITUT})
    assert fragment in str(e.value)


def test_pas_un_lexique_leve_table_non_valide(tmp_path):
    for contenu in [b"chat\nchien\n" * 10, b"\xff" * 40, b"<?xml version='1.0'?><a/>"]:
        (tmp_path / "faux.lex").write_bytes(contenu)
        with pytest.raises(o.TableNonValide, match="pas un lexique"):
            o.AutomateAcycliqueMin(tmp_path / "faux.lex")
        with pytest.raises(o.TableNonValide, match="pas un lexique"):
            o.AutomateAcycliqueMin.depuis_octets(contenu)
    # Garbage that happens to start with version digits is a damaged lexicon.
    for contenu in [bytes(range(256)) * 4, bytes(3), b""]:
        with pytest.raises(o.TableNonValide):
            o.AutomateAcycliqueMin.depuis_octets(contenu)
    # A newer automaton (its version digits say so) keeps the library's own message.
    with pytest.raises(o.OutilsSocleErreur, match="Version trop récente"):
        o.AutomateAcycliqueMin.depuis_octets(bytes([2, 1, 0, 1]) + bytes(40))


def test_les_chemins_os_pathlike_et_bytes(tmp_path):
    chemin = tmp_path / "l.lex"
    assert o.CompilateurAutomateAcycliqueMin(MOTS).ecris(chemin) > 0
    assert len(o.AutomateAcycliqueMin(chemin)) == len(MOTS)
    assert len(o.AutomateAcycliqueMin(os.fsencode(chemin))) == len(MOTS)
    t = o.TableChaine({"a": 1})
    t.ecris(tmp_path / "t.tab")
    assert o.TableChaine.lis(tmp_path / "t.tab").items() == [("a", 1)]
    # The library names files in Unicode: a name that is not UTF-8 is refused, never written
    # under another name.
    for bizarre in (os.fsencode(str(tmp_path)) + b"/\xff.tab", os.fsdecode(os.fsencode(str(tmp_path)) + b"/\xff.tab")):
        with pytest.raises(ValueError, match="UTF-8"):
            t.ecris(bizarre)
    assert sorted(os.listdir(tmp_path)) == ["l.lex", "t.tab"]


def test_limite_des_formes_commencant_de_la_table():
    t = o.TableChaine({"abc": 1, "abd": 2, "abe": 3, "abf": 4})
    for n in range(1, 6):
        assert len(t.formes_commencant("ab", limite=n)) == min(n, 4)
        assert len(t.formes_pour_joker("ab?", limite=n)) == min(n, 4)
    assert len(t.formes_commencant("ab")) == 4


def jours_gregoriens(a, m, j):
    """Day number of a proleptic Gregorian date, by the usual formula (valid for any year)."""
    a2 = a - (1 if m <= 2 else 0)
    m2 = m + (12 if m <= 2 else 0)
    return 365 * a2 + a2 // 4 - a2 // 100 + a2 // 400 + (153 * (m2 - 3) + 2) // 5 + j


def test_calendrier_aux_bornes_sans_debordement():
    origine = jours_gregoriens(1582, 12, 20) - 1
    for annee in (1600, 2000, 123456, 4_999_999, 5_000_000):
        assert o.calcule_ecart_depuis_15821209(1, 3, annee) == jours_gregoriens(annee, 3, 1) - origine
    assert o.calcule_ecart_depuis_15821209(1, 1, -5_000_000) < -1_800_000_000
    assert o.donne_date()[3] in range(1, 8)
    assert "1, dimanche" in o.donne_date.__doc__
    assert "pas vérifiées" in o.calcule_ecart_depuis_15821209.__doc__


def test_joker_et_traits_d_union(lex):
    assert [f.forme for f in lex.formes_pour_joker("*tion")] == ["nation"]
    assert {f.forme for f in lex.formes_pour_joker("*tion", o.JOKER_TOUT_CARACTERE)} == {"nation", "contre-indication"}
    assert "contre-indication" in o.AutomateAcycliqueMin.formes_pour_joker.__doc__


def test_aide_complete_et_lisible():
    """Every public callable has a docstring; signatures name their arguments and Python types."""
    vus = 0
    for nom in o.__all__:
        objet = getattr(o, nom)
        if isinstance(objet, int) or (isinstance(objet, type) and issubclass(objet, BaseException)):
            continue
        assert objet.__doc__, nom
        membres = [getattr(objet, m) for m in vars(objet) if not m.startswith("_") or m in (
            "__init__", "__contains__", "__getitem__")] if isinstance(objet, type) else [objet]
        for membre in membres:
            doc = getattr(membre, "__doc__", None) or ""
            if isinstance(membre, property):
                doc = membre.__doc__ or ""
            assert doc.strip(), f"{nom}.{getattr(membre, '__name__', membre)}"
            assert "arg0" not in doc and "::" not in doc and "anonymous" not in doc, (nom, doc)
            vus += 1
    assert vus > 60


# ---- values and pickling

def test_forme_et_correction_sont_des_valeurs(lex):
    f = lex.formes_pour("chat")[0]
    assert f == pickle.loads(pickle.dumps(f)) and hash(f) == hash(pickle.loads(pickle.dumps(f)))
    assert repr(f).startswith("outils_socle.Forme(forme='chat', numero=")
    assert f.forme == f[0] == "chat" and isinstance(f, tuple)
    assert len({f, lex.formes_pour("chat")[0]}) == 1
    c = lex.formes_probabilistes("chta")[0]
    assert c == pickle.loads(pickle.dumps(c)) and c.forme == "chat" and repr(c).startswith("outils_socle.Correction(")
    with pytest.raises(TypeError):
        o.Forme.__new__(o.Forme)


def test_les_objets_se_picklent(tmp_path, lex):
    chemin = tmp_path / "l.lex"
    o.CompilateurAutomateAcycliqueMin(MOTS).ecris(chemin)
    octets = pickle.dumps(o.AutomateAcycliqueMin(chemin))
    chemin.unlink()
    # Arrives usable where the file does not exist, in another process.
    sortie = enfant(f"""
        import pickle
        lex = pickle.loads({octets!r})
        print(len(lex), "maison" in lex, [f.forme for f in lex.formes_pour("ETE")])
    """)
    assert sortie == f"{len(MOTS)} True {[f.forme for f in lex.formes_pour('ETE')]}\n"
    assert pickle.loads(pickle.dumps(lex)).octets() == lex.octets()
    for donnees in (bytearray(lex.octets()), memoryview(lex.octets())):
        assert len(o.AutomateAcycliqueMin.depuis_octets(donnees)) == len(MOTS)
    t = o.TableChaine({"a": 1, "b": -2**63})
    assert pickle.loads(pickle.dumps(t)).items() == t.items()
    assert o.TableChaine.depuis_octets(t.octets()).items() == t.items()
    s = o.Synchro(["a", "b", "c"], ["a", "c", "d"], limite=2.5)
    copie = pickle.loads(pickle.dumps(s))
    assert copie.synchronise() == s.synchronise() == [0, 2, -1]
    with pytest.raises(TypeError, match="pickle"):
        pickle.dumps(o.CompilateurAutomateAcycliqueMin(MOTS))


# ---- long comparisons: without the GIL, limited, interruptible

def melange(n):
    import random
    lignes = [f"ligne {i}\n" for i in range(n)]
    autre = lignes[:]
    random.Random(3).shuffle(autre)
    return "".join(lignes), "".join(autre)


def test_diff_unifie_rend_le_gil_et_respecte_la_limite():
    a, b = melange(100000)
    compteur = [0]
    fin = threading.Event()

    def compte():
        while not fin.is_set():
            compteur[0] += 1
            time.sleep(0.001)

    fil = threading.Thread(target=compte)
    fil.start()
    debut = time.monotonic()
    d = o.diff_unifie(a, b, limite=1)
    duree = time.monotonic() - debut
    fin.set()
    fil.join()
    assert duree < 20
    assert compteur[0] > 100 * min(duree, 1) / 2  # the other thread ran meanwhile
    assert d.startswith("--- ancien\n+++ nouveau\n@@ ")


def test_ctrl_c_interrompt_une_longue_comparaison():
    sortie = enfant("""
        import os, random, signal, threading, time, outils_socle as o
        lignes = [f"ligne {i}\\n" for i in range(200000)]
        autre = lignes[:]
        random.Random(3).shuffle(autre)
        a, b = "".join(lignes), "".join(autre)
        envoi = []
        def interromps():
            time.sleep(0.5)
            envoi.append(time.monotonic())
            os.kill(os.getpid(), signal.SIGINT)
        threading.Thread(target=interromps).start()
        try:
            o.diff_unifie(a, b)
            print("fini")
        except KeyboardInterrupt:
            print("interrompu", time.monotonic() - envoi[0] < 0.1)
        s = o.Synchro(lignes, autre)
        threading.Thread(target=interromps).start()
        try:
            s.distance()
            print("fini")
        except KeyboardInterrupt:
            print("interrompu", time.monotonic() - envoi[1] < 0.1)
        print(s.limite_depassee)
    """)
    assert sortie == "interrompu True\ninterrompu True\nTrue\n"
