#!/usr/bin/env bash
# Runs every fuzz target of a fuzz build (make fuzz) for DUREE seconds each, from the seeds the
# library's writers make plus the corpus earlier runs kept. Any crash, sanitizer report, leak,
# time-out (one input over a second) or allocation over 512 MB fails the run; the input that
# did it is left in <build>/fuzz-artefacts/<target>/ (docs/fuzzing.md says what to do with it).
set -euo pipefail
construction=$(cd "${1:?usage: fuzz.sh BUILD [DUREE]}" && pwd)
sources=$(cd "$(dirname "$0")/.." && pwd)
duree=${2:-5}
cd "$construction"
rm -rf fuzz-graines
./fuzz/fuzz_graines fuzz-graines
mkdir -p fuzz-journaux
echec=0
printf '%-14s %12s %8s %10s  %s\n' cible executions aretes exec/s resultat
for programme in fuzz/fuzz_*; do
  cible=${programme#fuzz/fuzz_}
  [ "$cible" = graines ] && continue
  mkdir -p "fuzz-corpus/$cible" "fuzz-artefacts/$cible"
  journal="fuzz-journaux/$cible.log"
  resultat=ok
  # A target may come with a dictionary of its format's tokens.
  dictionnaire=()
  [ -f "$sources/fuzz/$cible.dict" ] && dictionnaire=(-dict="$sources/fuzz/$cible.dict")
  if ! "$programme" "${dictionnaire[@]}" "fuzz-corpus/$cible" "fuzz-graines/$cible" -max_total_time="$duree" -timeout=1 \
      -rss_limit_mb=2048 -malloc_limit_mb=512 -print_final_stats=1 \
      -artifact_prefix="fuzz-artefacts/$cible/" >"$journal" 2>&1; then
    resultat="FAUTE : $construction/$journal"
    echec=1
  fi
  executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$journal" | tail -1)
  vitesse=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$journal" | tail -1)
  aretes=$(grep -o 'cov: [0-9]*' "$journal" | tail -1 | cut -d' ' -f2 || true)
  printf '%-14s %12s %8s %10s  %s\n' "$cible" "${executions:-?}" "${aretes:-?}" "${vitesse:-?}" "$resultat"
done
exit $echec
