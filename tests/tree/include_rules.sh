#!/usr/bin/env bash
# include_rules.sh TREE: which room may include whose headers. Prints each line that breaks a rule.
set -euo pipefail
cd "$1"

# visible_to ROOM: what its files may include beside their own room and the system's headers.
visible_to() {
    case $1 in
        include/nuv) ;;
        registry) echo 'include/nuv/* kit/include/nuvkit/log.h interface/log_line.h' ;;
        interface) echo 'include/nuv/* kit/include/nuvkit/log.h kit/include/nuvkit/ini.h registry/*' ;;
        manager) echo 'include/nuv/* kit/include/nuvkit/* registry/* interface/*' ;;
        *) echo 'include/nuv/* kit/include/nuvkit/*' ;; # as a stranger would
    esac
}

room_of() {
    case $1 in
        include/nuv/*) echo include/nuv ;;
        kit/include/nuvkit/*) echo kit/include/nuvkit ;;
        kit/*/* | tools/*/* | examples/*/*) cut -d/ -f1-2 <<<"$1" ;;
        *) cut -d/ -f1 <<<"$1" ;;
    esac
}

# Where a header lies in the tree; nothing when it is the system's.
find_header() { # FILE QUOTE NAME
    local folder
    local folders=(include kit/include .)
    [ "$2" = '<' ] || folders=("$(dirname "$1")" "${folders[@]}")
    for folder in "${folders[@]}"; do
        if [ -f "$folder/$3" ]; then
            realpath --relative-to=. "$folder/$3"
            return
        fi
    done
}

may_include() { # ROOM HEADER
    [ "$(room_of "$2")" = "$1" ] && return
    local pattern
    set -f
    for pattern in $(visible_to "$1"); do
        # shellcheck disable=SC2053
        [[ $2 == $pattern ]] && return
    done
    return 1
}

broken=0
seen=0
include_line='^[[:space:]]*#[[:space:]]*include[[:space:]]*([<"])([^">]+)[">]'
while IFS=: read -r file line text; do
    [[ $text =~ $include_line ]] || continue
    seen=$((seen + 1))
    header=$(find_header "$file" "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}")
    room=$(room_of "$file")
    if [ -z "$header" ]; then
        [ "${BASH_REMATCH[1]}" = '<' ] && continue
        echo "$file:$line: ${BASH_REMATCH[2]} is not in the tree"
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
