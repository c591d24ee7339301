#!/usr/bin/env bash
# Runs each fuzz harness with a fixed number of inputs, drawn from the same seed each time.
cd "$(dirname "$0")/.."
source fuzzing/common.sh

declare -A runs=([templates]=20000 [callbacks]=1500)

build_fuzzers
seeds=$(mktemp -d)
trap 'rm -rf "$seeds"' EXIT
for subject in "${fuzz_subjects[@]}"; do
  begin_corpus "$subject" "$seeds/$subject"
  echo "fuzzing $subject"
  quietly "fuzzing" fuzz_with "$subject" -runs="${runs[$subject]}" -seed=1 "$seeds/$subject"
done
