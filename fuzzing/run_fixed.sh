#!/usr/bin/env bash
# Runs each fuzz harness with a fixed number of inputs, drawn from the same seed each time.
cd "$(dirname "$0")/.."
source fuzzing/common.sh

declare -A runs=([templates]=20000 [callbacks]=1500)

for subject in "${fuzz_subjects[@]}"; do build_fuzzer "$subject"; done
seeds=$(mktemp -d)
trap 'rm -rf "$seeds"' EXIT
for subject in "${!runs[@]}"; do
  begin_corpus "$subject" "$seeds/$subject"
  echo "fuzzing $subject"
  quietly "fuzzing" fuzz_with "$subject" -runs="${runs[$subject]}" -seed=1 "$seeds/$subject"
done
echo "fuzzing scripts"
for seed in {1..40}; do fuzzing/run_script.sh "$seed" "$seeds/calls"; done
check_calls "$seeds/calls"
