# What the tests of the installed tree share. To be sourced with their arguments: CMAKE BUILD SOURCE.
cmake=$1 build=$2 source=$3
source "$source/scripts/common.sh"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "$(basename "$0"): $1" >&2
  exit 1
}

# pack KIND: the packages of one kind, in $work/packages.
pack() {
  quietly "packing $1" "$(dirname "$cmake")/cpack" -G "$1" --config "$build/CPackConfig.cmake" -B "$work/packages"
}

# build_client FOLDER [CMAKE ARGUMENT...]: with CMake and warnings, into FOLDER/build.
build_client() {
  local folder=$1
  shift
  quietly "configuring $folder" "$cmake" -S "$folder" -B "$folder/build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_CXX_FLAGS="-Wall -Wextra -Wpedantic -Werror" "$@"
  quietly "building $folder" "$cmake" --build "$folder/build" --target BlockWatch
}

# use_tree TREE: pkg-config looks there, $kzhost is the one of there, and nothing in it leads back to the sources.
use_tree() {
  if grep -rlF -e "$source" -e "$work/packages" "$1" --include='*.cmake' --include='*.pc' --include='*.h'; then
    fail "these files lead out of the installed tree"
  fi
  PKG_CONFIG_PATH=$(dirname "$(find "$1" -name zelvane.pc)")
  export PKG_CONFIG_PATH
  kzhost=$(pkg-config --variable=kzhost zelvane)
}

# client_of_readme TREE: the source of the README's client, as $work/changed.cpp.
client_of_readme() {
  sed -n '/^```cpp$/,/^```$/{/^```/d;p}' "$1/share/doc/zelvane/README.md" >"$work/changed.cpp"
}

# run_client_of_readme KZHOST...: $work/Changed.hmx does what the README says, twice in one host: the copies share
# nothing, although their inline symbols are visible.
run_client_of_readme() {
  local changed expected="affected: Door Door: 0 -> 1 affected: Door Door: 0 -> 1"
  expected+=" affected: Door affected: Room Room: 0 -> 1 affected: Door"
  cp "$work/Changed.hmx" "$work/Again.hmx"
  changed=$("$@" - "$work/Changed.hmx" "$work/Again.hmx" <<'END'
local house = host.open("house")
local door, room = house:block("Door"), house:block("Room")
host.load()
local first, second = assert(host.load(arg[1])), assert(host.load(arg[2]))
local reference = room:insert(door)
host.idle()
host.unload(first)
house:modelSpace():insert(room)
host.idle()
reference:touch()
host.idle()
host.unload(second)
reference:erase()
host.idle()
END
  )
  [ "$(echo $changed)" = "$expected" ] || fail "the README's client printed: $changed"
}
