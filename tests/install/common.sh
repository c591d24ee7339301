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
