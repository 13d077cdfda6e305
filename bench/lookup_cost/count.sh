#!/usr/bin/env bash
# count.sh LOOKUPS LIMITS: counts with callgrind how many instructions a look-up takes, and fails
# when that is more than the limit. To be run where /dev/shm is private.
set -euo pipefail
program=$1 limits=$2
lookups=1000

total_of() { # COUNT ID
    valgrind --tool=callgrind --callgrind-out-file=/dev/null "$program" "$1" "$2" 2>&1 |
        sed -n 's/.*Collected : //p'
}

# The difference of two runs leaves out all that is not a look-up.
instructions_of() { # ID
    local shorter longer
    shorter=$(total_of $lookups "$1")
    longer=$(total_of $((2 * lookups)) "$1")
    [ -n "$shorter" ] && [ -n "$longer" ] || { echo "callgrind has counted nothing" >&2; return 1; }
    echo $(((longer - shorter) / lookups))
}

result=0
machine=$(uname -m)
has_limits=$(awk -v machine="$machine" '$1 == machine' "$limits")
while read -r name id; do
    counted=$(instructions_of "$id")
    limit=$(awk -v machine="$machine" -v name="$name" '$1 == machine && $2 == name {print $3}' "$limits")
    echo "a look-up, $name entry: $counted instructions, limit ${limit:-none}"
    if [ -n "$has_limits" ] && [ -z "$limit" ]; then
        echo "$limits has no line for $machine $name."
        result=1
    elif [ -n "$limit" ] && [ "$counted" -gt "$limit" ]; then
        echo "A look-up by id ($name) now takes $counted instructions, more than $limit: every camera" \
            "process pays for that. Make it cheaper, or read $limits on changing the limit."
        result=1
    fi
done <<'END'
last 128
not_there 129
first 1
END
exit $result
