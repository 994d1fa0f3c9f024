#!/usr/bin/env bash
# Installs the Debian packages this project builds, tests and benchmarks with.
# Quiet and quick when everything is already there; needs root (or sudo) otherwise.
set -euo pipefail

paquets=(
  cmake make g++ pkg-config python3 curl ca-certificates
  qtbase5-dev
  libboost-thread-dev libboost-system-dev libboost-dev
  # Journals are built on spdlog; translation catalogues are compiled by gettext's msgfmt, and
  # the language tests read iso-codes and glibc's locale sources as independent references.
  libspdlog-dev gettext iso-codes locales
  # XML: libxml2 parses and validates; pugixml is its speed reference in the benchmarks, and
  # xmllint an independent reader in the tests.
  libxml2-dev libxml2-utils libpugixml-dev libexpat1-dev
  # The Python module: pybind11, Python's headers, pytest, and marisa-trie's binding to measure against.
  pybind11-dev python3-pybind11 python3-dev python3-pytest python3-marisa
  # The module's tests: random calls (Hypothesis), its types (mypy, stubtest), a Dask cluster,
  # and pip install into a fresh virtual environment.
  python3-hypothesis python3-mypy python3-dask python3-distributed python3-venv python3-pip python3-setuptools
  zlib1g-dev libdeflate-dev libicu-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  wfrench ccache clang-format unicode-data libabsl-dev libtbb-dev libmarisa-dev libdawgdic-dev libfst-dev libfst-tools wamerican
  man-db
  # The text comparison is tested and measured against GNU diff and patch.
  diffutils patch
  # Corrections measured against Hunspell and its French dictionary, what French users have.
  hunspell-fr libhunspell-dev
  # The Enchant provider: built against Enchant 2, tested through its own clients and pyenchant.
  libenchant-2-dev enchant-2 python3-enchant
  # Fuzzing (make fuzz): clang with libFuzzer and the sanitizers' runtimes.
  clang-14 libclang-rt-14-dev
  # Debian packages (make deb, make check-deb): dependencies, build flags, checks.
  dpkg-dev file lintian
  # No source file may name a licence that contradicts the project's (make check runs it).
  licensecheck
)

# The XML conformance suites, fetched once into a cache outside the tree.
bash "$(dirname "$0")/suites_xml.sh"

manquants=()
for p in "${paquets[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    manquants+=("$p")
  fi
done
[ ${#manquants[@]} -eq 0 ] && exit 0

echo "setup: installing ${manquants[*]}" >&2
sudo_si_besoin=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "setup: need root to install: ${manquants[*]}" >&2; exit 1; }
  sudo_si_besoin=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_si_besoin[@]}" apt-get update -qq
"${sudo_si_besoin[@]}" apt-get install -y -qq --no-install-recommends "${manquants[@]}" >/dev/null
