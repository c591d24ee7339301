# What ./fuzz and fuzzing/run_fixed.sh share. To be sourced from the root.

source scripts/common.sh

fuzz_build=build/fuzz
fuzz_subjects=(templates callbacks scripts)

# build_fuzzer SUBJECT: the harness, with clang, sanitizers and checked iterators; for scripts kzhost as the tests run it,
# whose updates check themselves.
build_fuzzer() {
  need_packages "${packages_to_build[@]}" "${packages_to_test[@]}"
  if [ "$1" = scripts ]; then
    quietly "configuring asan" cmake --preset asan
    compile "building asan" build/asan --target kzhost zelvane_module BlockWatch
  else
    quietly "configuring fuzz" cmake -S . -B $fuzz_build -G Ninja -DCMAKE_BUILD_TYPE=Debug \
      -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link \
      -DZELVANE_FUZZ=ON -DZELVANE_SANITIZE=ON -DZELVANE_TESTS=OFF
    compile "building fuzz" $fuzz_build --target "${1%s}_fuzzer" template_seeds
  fi
}

# begin_corpus SUBJECT FOLDER: writes what the fuzzing starts from; the others start from nothing.
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

# check_calls COUNTS: prints how many calls of random_calls.lua were made. Fails if all calls of some function failed:
# it is not tested then.
check_calls() {
  awk '{ calls += $2; successes += $3; of[$1] += $3 }
    END {
      print calls " calls, of which " successes " succeeded"
      for (name in of) if (of[name] == 0) { print name " never succeeded"; failed = 1 }
      exit failed
    }' "$1"
}
