"""Random calls with random arguments at every function and method of the module: the only
outcomes allowed are a result or one of the exceptions that say what was wrong. A crash would
take pytest down with it; a RuntimeError or SystemError would mean an unexplained failure."""
import os
import pathlib
import tempfile

import pytest
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

import outils_socle as o

PERMISES = (TypeError, ValueError, IndexError, KeyError, OverflowError, StopIteration, o.OutilsSocleErreur,
            OSError)

MOTS = ["chat", "chien", "maison", "contre-indication", "été", "Été", "œuvre", "a", "ab", "abc"]

# Texts with everything a str can hold: lone surrogates, NUL, characters past the BMP.
textes = st.text(alphabet=st.characters(blacklist_categories=()), max_size=12)
arguments = st.one_of(
    st.none(), st.booleans(), textes, st.binary(max_size=40),
    st.integers(min_value=-2**70, max_value=2**70), st.floats(allow_nan=True, allow_infinity=True),
    st.lists(textes, max_size=4), st.dictionaries(textes, st.integers(-2**64, 2**64), max_size=3),
    st.builds(pathlib.PurePosixPath, st.sampled_from(["x", "sous/x", "", "/dev/full", "."])),
    st.just(os.sep), st.just(object()), st.just([1, 2]), st.just(b"\x02\x01\x00\x00" + bytes(20)),
)

DOSSIER = tempfile.mkdtemp(prefix="outils_socle_hasard_")


def objets():
    lex = o.AutomateAcycliqueMin.depuis_octets(o.CompilateurAutomateAcycliqueMin(MOTS).octets())
    return {
        "lexique": lex,
        "compilateur": o.CompilateurAutomateAcycliqueMin(MOTS),
        "table": o.TableChaine({m: i for i, m in enumerate(MOTS)}),
        "synchro": o.Synchro("chat", "chien"),
        "synchro_listes": o.Synchro(["a", "b"], ["b", "c"]),
        "generateur": lex.formes_commencant("c"),
        "joker": lex.formes_pour_joker("*"),
    }


def appelables(objets_):
    r = [(n, getattr(o, n)) for n in o.__all__ if callable(getattr(o, n)) and not (
        isinstance(getattr(o, n), type) and issubclass(getattr(o, n), BaseException))]
    for nom, objet in objets_.items():
        for m in dir(objet):
            if m in ("__init_subclass__", "__subclasshook__", "__class__", "__reduce_ex__", "__reduce__",
                     "__getattribute__", "__setattr__", "__delattr__", "__dir__", "__format__", "__sizeof__",
                     "__new__", "__init__"):
                continue
            a = getattr(objet, m)
            if callable(a):
                r.append((f"{nom}.{m}", a))
    return r


def appelle(f, args):
    try:
        f(*args)
    except PERMISES:
        pass


@pytest.fixture(autouse=True)
def dans_un_dossier_jetable(monkeypatch):
    # Random paths are relative: whatever they write lands in a folder of the test's own.
    monkeypatch.chdir(DOSSIER)


@settings(max_examples=4000, deadline=None, suppress_health_check=list(HealthCheck))
@given(st.data())
def test_appels_au_hasard(data):
    fonctions = appelables(objets())
    nom, f = data.draw(st.sampled_from(fonctions), label="fonction")
    args = data.draw(st.lists(arguments, max_size=4), label="arguments")
    appelle(f, args)


@settings(max_examples=300, deadline=None, suppress_health_check=list(HealthCheck))
@given(st.lists(textes, max_size=30), textes)
def test_lexiques_au_hasard(mots, mot):
    """Random word lists, surrogates and all: compiled or refused with ValueError, then searched."""
    try:
        lex = o.AutomateAcycliqueMin.depuis_octets(o.CompilateurAutomateAcycliqueMin(mots).octets())
    except ValueError as e:
        assert "substitut isolé" in str(e) or "U+0000" in str(e)
        return
    valides = [m for m in mots if m]
    for m in valides:
        assert m in lex
        assert lex.forme_pour_no(lex.no_pour_mot(m)) == m
    for requete in (lex.formes_pour, lex.formes_probabilistes, lambda x: list(lex.formes_commencant(x)),
                    lambda x: list(lex.formes_pour_joker(x))):
        appelle(requete, [mot])
