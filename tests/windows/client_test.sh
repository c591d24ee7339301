#!/usr/bin/env bash
# Guards what an author of client modules gets for Windows: the archives, unpacked anywhere, are enough to build a client
# with CMake and by hand, and to run it.
#   client_test.sh CMAKE BUILD SOURCE EMULATOR
source "$(dirname "$0")/../install/common.sh"
emulator=$4

pack ZIP
for archive in "$work"/packages/*.zip; do
  (cd "$work" && "$cmake" -E tar xf "$archive")
done
tree=$(echo "$work"/zelvane-*)
use_tree "$tree"

cp -r "$tree/share/doc/zelvane/examples/blockwatch" "$work/client"
build_client "$work/client" -DCMAKE_TOOLCHAIN_FILE="$source/cmake/toolchain-windows.cmake" \
  -DZelvane_DIR="$(dirname "$(find "$tree" -name ZelvaneConfig.cmake)")"
client_of_readme "$tree"
read -ra flags <<<"-std=c++20 -Wall -Wextra -Wpedantic -Werror -O2 -static $(pkg-config --cflags zelvane)"
read -ra libraries <<<"$(pkg-config --libs zelvane)"
x86_64-w64-mingw32-g++-posix -shared "${flags[@]}" "$work/changed.cpp" "${libraries[@]}" -o "$work/Changed.hmx"

# Run where the name of the folder is not Latin.
moved=$work/門窗
mv "$tree" "$moved"
kzhost=$moved/${kzhost##*../../}
"$emulator" "$kzhost" "$source/tests/examples/blockwatch_test.lua" "$work/client/build/BlockWatch.hmx"
run_client_of_readme "$emulator" "$kzhost"

# What the CAD host loads is there too, and not the one for kzhost.
"$(dirname "$0")/exports_test.sh" "$moved/lib/zelvane/shipped/Zelvane.hmx" x86_64-w64-mingw32-objdump
[ -e "$moved/lib/zelvane/shipped/ZelvaneRes.dll" ] || fail "the module that ships has no resources"
