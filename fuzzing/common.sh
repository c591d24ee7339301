# What ./fuzz and fuzzing/run_fixed.sh share. To be sourced from the root.

source scripts/common.sh

fuzz_build=build/fuzz
fuzz_corpus=$fuzz_build/corpus

# The harness with clang, sanitizers and checked iterators, and the corpus begun with the seeds.
build_fuzzer() {
  need_packages "${packages_to_build[@]}" clang libclang-rt-14-dev
  quietly "configuring fuzz" cmake -S . -B $fuzz_build -G Ninja -DCMAKE_BUILD_TYPE=Debug \
    -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link \
    -DZELVANE_FUZZ=ON -DZELVANE_SANITIZE=ON -DZELVANE_TESTS=OFF
  quietly "building fuzz" cmake --build $fuzz_build --target template_fuzzer template_seeds
  mkdir -p $fuzz_corpus
  $fuzz_build/bin/template_seeds $fuzz_corpus
}

# fuzz_with OPTION... FOLDER...: one allocation beyond 64 MB is a fault: it can only come from a claim.
fuzz_with() {
  $fuzz_build/bin/template_fuzzer -dict=fuzzing/template.dict -max_len=20000 -malloc_limit_mb=64 -timeout=10 \
    -artifact_prefix=$fuzz_build/ "$@"
}
