# How much of the tree tests are, and the tests in other surroundings: valgrind, coverage counters,
# the reference platform. Sourced by check.sh.

# About a third is meant for what tests the rooms, with the tests' support; what kills, fuzzes,
# emulates and installs whole processes comes on top. The limits are what has been reached: they only
# go down.
gate_test_share() {
    local limit_of_rooms=36 limit_of_processes=17 code rooms processes
    code=$(lines_of_code include registry interface manager kit tools examples)
    rooms=$(lines_of_code tests/{support,registry,interface,manager,kit,nuvctl,tree})
    processes=$(lines_of_code tests/{robustness,fuzz,aarch64,sdk,packages})
    printf 'test share: beside %d lines of code %d of tests of rooms, %d %%; at most %d %%\n' \
        "$code" "$rooms" $((100 * rooms / code)) $limit_of_rooms
    printf 'test share: and %d of runs of whole processes, %d %%; at most %d %%\n' \
        "$processes" $((100 * processes / code)) $limit_of_processes
    [ $((100 * rooms / code)) -le $limit_of_rooms ] &&
        [ $((100 * processes / code)) -le $limit_of_processes ]
}

lines_of_code() { # FOLDER...: without blank lines, comments and directives
    find "$@" -regex '.*\.\(h\|cpp\|c\|sh\)' -exec grep -hvE '^\s*($|//|#|\*|/\*)' {} + | wc -l
}

# Under valgrind and the emulator, test programs are given a namespace: one that has to start itself
# again to get one would do so without them.

# Programs that the tests start are not followed. Addresses are long, as the tests expect of them;
# operator new is the test's own where it has one.
gate_valgrind() {
    local program failures=0
    build dev || return
    for program in {registry/registry,interface/interface,manager/manager,kit/kit_log,kit/kit_backend}_test; do
        printf '%s\n' "$program"
        in_private_shm valgrind --quiet --error-exitcode=9 --leak-check=no \
            --suppressions=tools/dev/valgrind_suppressions.txt \
            --aspace-minaddr=0x200000000 --soname-synonyms=somalloc=nouserintercepts \
            "build/dev/tests/$program" --gtest_brief=1 ||
            failures=$((failures + 1))
    done
    return $((failures > 0))
}

# Each room by itself; lines that no test reaches are listed. What dies by SIGKILL counts nothing.
gate_coverage() {
    local room failures=0 reached=build/coverage/reached.json
    build coverage || return
    find build/coverage -name '*.gcda' -delete
    ctest --preset coverage --exclude-regex '^(sdk|tree)\.' || return
    gcovr --root . --object-directory build/coverage --exclude-directories '.*CompilerId' \
        --filter '(registry|interface|manager)/' --json "$reached" || return
    for room in registry interface manager; do
        gcovr --root . --add-tracefile "$reached" --filter "$room/" --fail-under-line 95 ||
            failures=$((failures + 1))
    done
    return $((failures > 0))
}

# What the emulator does not carry is left out by the preset, and listed here: what has a shell start
# the programs, and what looks at a living process, whose name and start time are not the emulated
# one's.
gate_aarch64() {
    build dev && build aarch64 && in_private_shm ctest --preset aarch64 || return
    echo 'aarch64: not run emulated:'
    comm -23 <(names_of_tests build/aarch64) <(names_of_tests --preset aarch64) | sed 's/^/aarch64:   /'
    (
        export QEMU_LD_PREFIX=/usr/aarch64-linux-gnu
        in_private_shm tests/aarch64/shared_registry.sh {build/dev,build/aarch64}/tools/nuvctl/nuvctl
    )
}

names_of_tests() { # FOLDER, or --preset PRESET
    local options=("$@")
    [ $# -gt 1 ] || options=(--test-dir "$1")
    ctest "${options[@]}" --show-only | sed -n 's/^ *Test *#[0-9]*: //p' | sort
}
