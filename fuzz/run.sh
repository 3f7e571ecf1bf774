#!/usr/bin/env bash
# Runs every fuzz target of a fuzz build for the given number of seconds, one after the other,
# from the checked-in seeds plus what earlier runs found; prints how many inputs each ran.
# Usage: fuzz/run.sh BUILD_DIR SECONDS
set -uo pipefail
build=${1:?usage: fuzz/run.sh BUILD_DIR SECONDS}
seconds=${2:?usage: fuzz/run.sh BUILD_DIR SECONDS}
here=$(cd "$(dirname "$0")" && pwd)

shopt -s nullglob
targets=("$build"/fuzz/fuzz_*)
if [ ${#targets[@]} -eq 0 ]; then
  echo "No fuzz targets in $build/fuzz (is clang installed?): nothing to run."
  exit 0
fi

status=0
for exe in "${targets[@]}"; do
  [ -x "$exe" ] || continue
  name=$(basename "$exe")
  found="$build/fuzz-corpus/$name"   # new inputs go here, the seeds stay as checked in
  mkdir -p "$found" "$build/fuzz-crashes"
  options=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
           -artifact_prefix="$build/fuzz-crashes/$name-")
  [ -f "$here/dict/$name.dict" ] && options+=(-dict="$here/dict/$name.dict")
  log="$build/fuzz-$name.log"
  "$exe" "${options[@]}" "$found" "$here/corpus/$name" >"$log" 2>&1
  result=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  if [ $result -eq 0 ]; then
    echo "$name: ${runs:-?} inputs in ${seconds}s, no failure"
  else
    echo "$name: FAILED (exit $result); the input is in $build/fuzz-crashes/, the log in $log"
    grep -E "ERROR|invariant broken|SUMMARY|runtime error" "$log" | head -5
    status=1
  fi
done
exit $status
