# SPDX-License-Identifier: MIT
"""Builds the outils_socle package with pip, against an installed OutilsSocle found through
pkg-config (set PKG_CONFIG_PATH for a prefix other than /usr or /usr/local):

    python3 -m venv env && env/bin/pip install ./python

Only Debian's own tools are needed: pip and setuptools (in every venv), pybind11's headers
(pybind11-dev) and Python's (python3-dev). The package built is the one `cmake --install` and
the Debian package put in place: the compiled _outils_socle, __init__.py, the stubs, py.typed.
"""
import os
import shlex
import subprocess

from setuptools import Extension, setup

SOURCES = ["Module.cpp", "Arguments.cpp", "Erreurs.cpp", "Texte.cpp", "Valeurs.cpp", "Lexique.cpp",
           "Table.cpp", "Synchro.cpp", "Calendrier.cpp"]


def pkg_config(*arguments):
    try:
        resultat = subprocess.run(["pkg-config", *arguments], check=True, capture_output=True, text=True)
    except FileNotFoundError as e:
        raise SystemExit("outils_socle : pkg-config est introuvable (paquet Debian pkg-config)") from e
    except subprocess.CalledProcessError as e:
        raise SystemExit("outils_socle : pkg-config " + " ".join(arguments) + " a échoué : " + e.stderr.strip() +
                         "\nLa bibliothèque OutilsSocle doit être installée (paquet libOutilsSocle-dev, ou "
                         "cmake --install) et son outils-socle.pc trouvé : PKG_CONFIG_PATH=<préfixe>/lib/pkgconfig")
    return resultat.stdout.strip()


version = pkg_config("--modversion", "outils-socle")
drapeaux = shlex.split(pkg_config("--cflags", "outils-socle", "pybind11"))
liens = shlex.split(pkg_config("--libs", "outils-socle"))
dossier_bibliotheque = pkg_config("--variable=libdir", "outils-socle")
# Outside the system's own folders the module finds the library by its run path, as the
# CMake-installed module does.
chemins_execution = [] if os.path.realpath(dossier_bibliotheque).startswith(("/usr/lib", "/lib")) else [
    os.path.realpath(dossier_bibliotheque)]

setup(
    name="outils-socle",
    version=version,
    description="Outils de base pour le texte français : lexiques compilés, comparaison, codages, calendrier",
    license="MIT",  # SPDX identifier; the text is the project's LICENSE file
    classifiers=["License :: OSI Approved :: MIT License", "Programming Language :: C++",
                 "Typing :: Typed"],
    python_requires=">=3.9",
    packages=["outils_socle"],
    package_data={"outils_socle": ["py.typed", "_outils_socle.pyi"]},
    ext_modules=[Extension(
        "outils_socle._outils_socle",
        sources=SOURCES,
        language="c++",
        extra_compile_args=["-std=c++20", "-fvisibility=hidden", *drapeaux],
        extra_link_args=liens,
        runtime_library_dirs=chemins_execution,
    )],
    zip_safe=False,
)
