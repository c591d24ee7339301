#!/usr/bin/env bash
# Guards what an outside author gets: the installed tree, moved away from where it was installed, is enough to
# build a client with find_package or with pkg-config and to run it, and nothing in it leads back to the sources.
#   install_test.sh CMAKE BUILD SOURCE
cmake=$1 build=$2 source=$3
source "$source/scripts/common.sh"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
  echo "install_test: $1" >&2
  exit 1
}

"$cmake" --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/tree"
tree=$work/tree
if grep -rlF -e "$source" -e "$work/first" "$tree" --include='*.cmake' --include='*.pc' --include='*.h'; then
  fail "these files lead out of the installed tree"
fi
PKG_CONFIG_PATH=$(dirname "$(find "$tree" -name zelvane.pc)")
export PKG_CONFIG_PATH
kzhost=$(pkg-config --variable=kzhost zelvane)
read -ra flags <<<"-Wall -Wextra -Wpedantic -Werror -O2 -fPIC $(pkg-config --cflags zelvane)"

# The client with CMake, alone in a folder, and by hand.
cp -r "$source/examples/blockwatch" "$work/client"
quietly "configuring the client" "$cmake" -S "$work/client" -B "$work/client/build" -G Ninja -DCMAKE_PREFIX_PATH="$tree" \
  -DCMAKE_BUILD_TYPE=Release
quietly "building the client" "$cmake" --build "$work/client/build"
"$kzhost" "$source/tests/examples/blockwatch_test.lua" "$work/client/build/BlockWatch.hmx"
g++ -shared "${flags[@]}" "$work"/client/*.cpp -o "$work/BlockWatch.hmx"
"$kzhost" "$source/tests/examples/blockwatch_test.lua" "$work/BlockWatch.hmx"

# Each public header stands alone.
while read -r header; do
  echo "#include \"$header\"" | g++ -fsyntax-only "${flags[@]}" -x c++ - || fail "$header does not compile alone"
done < <(cd "$(pkg-config --variable=includedir zelvane)" && find . -name '*.h' -printf '%P\n')

# The client of the README, twice in one host: the copies share nothing, although their inline symbols are visible.
sed -n '/^```cpp$/,/^```$/{/^```/d;p}' "$source/README.md" >"$work/changed.cpp"
[ "$(wc -l <"$work/changed.cpp")" -le 25 ] || fail "the README's client has become longer than 25 lines"
g++ -shared "${flags[@]}" "$work/changed.cpp" -o "$work/Changed.hmx"
cp "$work/Changed.hmx" "$work/Again.hmx"
changed=$("$kzhost" - "$work/Changed.hmx" "$work/Again.hmx" <<'END'
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
expected="Door: 0 -> 1 Door: 0 -> 1 Door: 1 -> 1 Room: 0 -> 1 something was modified in its place"
[ "$(echo $changed)" = "$expected" ] || fail "the README's client printed: $changed"

# The examples of docs/exports.md, as one client.
{
  printf '#include <%s>\n' array cstdio optional zelvane/block_watch.h zelvane/client_module.h zelvane/idle_timer.h
  echo 'void save() {}'
  sed -n '/^```cpp$/,/^```$/{/^```/d;p}' "$source/docs/exports.md"
} >"$work/examples.cpp"
g++ -fsyntax-only "${flags[@]}" "$work/examples.cpp" || fail "the examples of docs/exports.md do not compile"

# The demo in the installed host.
"$tree/bin/kztemplate" build "$source/examples/doors.json" "$work/doors.tpl"
"$kzhost" "$source/examples/demo.lua" "$work/doors.tpl" >/dev/null
