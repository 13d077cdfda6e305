# Completes nuvctl's verbs, options and cameras in bash. The words are those that the installed tool
# itself names, and the cameras those in the registry at that moment.

# The first word of each indented line of a help text that follows the heading.
_nuvctl_words() { # HEADING COMMAND...
    local heading=$1 line inside='' option
    shift
    while IFS= read -r line; do
        case $line in
            "$heading") inside=yes ;;
            '') inside='' ;;
            '  '[!\ ]*)
                [[ -z $inside ]] && continue
                line=${line#  }
                for option in ${line%% *}; do
                    printf '%s\n' "${option##*,}"
                done
                ;;
        esac
    done < <("$@" --help 2>/dev/null)
}

# Ids, and with "interfaces" the short names of their interfaces.
_nuvctl_cameras() { # TOOL [interfaces]
    local id interface rest
    while read -r id interface rest; do
        printf '%s\n' "$id" ${2:+"$interface"}
    done < <("$1" list --no-headings --color never 2>/dev/null)
}

_nuvctl() {
    local tool=$1 word=$2 previous=$3 verb='' words='' i
    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; i++)); do
        if [[ ${COMP_WORDS[i]} != -* ]]; then
            verb=${COMP_WORDS[i]}
            break
        fi
    done
    # "--color=al" arrives as three words.
    [[ $word != '=' ]] || word=''
    [[ $previous != '=' ]] || previous=${COMP_WORDS[COMP_CWORD - 2]}
    case $previous in
        --color) words='auto always never' ;;
        --config)
            compopt -o default
            return
            ;;
        --interval | --timeout | --watch) return ;;
        *)
            case $word,$verb in
                -*) words=$(_nuvctl_words 'Options:' "$tool" "${verb:-list}") ;;
                *,) words=$(_nuvctl_words 'Subcommands:' "$tool") ;;
                *,open) words=$(_nuvctl_cameras "$tool") ;;
                *,show | *,wait) words=$(_nuvctl_cameras "$tool" interfaces) ;;
                *,completion) words=bash ;;
            esac
            ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}

complete -F _nuvctl nuvctl
