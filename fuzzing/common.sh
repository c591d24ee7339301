# What ./fuzz and fuzzing/run_fixed.sh share. To be sourced from the root.

source scripts/common.sh

fuzz_build=build/fuzz
fuzz_subjects=(templates callbacks)

# The harnesses with clang, sanitizers and checked iterators.
build_fuzzers() {
  need_packages "${packages_to_build[@]}" clang libclang-rt-14-dev
  quietly "configuring fuzz" cmake -S . -B $fuzz_build -G Ninja -DCMAKE_BUILD_TYPE=Debug \
    -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link \
    -DZELVANE_FUZZ=ON -DZELVANE_SANITIZE=ON -DZELVANE_TESTS=OFF
  compile "building fuzz" $fuzz_build --target template_fuzzer template_seeds callback_fuzzer
}

# begin_corpus SUBJECT FOLDER: writes what the fuzzing starts from; callbacks start from nothing.
begin_corpus() {
  mkdir -p "$2"
  if [ "$1" = templates ]; then $fuzz_build/bin/template_seeds "$2"; fi
}

# fuzz_with SUBJECT OPTION... FOLDER...
fuzz_with() {
  local subject=$1
  local -a options
  shift
  case $subject in
  # One allocation beyond 64 MB is a fault: it can only come from a claim.
  templates) options=(-dict=fuzzing/template.dict -max_len=20000 -malloc_limit_mb=64) ;;
  # Leaks are looked for once, at the end: the host keeps what it knows of closed documents, and the fuzzer would look
  # for leaks after each run.
  callbacks) options=(-max_len=480 -detect_leaks=0) ;;
  esac
  $fuzz_build/bin/"${subject%s}"_fuzzer -timeout=10 -artifact_prefix="$fuzz_build/$subject-" "${options[@]}" "$@"
}
