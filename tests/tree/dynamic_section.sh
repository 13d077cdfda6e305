#!/usr/bin/env bash
# dynamic_section.sh PREFIX: installed libraries and programs find each other by $ORIGIN, and
# libnuvdevmgr needs nothing beside the kit's libraries and the system's run time.
set -euo pipefail
export LC_ALL=C

failures=0
complain() {
    echo "$1"
    failures=$((failures + 1))
}
entries() { # FILE TAG
    readelf --dynamic --wide "$1" | sed -nE "s/.*\($2\).*\[(.*)\]\$/\1/p"
}

for file in "$1"/lib/libnuv*.so.2; do
    [ "$(entries "$file" RUNPATH)" = '$ORIGIN:$ORIGIN/../lib' ] ||
        complain "$file: run path is '$(entries "$file" RUNPATH)'"
done
[ "$(entries "$1/bin/nuvctl" RUNPATH)" = '$ORIGIN/../lib' ] ||
    complain "nuvctl: run path is '$(entries "$1/bin/nuvctl" RUNPATH)'"

library=$1/lib/libnuvdevmgr.so.2
[ "$(entries "$library" SONAME)" = libnuvdevmgr.so.2 ] || complain "$library: wrong soname"
needed=$(entries "$library" NEEDED)
for kit_library in nuvlog nuvini nuvinterface_{usb2,usb3,me4,clhs_me5,clhs_kaya,gige}; do
    grep -q "^lib$kit_library\.so\.2\$" <<<"$needed" ||
        complain "$library: is not linked against lib$kit_library.so.2"
done
system='^(libstdc\+\+\.so\.6|libgcc_s\.so\.1|libc\.so\.6|libm\.so\.6|ld-linux.*)$'
others=$(grep -vE '^libnuv[a-z0-9_]+\.so\.2$' <<<"$needed" | grep -vE "$system" || true)
[ -z "$others" ] || complain "$library: needs $others"

exit $((failures > 0))
