"""The package's types as a user's tools see them: mypy --strict accepts a script that uses
the module correctly and catches one that does not, and stubtest finds the stubs faithful to
the compiled module (every name, every signature)."""
import os
import subprocess
import sys

import pytest

ICI = os.path.dirname(os.path.abspath(__file__))
PAQUET = os.path.dirname(os.path.dirname(__import__("outils_socle").__file__))

pytest.importorskip("mypy")


def mypy(*arguments, cwd):
    env = dict(os.environ, MYPYPATH=PAQUET)
    return subprocess.run([sys.executable, "-m", "mypy", "--strict", "--no-incremental",
                           "--cache-dir", os.devnull, *arguments], capture_output=True, text=True, env=env,
                          cwd=cwd)


def test_mypy_strict_sur_un_script(tmp_path):
    bon = mypy(os.path.join(ICI, "exemple_type.py"), cwd=tmp_path)
    assert bon.returncode == 0, bon.stdout + bon.stderr
    (tmp_path / "faux.py").write_text("import outils_socle as o\n"
                                      "x: str = o.AutomateAcycliqueMin('l.lex').formes_pour(3)\n")
    faux = mypy(str(tmp_path / "faux.py"), cwd=tmp_path)
    assert faux.returncode == 1
    assert 'faux.py:2: error: Argument 1 to "formes_pour"' in faux.stdout
    assert 'faux.py:2: error: Incompatible types in assignment' in faux.stdout


def test_stubtest(tmp_path):
    r = subprocess.run([sys.executable, "-m", "mypy.stubtest", "outils_socle", "--allowlist",
                        os.path.join(ICI, "stubtest_allowlist.txt")], capture_output=True, text=True, cwd=tmp_path,
                       env=dict(os.environ, MYPYPATH=PAQUET, PYTHONPATH=PAQUET))
    assert r.returncode == 0, r.stdout + r.stderr
