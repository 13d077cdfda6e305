#!/usr/bin/env bash
# exported_symbols.sh LIBRARY LIST: the library exports exactly the symbols in LIST.
set -euo pipefail
export LC_ALL=C

differences=$(diff <(grep -v '^#' "$2" | sort) \
    <(nm --dynamic --defined-only --demangle --format=posix "$1" |
        sed -E 's/ [A-Za-z] [0-9a-f]+( [0-9a-f]+)? *$//' | sort -u)) && exit 0
echo "$1 does not export what $2 says (<: should, >: does):"
echo "$differences"
exit 1
