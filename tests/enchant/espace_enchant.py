"""Enchant loading our provider as it would once the package is installed, without installing it.

Debian's Enchant loads providers from one folder only, its own (it is not relocatable). A
script that needs it re-runs itself in a mount namespace of its own (unshare -m: the system is
left as it is) where a folder holding Enchant's providers and ours is mounted over that one.
Making the namespace needs root; elsewhere the caller is told to skip (ctest's code 77).
"""
import os
import shutil
import subprocess
import sys

SAUTE = 77
MARQUE = "--dans-l-espace"


def dossier_des_fournisseurs():
    r = subprocess.run(["pkg-config", "--variable=libdir", "enchant-2"], capture_output=True, text=True)
    return os.path.join(r.stdout.strip(), "enchant-2")


def dans_l_espace():
    """True in the re-run script (the mark is then taken off its arguments)."""
    if sys.argv[-1:] == [MARQUE]:
        sys.argv.pop()
        return True
    return False


def manque():
    """What this machine lacks to run Enchant with our provider, or None."""
    for outil in ("enchant-2", "enchant-lsmod-2", "unshare", "pkg-config"):
        if shutil.which(outil) is None:
            return f"{outil} is missing"
    if subprocess.run(["unshare", "-m", "true"], capture_output=True).returncode != 0:
        return "no mount namespace can be made here (not root?)"
    return None


def relance(module, travail, environnement):
    """Runs this script again, with its arguments, where Enchant's folder holds `module` too (a
    path, or a list of them); returns its exit code."""
    modules = os.path.join(travail, "modules")
    shutil.rmtree(modules, ignore_errors=True)
    os.makedirs(modules)
    systeme = dossier_des_fournisseurs()
    for nom in os.listdir(systeme):
        # Copies: links back into the folder about to be covered would point at themselves.
        shutil.copy2(os.path.join(systeme, nom), os.path.join(modules, nom))
    for m in [module] if isinstance(module, str) else module:
        os.symlink(os.path.abspath(m), os.path.join(modules, os.path.basename(m)))
    script = f'mount --bind "{modules}" "{systeme}" && exec "{sys.executable}" "$@" {MARQUE}'
    r = subprocess.run(["unshare", "-m", "sh", "-c", script, "sh", os.path.abspath(sys.argv[0]), *sys.argv[1:]],
                       env=environnement)
    return r.returncode
