#!/usr/bin/env bash
# Runs every fuzz target of a fuzz build, one after the other, from the checked-in seeds plus
# what earlier runs found, for the given number of seconds or inputs (whichever ends first);
# prints how many inputs each ran and the coverage it reached.
# Usage: fuzz/run.sh BUILD_DIR SECONDS [INPUTS]
# FUZZ_TARGETS="fuzz_a fuzz_b" limits the run to those targets.
set -uo pipefail
build=${1:?usage: fuzz/run.sh BUILD_DIR SECONDS [INPUTS]}
seconds=${2:?usage: fuzz/run.sh BUILD_DIR SECONDS [INPUTS]}
inputs=${3:--1}
here=$(cd "$(dirname "$0")" && pwd)

shopt -s nullglob
targets=()
if [ -n "${FUZZ_TARGETS:-}" ]; then
  for name in $FUZZ_TARGETS; do targets+=("$build/fuzz/$name"); done
else
  targets=("$build"/fuzz/fuzz_*)
fi
if [ ${#targets[@]} -eq 0 ]; then
  echo "No fuzz targets in $build/fuzz (is clang installed?): nothing to run."
  exit 0
fi

status=0
for exe in "${targets[@]}"; do
  name=$(basename "$exe")
  if [ ! -x "$exe" ]; then
    echo "$name: not built"
    status=1
    continue
  fi
  found="$build/fuzz-corpus/$name"   # new inputs go here, the seeds stay as checked in
  mkdir -p "$found" "$build/fuzz-crashes"
  options=(-max_total_time="$seconds" -runs="$inputs" -timeout=10 -rss_limit_mb=2048
           -print_final_stats=1 -artifact_prefix="$build/fuzz-crashes/$name-")
  [ -f "$here/dict/$name.dict" ] && options+=(-dict="$here/dict/$name.dict")
  log="$build/fuzz-$name.log"
  start=$(date +%s)
  ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1} "$exe" "${options[@]}" "$found" "$here/corpus/$name" >"$log" 2>&1
  result=$?
  elapsed=$(( $(date +%s) - start ))
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  reached=$(grep -E '^#[0-9]+' "$log" | tail -1 | grep -oE 'cov: [0-9]+ ft: [0-9]+ corp: [0-9]+/[0-9]+[a-zA-Z]*')
  if [ $result -eq 0 ]; then
    echo "$name: ${runs:-?} inputs in ${elapsed}s, ${reached:-no coverage line}, no failure"
  else
    echo "$name: FAILED (exit $result); the input is in $build/fuzz-crashes/, the log in $log"
    grep -E "ERROR|invariant broken|SUMMARY|runtime error" "$log" | head -5
    status=1
  fi
done
exit $status
