# The gates of ./dev check. Every gate runs; the summary at the end names those that failed.
# Sourced by ./dev. Further gates are lines in `check`.

. tools/dev/sources.sh
. tools/dev/gates_tests.sh
. tools/dev/gates_others.sh

linted_folders='^(registry|interface|manager|kit|tools|examples)/'

gate_format() {
    all_sources | xargs -0 clang-format --dry-run -Werror
}

gate_include_rules() {
    tools/dev/include_rules.sh .
}

gate_exported_symbols() {
    build dev && ctest --preset dev -R '^tree\.(install|exported_symbols|dynamic_section)$'
}

gate_clang() {
    build clang
}

gate_clang_tidy() {
    configure clang || return
    all_sources | tr '\0' '\n' | grep '\.cpp$' | grep -E "$linted_folders" |
        xargs -P "$(nproc)" -n 1 clang-tidy -p build/clang --quiet --warnings-as-errors='*'
}

gate_cppcheck() {
    cppcheck --quiet --std=c++17 --language=c++ --error-exitcode=1 --inline-suppr \
        --enable=warning,performance,portability \
        --suppressions-list=tools/dev/cppcheck_suppressions.txt \
        -j "$(nproc)" -I include -I kit/include -I . registry interface manager kit tools examples
}

gate_shellcheck() {
    find tests -name '*.sh' -print0 |
        xargs -0 shellcheck --external-sources --severity=warning dev .ci/run models/check \
            tools/dev/source_date.sh
}

gate_bench() {
    build bench
}

gate_asan() {
    build asan && ctest --preset asan
}

# The older runtime of the thread sanitizer stops where addresses are spread too widely.
gate_tsan() {
    build tsan && setarch --addr-no-randomize ctest --preset tsan
}

gate_fuzzers() {
    local seconds=20
    [ -z "$long" ] || seconds=300
    build fuzz && tests/fuzz/run.sh build/fuzz "$seconds"
}

gate_model() {
    models/check
}

gate_lookup_cost() {
    local folder=bench/lookup_cost
    build dev lookups &&
        in_private_shm "$folder/count.sh" "build/dev/$folder/lookups" "$folder/limits.txt"
}

# gate NAME FAILURE [LINES]: runs gate_NAME if it is wanted, its output in build/check/NAME.log; says
# FAILURE when it fails, and shows those LINES of the output, a regular expression, when it does not.
gate() {
    local name=$1 failure=$2 log=build/check/$1.log started=$SECONDS
    known+=("$name")
    [ ${#wanted[@]} -eq 0 ] || [[ " ${wanted[*]} " == *" $name "* ]] || return 0
    printf 'check: %-18s' "$name"
    if ("gate_$name") >"$log" 2>&1; then
        printf 'ok      %4d s\n' $((SECONDS - started))
        summary+=("$(printf '%-18s ok' "$name")")
        [ -z "${3:-}" ] || grep -E "$3" "$log" || true
        return
    fi
    printf 'FAILED  %4d s\n' $((SECONDS - started))
    tail -n 60 "$log"
    printf 'check: %s: %s The whole output: %s\n' "$name" "$failure" "$log"
    summary+=("$(printf '%-18s FAILED: %s' "$name" "$failure")")
    failed=$((failed + 1))
}

check() {
    local long=
    if [ "${1:-}" = --long ]; then
        long=yes
        shift
    fi
    local wanted=("$@") name
    mkdir -p build/check
    local known=() summary=() failed=0
    gate format "Sources are not laid out as .clang-format says; ./dev format mends it."
    gate include_rules "A room includes a header that it may not see."
    gate test_share "Tests have grown beyond their share of the tree: shorten them, or test less twice." \
        '^test share'
    gate exported_symbols "The libraries differ from what they are meant to export or need."
    gate headers "A public header does not compile alone without warnings."
    gate reference "A public entry is not documented, or not well."
    gate abi "What other libraries rely on has changed; if that is meant: ./dev abi --update."
    gate clang "The tree does not build with clang without warnings."
    gate clang_tidy "clang-tidy found fault with the sources."
    gate cppcheck "cppcheck found fault with the sources."
    gate shellcheck "shellcheck found fault with a script."
    gate bench "The benchmark does not build."
    gate asan "A test fails, or is unclean, under the address and undefined-behaviour sanitizers."
    gate tsan "A test fails, or races, under the thread sanitizer."
    gate valgrind "A test fails, reads what was never written, or writes where it may not."
    gate coverage "Tests fail, or reach less than 95 of 100 lines of the library; the log lists the rest." \
        '^(registry|interface|manager).*% +[0-9]|^TOTAL'
    gate aarch64 "On the reference platform it does not build, a test fails, or the registry is not shared." \
        '^aarch64:'
    gate fuzzers "Some input makes the library or the tool crash, hang or answer wrongly." '^fuzz:'
    gate model "The protocol of the region's life has an error, or a rule that nothing needs." \
        searches
    gate packages "The Debian packages are not well made, or do not install, work and go again." \
        'on Debian'
    gate reproducible "Two builds of these sources, in two folders, differ."
    gate lookup_cost "A look-up takes more instructions than bench/lookup_cost/limits.txt allows." \
        '^a look-up'
    if [ -n "$long" ]; then
        . tools/dev/long_runs.sh
        long_gates
    fi
    for name in "${wanted[@]}"; do
        [[ " ${known[*]} " == *" $name "* ]] ||
            fail "there is no gate $name; usage: ./dev check [--long] [GATE...]; gates: ${known[*]}"
    done
    printf '\n'
    printf '%s\n' "${summary[@]}"
    [ "$failed" -eq 0 ] || fail "$failed of ${#summary[@]} gates failed"
    printf 'All %d gates passed.\n' "${#summary[@]}"
}
