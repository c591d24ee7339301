# What ./demo, ./test, ./bench and ./fuzz share: packages, quiet steps, builds. To be sourced from the root.

set -euo pipefail

# Prints what it does, and the output of a step only when it fails.
quietly() {
  local title=$1 log
  shift
  log=$(mktemp)
  if ! "$@" >"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    echo "failed: $title" >&2
    return 1
  fi
  rm -f "$log"
}

# need_packages PACKAGE...: installs the missing ones when root; otherwise says which they are and ends.
need_packages() {
  local missing=() package
  for package in "$@"; do
    if [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" != installed ]; then
      missing+=("$package")
    fi
  done
  [ ${#missing[@]} -eq 0 ] && return
  if [ "$(id -u)" -ne 0 ]; then
    echo "These Debian packages are missing; install them with:" >&2
    echo "  sudo apt-get install ${missing[*]}" >&2
    exit 1
  fi
  echo "installing ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update >/dev/null 2>&1 || true # an index that is there already may do
  quietly "apt-get install ${missing[*]}" apt-get install -y --no-install-recommends "${missing[@]}"
}

packages_to_build=(g++ cmake ninja-build ccache pkg-config liblua5.4-dev libcli11-dev nlohmann-json3-dev libedit-dev
                   libutfcpp-dev)
packages_to_test=(googletest clang-format clang-tidy clang libclang-rt-14-dev python3)
packages_to_bench=(libbenchmark-dev)

# build PRESET [CMAKE ARGUMENT...]: configures and builds, quietly unless that fails.
build() {
  local preset=$1
  shift
  quietly "configuring $preset" cmake --preset "$preset" "$@"
  quietly "building $preset" cmake --build --preset "$preset"
}
