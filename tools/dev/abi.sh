# What other libraries were compiled against: exported symbols, class layouts, order of the virtual
# operations. Recorded in tests/abi, by architecture, and compared with what is built now. Sourced
# by ./dev; `build`, `fail` and `need_packages` are its.

abi_records=tests/abi/$(uname -m)

# The other back-ends have nothing but a constructor and the class that they derive from.
abi_libraries=(
    manager/libnuvdevmgr
    kit/log/libnuvlog
    kit/ini/libnuvini
    kit/backends/libnuvbackend
    kit/backends/libnuvinterface_{usb2,usb3,me4,clhs_me5,clhs_kaya,gige}
)

# Types of the standard library stay in the records, since our members are of such types.
abi_record() { # FOLDER
    local library
    mkdir -p "$1"
    for library in "${abi_libraries[@]}"; do
        abidw --headers-dir include --headers-dir kit/include --drop-private-types \
            --exported-interfaces-only --suppressions tests/abi/suppressions.ini \
            --no-corpus-path --no-comp-dir-path --no-show-locs --no-parameter-names --no-elf-needed \
            --type-id-style hash --out-file "$1/${library##*/}.abi" "build/dev/$library.so.2" ||
            return
    done
}

abi_compare() {
    [ -d "$abi_records" ] || {
        echo "abi: nothing is recorded for $(uname -m); ./dev abi --update records it"
        return 1
    }
    local now=build/check/abi changed=0 record
    rm -rf "$now"
    abi_record "$now" || return
    for record in "$now"/*.abi; do
        abidiff --leaf-changes-only "$abi_records/${record##*/}" "$record" || changed=1
    done
    return $changed
}

abi() {
    build dev
    case ${1:-} in
        --update) abi_record "$abi_records" ;;
        '') abi_compare && echo "abi: as recorded in $abi_records" ;;
        *) fail "usage: ./dev abi [--update]" ;;
    esac
}
