#!/usr/bin/env bash
# include_rules.sh TREE: which room may include whose headers. Prints each line that breaks a rule.
#
# Functions answer in REPLY: a thousand subshells would take half a minute.
set -euo pipefail
cd "$1"

# What the files of a room may include beside the room itself and the system's headers.
visible_to() { # ROOM
    case $1 in
        include/nuv) REPLY='' ;;
        registry) REPLY='include/nuv/* kit/include/nuvkit/log.h interface/log_line.h' ;;
        interface) REPLY='include/nuv/* kit/include/nuvkit/log.h kit/include/nuvkit/ini.h registry/*' ;;
        manager) REPLY='include/nuv/* kit/include/nuvkit/* registry/* interface/*' ;;
        *) REPLY='include/nuv/* kit/include/nuvkit/*' ;; # as a stranger would
    esac
}

# A room is a folder below the tree, or below one of these.
room_of() { # FILE
    local rest
    case $1 in
        kit/include/nuvkit/*) REPLY=kit/include/nuvkit ;;
        include/*/* | kit/*/* | tools/*/* | examples/*/*)
            rest=${1#*/}
            REPLY=${1%%/*}/${rest%%/*}
            ;;
        *) REPLY=${1%%/*} ;;
    esac
}

# Where a header lies in the tree; empty when it is the system's.
find_header() { # FILE QUOTE NAME
    local folder folders=(include/ kit/include/ '')
    [ "$2" = '<' ] || folders=("${1%/*}/" "${folders[@]}")
    for folder in "${folders[@]}"; do
        REPLY=$folder$3
        [ -f "$REPLY" ] || continue
        [[ $REPLY != *..* ]] || REPLY=$(realpath --relative-to=. "$REPLY")
        return
    done
    REPLY=''
}

may_include() { # ROOM HEADER
    local pattern
    room_of "$2"
    [ "$REPLY" != "$1" ] || return 0
    visible_to "$1"
    for pattern in $REPLY; do
        # shellcheck disable=SC2053
        [[ $2 != $pattern ]] || return 0
    done
    return 1
}

set -f # the rules hold patterns
broken=0
seen=0
include_line='^[[:space:]]*#[[:space:]]*include[[:space:]]*([<"])([^">]+)[">]'
while IFS=: read -r file line text; do
    [[ $text =~ $include_line ]] || continue
    quote=${BASH_REMATCH[1]} name=${BASH_REMATCH[2]}
    seen=$((seen + 1))
    find_header "$file" "$quote" "$name"
    header=$REPLY
    room_of "$file"
    room=$REPLY
    if [ -z "$header" ]; then
        [ "$quote" != '<' ] || continue
        echo "$file:$line: $name is not in the tree"
    elif may_include "$room" "$header"; then
        continue
    else
        echo "$file:$line: $room may not include $header"
    fi
    broken=$((broken + 1))
done < <(find include registry interface manager kit tools examples \
    \( -name '*.h' -o -name '*.cpp' \) -exec grep -nHE "$include_line" {} + 2>/dev/null)

[ "$seen" -gt 0 ] || { echo "no includes found in $PWD"; exit 1; }
echo "$seen includes, $broken against the rules"
[ "$broken" -eq 0 ]
