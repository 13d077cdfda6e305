# What others build on: headers, symbols and layouts, packages. Sourced by check.sh.

. tools/dev/abi.sh

# Every public header compiles alone, in every standard that programs of today are written in.
gate_headers() {
    local compiler standard
    for compiler in g++ clang++; do
        for standard in 17 20; do
            printf '%s -std=c++%s\n' $compiler $standard
            # shellcheck disable=SC2016
            find include kit/include -name '*.h' -print0 |
                xargs -0 -P "$(nproc)" -I '{}' sh -c 'echo "#include \"{}\"" | "$@"' sh \
                    $compiler -std=c++$standard -Wall -Wextra -Wpedantic -Wconversion -Werror \
                    -fsyntax-only -iquote . -I include -I kit/include -x c++ - || return
        done
    done
}

gate_reference() {
    reference
}

gate_abi() {
    build dev && abi_compare
}

gate_packages() {
    package && lintian --info --fail-on error --allow-root build/package/debs/*.deb &&
        tests/packages/on_bare_debian.sh build/package/debs
}

# The packages again, from a copy of the sources in another folder and without a compiler cache.
gate_reproducible() {
    local copy
    copy=$(mktemp -d) && package || return
    # shellcheck disable=SC2064
    trap "rm -rf '$copy'" EXIT
    git ls-files -z --cached --others --exclude-standard |
        xargs -0 cp --parents --target-directory="$copy" || return
    (
        export SOURCE_DATE_EPOCH CCACHE_DISABLE=1
        SOURCE_DATE_EPOCH=$(tools/dev/source_date.sh)
        "$copy/dev" package
    ) || return
    local deb same=0
    for deb in build/package/debs/*.deb; do
        cmp "$deb" "$copy/$deb" || same=1
    done
    return $same
}
