#!/usr/bin/env bash
# Runs random_calls.lua with one seed in kzhost, built with sanitizers, in an empty folder; of every four seeds, one
# with --trace FILE and one with --trace -. Fails, and prints the end of the output, if the exit status is not the one
# that the script announces (a crash, a sanitizer report, a failed check of an update, a hang), or if a module made an
# invalid host call.
#   fuzzing/run_script.sh SEED [COUNTS]     COUNTS: a file to which the calls of each function are added
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seed=$1 counts=$(realpath "${2:-/dev/null}") folder=$(mktemp -d) status=0
trap 'rm -rf "$folder"' EXIT
cd "$folder"

traces=("--trace trace.json" "--trace -" "" "") # two words or none
export ASAN_OPTIONS=exitcode=99 UBSAN_OPTIONS=exitcode=99:print_stacktrace=1
timeout 60 "$root"/build/asan/bin/kzhost ${traces[seed % 4]} \
  "$root"/fuzzing/random_calls.lua "$seed" counts >out 2>&1 || status=$?
if ! grep -qx "ends $status" counts || grep -q "invalid host call by a module" out; then
  tail -n 60 out >&2
  echo "exit status $status; to run it again: fuzzing/run_script.sh $seed" >&2
  exit 1
fi
grep -v '^ends' counts >>"$counts"
