#!/usr/bin/env bash
# build_and_run.sh PREFIX FOLDER CMAKE COMPILER SANITIZERS
#
# Builds the project beside this file against the tree installed in PREFIX, and runs what it built
# with a /dev/shm and a bench camera of its own.
set -euo pipefail

prefix=$1 folder=$2 cmake=$3 compiler=$4 sanitizers=$5
here=$(dirname "$(readlink -f "$0")")
. "$here/../../tools/dev/private_shm.sh"

fail() {
    echo "consumer: $*" >&2
    exit 1
}

rm -rf "$folder"
mkdir -p "$folder/config"
cat >"$folder/config/nuv_cameras.ini" <<'END'
[Consumer's camera]
interface = USB3
serial = 4711
END
flags=(-Wall -Wextra -Wpedantic -Wconversion -Werror)
[ -z "$sanitizers" ] || flags+=("-fsanitize=$sanitizers")

run() { # PROGRAM
    local answer
    answer=$(NUV_INI_PATH="$folder/config" in_private_shm "$@")
    echo "$answer"
    [ "$answer" = "Interface USB3: camera 1, Consumer's camera" ] || fail "that was not expected"
}

"$cmake" -S "$here/project" -B "$folder/build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_FLAGS="${flags[*]}"
"$cmake" --build "$folder/build"
run "$folder/build/consumer"

export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
[ "$(pkg-config --modversion nuvdevmgr)" = 2.1.0 ] || fail "pkg-config gives the wrong version"
read -ra package_flags < <(pkg-config --cflags --libs nuvdevmgr)
"$compiler" -std=c++17 "${flags[@]}" "$here/project/main.cpp" "${package_flags[@]}" \
    -o "$folder/with_pkg_config"
run env LD_LIBRARY_PATH="$prefix/lib" "$folder/with_pkg_config"
