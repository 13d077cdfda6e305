#!/usr/bin/env bash
# Prints the date of these sources, in seconds since the Epoch: what the environment says, else the
# commit's, else (a tree unpacked from an archive) that of the newest release note.
set -euo pipefail
tree=$(dirname "$(readlink -f "$0")")/../..

epoch=${SOURCE_DATE_EPOCH:-}
[ -n "$epoch" ] || epoch=$(git -C "$tree" log -1 --format=%ct 2>/dev/null) ||
    epoch=$(date --date="$(sed -n 's/^ -- .*>  //p;T;q' "$tree/packaging/debian/changelog")" +%s)
echo "$epoch"
