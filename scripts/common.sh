# Shared by ./demo, ./test, ./bench and ./fuzz: packages, quiet steps, builds. Source it from the root of the tree.

set -euo pipefail

# The comment at the head of a script is its help.
print_help() {
  (cd "$OLDPWD" && sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0")
}

# fail_usage MESSAGE: reports a wrong argument and ends the script.
fail_usage() {
  echo "${0##*/}: $1 (see --help)" >&2
  exit 2
}

is_terminal() {
  [ -t 1 ] && [ "${TERM:-dumb}" != dumb ]
}

# quietly TITLE COMMAND...: prints the output of a step only if it fails; on a terminal, shows the title during the step.
quietly() {
  local title=$1 log
  shift
  log=$(mktemp)
  ! is_terminal || printf '%s ...' "$title"
  if ! "$@" >"$log" 2>&1; then
    ! is_terminal || echo
    cat "$log" >&2
    rm -f "$log"
    echo "failed: $title" >&2
    return 1
  fi
  ! is_terminal || printf '\r\033[K'
  rm -f "$log"
}

# compile TITLE ARGUMENT...: cmake --build; on a terminal with Ninja's line of progress, otherwise quietly.
compile() {
  local title=$1
  shift
  if ! is_terminal; then
    quietly "$title" cmake --build "$@"
  elif ! NINJA_STATUS="$title [%f/%t] " cmake --build "$@"; then
    echo "failed: $title" >&2
    return 1
  fi
}

# apt_get ARGUMENT...: prints its output only if it fails. Waits while another program holds a lock of apt.
apt_get() {
  local log second
  log=$(mktemp)
  for ((second = 0; second < 600; ++second)); do
    if LC_ALL=C apt-get "$@" >"$log" 2>&1; then
      rm -f "$log"
      return
    fi
    grep -q 'Could not get lock' "$log" || break
    [ "$second" -ne 0 ] || echo "waiting for the apt lock"
    sleep 1
  done
  cat "$log" >&2
  rm -f "$log"
  echo "failed: apt-get $*" >&2
  return 1
}

# need_packages PACKAGE...: installs missing packages as root; otherwise lists them and ends the script.
need_packages() {
  local missing=() package
  for package in "$@"; do
    if [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" != installed ]; then
      missing+=("$package")
    fi
  done
  [ ${#missing[@]} -eq 0 ] && return
  if [ "$(id -u)" -ne 0 ]; then
    echo "${0##*/}: missing Debian packages; install them with:" >&2
    echo "  sudo apt-get install ${missing[*]}" >&2
    exit 1
  fi
  echo "installing ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt_get update 2>/dev/null || true # an existing index may be sufficient
  apt_get install -y --no-install-recommends "${missing[@]}"
}

packages_to_build=(g++ cmake ninja-build ccache pkg-config liblua5.4-dev libcli11-dev nlohmann-json3-dev libedit-dev
                   help2man)
packages_to_test=(googletest clang-format clang-tidy clang libclang-rt-14-dev python3 python3-jsonschema locales
                  dpkg-dev)
packages_for_windows=(g++-mingw-w64-x86-64-posix wine wine64 patch xz-utils)
packages_to_draw=(graphviz fonts-liberation)

# build PRESET [CMAKE ARGUMENT...]: configures and builds; prints output only on failure.
build() {
  local preset=$1
  shift
  quietly "configuring $preset" cmake --preset "$preset" "$@"
  compile "building $preset" --preset "$preset"
}
