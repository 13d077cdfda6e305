#!/usr/bin/env bash
# usage: run.sh BUILD_FOLDER SECONDS
#
# Runs each fuzzer for so long, one after the other. What they learn stays in BUILD_FOLDER/corpus,
# an input that fails in BUILD_FOLDER; hand that file to the fuzzer to see it again.
set -euo pipefail
build=$(realpath "$1")
seconds=$2
seeds=$(dirname "$(realpath "${BASH_SOURCE[0]}")")/corpus

# fuzz NAME OPTION...
fuzz() {
    local name=$1 learned=$build/corpus/$1 log=$build/$1_fuzzer.log
    shift
    local folders=("$learned")
    [ ! -d "$seeds/$name" ] || folders+=("$seeds/$name")
    mkdir -p "$learned"
    if ! "$build/tests/fuzz/${name}_fuzzer" -max_total_time="$seconds" -timeout=10 \
        -artifact_prefix="$build/${name}-" -print_final_stats=1 "$@" "${folders[@]}" \
        >"$log" 2>&1; then
        tail -n 100 "$log"
        printf 'fuzz: %s_fuzzer failed; the whole output: %s\n' "$name" "$log" >&2
        return 1
    fi
    printf 'fuzz: %-10s %9d inputs, %d of them in the corpus\n' "$name" \
        "$(awk '/stat::number_of_executed_units/ { print $2 }' "$log")" \
        "$(find "$learned" -type f | wc -l)"
}

fuzz region -len_control=0
fuzz ini -max_len=4096
