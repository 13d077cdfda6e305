# The Debian packages that the tree needs, and how they get here. Sourced by ./dev.

packages_build=(
    g++               # the compiler, with binutils
    cmake             # configures
    ninja-build       # builds
    pkgconf           # how projects without CMake find the installed library; tested
    libsimpleini-dev  # reads INI text
    libspdlog-dev     # behind the companion log
    libcli11-dev      # nuvctl's arguments
    nlohmann-json3-dev # nuvctl's JSON
    libgtest-dev      # the tests
    mount             # a /dev/shm of its own for each test and for the demo
)

packages_package=(
    dpkg-dev          # what the packages depend on
    file              # finds libraries among files
    lintian           # looks over the packages
    mmdebstrap        # a bare system to install them on
)

packages_check=(
    abigail-tools     # records and compares what other libraries rely on
    clang             # the second compiler
    libclang-rt-14-dev # its sanitizers
    clang-format      # the layout of the sources
    clang-tidy        # lint
    cppcheck          # lint
    shellcheck        # lint
    g++-aarch64-linux-gnu # the reference platform's compiler
    qemu-user         # runs what it builds
    googletest        # sources of the tests' library, for that platform
    valgrind          # memory errors, and the instructions of a look-up
    gcovr             # lines that no test reaches
    doxygen           # the reference of the public headers
    spin              # searches the model of the region's life; with gcc
    git               # the sources without what was built
)

packages_bench=(
    libbenchmark-dev  # runs the rounds
    libboost-dev      # a peer: a map in shared memory under its mutex
    liblmdb-dev       # a peer: a memory-mapped database
    libsqlite3-dev    # a peer: a database
)

missing_packages() {
    local package
    for package in "$@"; do
        dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed ||
            printf '%s\n' "$package"
    done
}

# need_packages NAME...: installs those that are missing, or says which they are and stops.
need_packages() {
    command -v dpkg-query apt-get >/dev/null ||
        fail "this is no Debian system; install what stands for these packages, then use cmake" \
            "--preset dev and ctest --preset dev: $*"
    local missing
    mapfile -t missing < <(missing_packages "$@")
    [ ${#missing[@]} -gt 0 ] || return 0

    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || fail "not root, and no sudo to install: ${missing[*]}"
        as_root=(sudo)
    fi
    printf 'dev: installing %s\n' "${missing[*]}"
    apt_install "${missing[@]}" || fail "could not install: ${missing[*]} (see build/apt.log)"
}

apt_install() {
    mkdir -p build
    local apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -y --no-install-recommends)
    # Package lists may be absent on a fresh system, or too old for what the mirror still has.
    if "${apt[@]}" --simulate install "$@" >/dev/null 2>&1 &&
        "${apt[@]}" install "$@" >build/apt.log 2>&1; then
        return 0
    fi
    { "${apt[@]}" update && "${apt[@]}" install "$@"; } >build/apt.log 2>&1 && return 0
    tail -n 5 build/apt.log >&2
    return 1
}
