"""A user's script, checked by mypy --strict against the package's stubs (test_types.py)."""
import os
import pathlib
import pickle

import outils_socle as o


def inconnus(lexique: o.AutomateAcycliqueMin, mots: list[str]) -> list[str]:
    return [m for m in mots if m not in lexique and lexique.no_pour_mot(m.lower()) < 0]


def premieres(lexique: o.AutomateAcycliqueMin, prefixe: str, n: int) -> list[tuple[str, int]]:
    r: list[tuple[str, int]] = []
    for forme in lexique.formes_commencant(prefixe):
        r.append((forme.forme, forme.numero))
        if len(r) == n:
            break
    return r


def principal(dossier: pathlib.Path) -> None:
    compilateur = o.CompilateurAutomateAcycliqueMin(["chat", "chien"], progression=lambda fait, total: None)
    compilateur.ecris(dossier / "l.lex")
    lexique = o.AutomateAcycliqueMin(os.fspath(dossier / "l.lex"))
    copie: o.AutomateAcycliqueMin = pickle.loads(pickle.dumps(lexique))
    corrections: list[o.Correction] = copie.formes_probabilistes("chta", limite=3)
    cout: int = corrections[0].cout
    table = o.TableChaine({"a": 1})
    table["b"] = 2
    valeurs: list[tuple[str, int]] = table.formes_commencant("a", limite=1)
    s = o.Synchro(["a"], ["b"], limite=0.5)
    alignement: list[int] = s.synchronise()
    d: str = o.diff_unifie("a\n", "b\n", limite=1.0)
    print(inconnus(lexique, ["chat"]), premieres(lexique, "c", 1), cout, valeurs, alignement, d,
          o.egal("a", "A", o.MALGRAY_CASSE), o.donne_date()[3])
