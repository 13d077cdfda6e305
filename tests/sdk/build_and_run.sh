#!/usr/bin/env bash
# build_and_run.sh PREFIX FOLDER CMAKE COMPILER SANITIZERS
#
# Builds the example client and the example back-end in FOLDER against the tree installed in PREFIX,
# and runs the client with a /dev/shm and cameras of its own: bench cameras first, then the example
# back-end's in place of the bench's.
set -euo pipefail

prefix=$1 folder=$2 cmake=$3 compiler=$4 sanitizers=$5
top=$(dirname "$(readlink -f "$0")")/../..
. "$top/tools/dev/private_shm.sh"

fail() {
    echo "sdk: $*" >&2
    exit 1
}

rm -rf "$folder"
mkdir -p "$folder"/{config,cameras}
cat >"$folder/config/nuv_cameras.ini" <<'END'
[Bench camera]
interface = GIGE
serial = 4711
END
printf '[OPTIONS]\nScantime = 500\n' >"$folder/config/nuv_devicemgr.ini"
flags=(-Wall -Wextra -Wpedantic -Wconversion -Werror)
[ -z "$sanitizers" ] || flags+=("-fsanitize=$sanitizers")

build() { # EXAMPLE
    "$cmake" -S "$top/examples/$1" -B "$folder/$1" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
        -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_FLAGS="${flags[*]}"
    "$cmake" --build "$folder/$1"
}
expect() { # ANSWER COMMAND...
    local answer
    answer=$(NUV_INI_PATH="$folder/config" in_private_shm "${@:2}")
    [ "$answer" = "$1" ] || fail "$2 answered '$answer', not '$1'"
}

build client
bench="1: Bench camera, serial number 4711, Interface GiGE
camera 1 opened and closed"
expect "$bench" "$folder/client/nuv_client"

export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
[ "$(pkg-config --modversion nuvdevmgr)" = 2.1.0 ] || fail "pkg-config gives the wrong version"
read -ra package_flags < <(pkg-config --cflags --libs nuvdevmgr)
"$compiler" -std=c++17 "${flags[@]}" "$top/examples/client/main.cpp" "${package_flags[@]}" \
    -o "$folder/with_pkg_config"
expect "$bench" env LD_LIBRARY_PATH="$prefix/lib" "$folder/with_pkg_config"

build backend
export NUV_EXAMPLE_CAMERAS=$folder/cameras LD_LIBRARY_PATH=$folder/backend
expect "no cameras" "$folder/client/nuv_client"
echo "From a folder" >"$folder/cameras/8001"
expect "1: From a folder, serial number 8001, Folder
camera 1 opened and closed" "$folder/client/nuv_client"

# A device manager that runs sees a camera go and come.
# shellcheck disable=SC2016
expect "1 gone
2 appeared" bash -c '
    coproc manager { exec "$1" run; }
    await() { # WORD SERIAL
        while read -r -t 30 _ id word text <&"${manager[0]}"; do
            [[ "$word $text" != "$1"*"$2"* ]] || { echo "$id $1"; return; }
        done
        exit 1
    }
    await appeared 8001 >/dev/null
    rm "$NUV_EXAMPLE_CAMERAS/8001"
    await gone 8001
    echo "From a folder" >"$NUV_EXAMPLE_CAMERAS/8002"
    await appeared 8002
    kill "$manager_PID" && wait
' sh "$prefix/bin/nuvctl"
