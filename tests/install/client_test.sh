#!/usr/bin/env bash
# Guards what an outside author gets: the two archives, unpacked anywhere, are enough to build a client in each of the
# three ways and to run it, and nothing in them leads back to the sources. Uninstalling leaves nothing.
source "$(dirname "$0")/common.sh"

pack TGZ
tree=$work/tree
mkdir "$tree"
for archive in "$work"/packages/*.tar.gz; do
  tar -xzf "$archive" -C "$tree" --strip-components=1
done
use_tree "$tree"
read -ra flags <<<"-std=c++20 -Wall -Wextra -Wpedantic -Werror -O2 -fPIC $(pkg-config --cflags zelvane)"

runs() {
  "$kzhost" "$source/tests/examples/blockwatch_test.lua" "$1" || fail "$1 does not do what the example does"
}

# Against the installed tree with CMake, in a later language than the headers ask for, and by hand.
cp -r "$tree/share/doc/zelvane/examples/blockwatch" "$work/client"
build_client "$work/client" -DCMAKE_PREFIX_PATH="$tree" -DCMAKE_CXX_STANDARD=23 -DCMAKE_EXPORT_COMPILE_COMMANDS=ON
grep -q 'std=[a-z+]*2[3b]' "$work/client/build/compile_commands.json" || fail "find_package lowers the language level"
runs "$work/client/build/BlockWatch.hmx"
[[ $(pkg-config --cflags zelvane) != *-std* ]] || fail "pkg-config sets the language level"
g++ -shared "${flags[@]}" "$work"/client/*.cpp -o "$work/BlockWatch.hmx"
runs "$work/BlockWatch.hmx"

# Within the client's own build, which gets neither our tests nor our install rules.
mkdir "$work/whole"
cp -r "$source/examples/blockwatch" "$work/whole/client"
cat >"$work/whole/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.25)
project(Whole LANGUAGES CXX)
include(FetchContent)
enable_testing()
FetchContent_Declare(Zelvane SOURCE_DIR "$source")
FetchContent_MakeAvailable(Zelvane)
add_subdirectory(client)
END
build_client "$work/whole"
runs "$work/whole/build/client/BlockWatch.hmx"
"$(dirname "$cmake")/ctest" --test-dir "$work/whole/build" --show-only | grep -q 'Total Tests: 0' || fail "our tests are the client's"
"$cmake" --install "$work/whole/build" --prefix "$work/nothing" >/dev/null
[ ! -e "$work/nothing" ] || fail "the client installs what is ours"

# What the host could not load does not build.
cat >"$work/whole/client/block_watch.cpp" <<END
#include "zelvane/zelvane.h"
ZELVANE_EXPORT std::int32_t kzrxEntryPoint(std::int32_t, void*) { return kzdxUpdateBlockGraph(nullptr, false, false); }
#ifdef WITH_VERSION
ZELVANE_EXPORT std::uint32_t kzrxGetApiVersion() { return 0x130000; }
#endif
END
refused() {
  if build_client "$work/whole" -DCMAKE_CXX_FLAGS="$1" 2>"$work/refusal"; then fail "a module is built that cannot be loaded"; fi
  tr -s ' \n' ' ' <"$work/refusal" | grep -qF "$2" || fail "the refusal does not say: $2"
  [ ! -e "$work/whole/build/client/BlockWatch.hmx" ] || fail "what was refused is left there"
}
refused "" "the host needs kzrxGetApiVersion"
refused -DWITH_VERSION "call it through the class KzDxExports"

echo 'inline int a = 0; extern "C" int* kzrxEntryPoint() { return &a; } extern "C" void kzrxGetApiVersion() {}' |
  g++ -shared -fPIC -x c++ - -o "$work/unique.hmx"
if "$cmake" -D NM=nm -D MODULE="$work/unique.hmx" -P "$source/cmake/ZelvaneCheckModule.cmake" 2>"$work/refusal"; then
  fail "a module with a unique symbol is built"
fi

# A client of two libraries, which share whatever symbols the compiler lets them share: each is called, both leave memory,
# and a rebuilt one is loaded. A watch that nothing detaches leaves with its library.
parts=$work/parts
mkdir "$parts"
cat >"$parts/counter.h" <<'END'
#include "zelvane/block_watch.h"
#include "zelvane/client_module.h"
#include "zelvane/idle_timer.h"
#include <cstdio>
struct Counter {
    Zelvane::BlockWatch watch;
    Zelvane::IdleTimer timer;
    explicit Counter(const char* name) {
        KzApDocument* const document = Zelvane::currentDocument();
        const auto print = [name](const auto& changes) { std::printf("%s %zu, ", name, changes.affected().size()); };
        const bool isAttached = watch.attachAll(document, print) == Zelvane::Status::ok &&
                                timer.attach(document, 0, [] {}) == Zelvane::Status::ok;
        if (!isAttached) std::printf("%s is not attached, ", name);
    }
};
END
cat >"$parts/part.cpp" <<'END'
#include "counter.h"
static std::unique_ptr<Counter> counter;
extern "C" void loadPart() { counter = std::make_unique<Counter>("part"); }
extern "C" void unloadPart() { counter.reset(); }
END
cat >"$parts/main.cpp" <<'END'
#include "counter.h"
extern "C" void loadPart();
extern "C" void unloadPart();
static Zelvane::BlockWatch neverDetached;
struct Main : Zelvane::ClientModule {
    std::unique_ptr<Counter> counter;
    bool load() override {
        loadPart();
        counter = std::make_unique<Counter>("main");
        return neverDetached.attachAll(Zelvane::currentDocument(), [](const auto&) {}) == Zelvane::Status::ok;
    }
    ~Main() override {
        unloadPart();
        std::puts(VERSION);
    }
};
ZELVANE_CLIENT_MODULE(Main)
END
for optimization in -O0 -O2; do
  common=(-shared "${flags[@]}" -fno-gnu-unique "$optimization" "-Wl,-rpath,$parts")
  g++ "${common[@]}" "$parts/part.cpp" -o "$parts/libpart.so"
  for version in old new; do
    g++ "${common[@]}" -DVERSION="\"$version\"" "$parts/main.cpp" "$parts/libpart.so" -o "$parts/$version.hmx"
  done
  said=$("$kzhost" - "$parts/old.hmx" "$parts/new.hmx" <<'END'
local house = host.open("house")
local door = house:block("Door")
host.load()
for _ = 1, 2 do
  local client = assert(host.load(arg[1]))
  house:modelSpace():insert(door)
  host.idle()
  host.unload(client)
  house:modelSpace():insert(door)
  host.idle()
  os.rename(arg[2], arg[1])
end
END
  )
  [ "$(echo $said)" = "part 1, main 1, old part 1, main 1, new" ] || fail "two libraries with $optimization print: $said"
done

# Each public header compiles alone.
while read -r header; do
  echo "#include \"$header\"" | g++ -fsyntax-only "${flags[@]}" -x c++ - || fail "$header does not compile alone"
done < <(cd "$(pkg-config --variable=includedir zelvane)" && find . -name '*.h' -printf '%P\n')

# The client of the README, in no more lines than it has.
client_of_readme "$tree"
[ "$(wc -l <"$work/changed.cpp")" -le 25 ] || fail "the README's client has become longer than 25 lines"
g++ -shared "${flags[@]}" "$work/changed.cpp" -o "$work/Changed.hmx"
run_client_of_readme "$kzhost"

# The examples of docs/exports.md, as one client.
{
  printf '#include <%s>\n' array cstdio optional zelvane/block_watch.h zelvane/client_module.h zelvane/idle_timer.h
  echo 'void save() {}'
  sed -n '/^```cpp$/,/^```$/{/^```/d;p}' "$tree/share/doc/zelvane/docs/exports.md"
} >"$work/examples.cpp"
g++ -fsyntax-only "${flags[@]}" "$work/examples.cpp" || fail "the examples of docs/exports.md do not compile"

# The demo in the installed host.
"$tree/bin/kztemplate" build "$tree/share/doc/zelvane/examples/doors.json" "$work/doors.tpl"
"$kzhost" "$tree/share/doc/zelvane/examples/demo.lua" "$work/doors.tpl" >/dev/null

# Installed and uninstalled beside what is not ours.
mkdir -p "$work/system/lib"
touch "$work/system/lib/other"
"$cmake" --install "$build" --prefix "$work/system" >/dev/null
"$work/system/bin/kzhost" - <<<'assert(host.load())'
quietly "uninstalling" "$cmake" -D MANIFEST="$build/install_manifest.txt" -P "$source/cmake/Uninstall.cmake"
left=$(find "$work/system" ! -type d -o -iname '*zelvane*')
[ "$left" = "$work/system/lib/other" ] || fail "uninstalling leaves: $left"
