#!/usr/bin/env bash
# Fuzzes the template reader with a fixed number of inputs, the same ones each time: fuzzing/run_fixed.sh [RUNS]
cd "$(dirname "$0")/.."
source fuzzing/common.sh

build_fuzzer
seeds=$(mktemp -d)
trap 'rm -rf "$seeds"' EXIT
$fuzz_build/bin/template_seeds "$seeds"
echo "fuzzing the template reader"
quietly "fuzzing" fuzz_with -runs="${1:-20000}" -seed=1 "$seeds"
