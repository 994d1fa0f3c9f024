"""pip install of the Python package into a fresh virtual environment, against a library
installed in a prefix and found through pkg-config, as a Python user outside Debian's own
python3 would do it. Offline: only what every venv has (pip, setuptools) and Debian's headers."""
import os
import shutil
import subprocess
import sys
import tempfile

prefixe, sources = sys.argv[1], sys.argv[2]
with tempfile.TemporaryDirectory() as travail:
    # A copy, so that the build leaves nothing in the source tree.
    copie = os.path.join(travail, "python")
    shutil.copytree(sources, copie, ignore=shutil.ignore_patterns("build", "*.egg-info", "__pycache__"))
    env = os.path.join(travail, "env")
    subprocess.run(["/usr/bin/python3", "-m", "venv", env], check=True)
    python = os.path.join(env, "bin", "python")
    propre = {k: v for k, v in os.environ.items() if k not in ("PYTHONPATH", "LD_LIBRARY_PATH")}
    avant = subprocess.run([python, "-c", "import outils_socle"], env=propre, capture_output=True, text=True)
    assert "ModuleNotFoundError" in avant.stderr, avant.stderr
    propre["PKG_CONFIG_PATH"] = os.path.join(prefixe, "lib", "pkgconfig")
    subprocess.run([python, "-m", "pip", "install", "--no-index", "-q", copie], env=propre, check=True, cwd=travail)
    del propre["PKG_CONFIG_PATH"]
    verification = """
import os, pickle, outils_socle as o
assert o.__file__.startswith(os.environ["VIRTUAL_ENV_DIR"]), o.__file__
assert os.path.exists(os.path.join(os.path.dirname(o.__file__), "py.typed"))
lexique = o.AutomateAcycliqueMin.depuis_octets(o.CompilateurAutomateAcycliqueMin(["chat", "été"]).octets())
assert "été" in lexique and pickle.loads(pickle.dumps(lexique)).formes_pour("ETE")[0].forme == "été"
print("ok")
"""
    propre["VIRTUAL_ENV_DIR"] = env
    sortie = subprocess.run([python, "-c", verification], env=propre, check=True, capture_output=True, text=True,
                            cwd=travail)
    assert sortie.stdout == "ok\n", sortie
print("venv : paquet installé par pip et utilisable")
