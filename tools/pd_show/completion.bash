# Completion for pd-show in bash. Commands and options come from --help. The names of tables, profiles, counters and
# fields come from the description of the pipeline that is installed with pd-show; without it, there is no completion.

# _pd_show_names DESCRIPTION tables | profiles | counters | fields TABLE
_pd_show_names() {
    awk -F '"' -v wanted="$2" -v table="$3" '
        /^\t"/ { section = $2 }
        /^\t\t"/ { part = $2 }
        /^\t\t\t"/ { member = $2 }
        /^\t\t\t"name"/ { name = $4 }
        section == wanted && /^\t\t\t"name"/ { print name }
        section == "tables" && wanted == "counters" && /^\t\t\t\t"kind":\t"counter"/ { print name }
        section == "display" && part == "keys" && wanted == "fields" && member == table && /"label"/ { print $4 "=" }
    ' "$1"
}

_pd_show() {
    local program description help word option="" words=() names=""
    program=$(type -P -- "$1") || return
    description=${program%/*}/../share/vl_pd/velmar_switch.json
    [ -r "$description" ] || return
    help=$("$program" --help)

    # The command and its arguments before the cursor. An option takes the word after it or after "=", if it takes any.
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [ "$word" = "=" ] && [ -n "$option" ]; then
            continue
        elif [ -n "$option" ]; then
            option=""
        elif [[ $word == --* ]]; then
            grep -q "^  $word [A-Z]" <<<"$help" && option=$word
        else
            words+=("$word")
        fi
    done

    word=${2#=}
    case $option in
    --agent | --driver | --routes) COMPREPLY=($(compgen -f -- "$word")) && compopt -o filenames && return ;;
    --format) names=$(sed -n 's/, \| or / /g; s/^  --format FORMAT *\([a-z ]*\).*/\1/p' <<<"$help") ;;
    ?*) return ;;
    *)
        if [[ $word == -* ]]; then
            names=$(sed -n 's/^  \(-h, \)\{0,1\}\(--[a-z-]*\) .*/\2/p' <<<"$help")
        elif [ ${#words[@]} -eq 0 ]; then
            names=$(sed -n '/^Commands:/,/^Options:/s/^  \([a-z]*\) .*/\1/p' <<<"$help")
        else
            case ${words[0]}:${#words[@]} in
            table:1 | entries:1 | verify:1 | match:1) names=$(_pd_show_names "$description" tables) ;;
            profiles:1) names=$(_pd_show_names "$description" profiles) ;;
            counters:1) names=$(_pd_show_names "$description" counters) ;;
            entries:* | match:*)
                [ "${COMP_WORDS[COMP_CWORD]}" = "=" ] || [ "$3" = "=" ] && return
                names=$(_pd_show_names "$description" fields "${words[1]}")
                [ "${words[0]}" = match ] || names+=" action="
                compopt -o nospace
                ;;
            esac
        fi
        ;;
    esac
    COMPREPLY=($(compgen -W "$names" -- "$word"))
}

complete -F _pd_show pd-show
