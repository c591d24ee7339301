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

# The client of the README, and the demo in the installed host.
sed -n '/^```cpp$/,/^```$/{/^```/d;p}' "$source/README.md" >"$work/rested.cpp"
g++ -shared "${flags[@]}" "$work/rested.cpp" -o "$work/Rested.hmx"
rested=$("$kzhost" - "$work/Rested.hmx" <<'END'
host.open("house")
host.load()
local client = assert(host.load(arg[1]))
for _ = 1, 3 do
  host.advance(600)
  host.idle()
end
host.unload(client)
host.advance(5000)
host.idle()
END
)
[ "$rested" = "the drawing is at rest" ] || fail "the README's client printed: $rested"
"$tree/bin/kztemplate" build "$source/examples/doors.json" "$work/doors.tpl"
"$kzhost" "$source/examples/demo.lua" "$work/doors.tpl" >/dev/null
