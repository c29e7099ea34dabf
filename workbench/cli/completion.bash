# Completion of kavril for bash. Commands and options are asked of the program, so that
# they are always its own.

_kavril() {
    local cur prev words cword
    _init_completion -n : 2>/dev/null || {
        cur=${COMP_WORDS[COMP_CWORD]}
        prev=${COMP_WORDS[COMP_CWORD - 1]}
        words=("${COMP_WORDS[@]}")
        cword=$COMP_CWORD
    }
    local command=${words[1]-}
    if ((cword == 1)) && [[ $cur != -* ]]; then
        command=$("${words[0]}" --help 2>/dev/null |
            sed -n '/^Subcommands:/,/^$/s/^  \([a-z]\+\).*/\1/p')
        mapfile -t COMPREPLY < <(compgen -W "$command" -- "$cur")
        return
    fi
    case $prev in
        --baseline) set -- shortest-path ;;
        --direction) set -- auto directed undirected ;;
        --module) set -- largest smallest ;;
        --order) set -- given largest shuffled ;;
        --protection) set -- none local global ;;
        --table) set -- links lsps demands failures classes ;;
        --by) set -- capacity degree equal ;;
        --to) set -- json repetita sndlib-native sndlib-xml graphml csv tsv dot ;;
        *) set -- ;;
    esac
    if (($#)); then
        mapfile -t COMPREPLY < <(compgen -W "$*" -- "$cur")
    elif [[ $cur == -* ]]; then
        [[ $command == -* ]] && command=
        mapfile -t COMPREPLY < <(compgen -W "$("${words[0]}" $command --help 2>/dev/null |
            grep -o -- '--[a-z][a-z-]*')" -- "$cur")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$cur")
    fi
}
complete -o filenames -F _kavril kavril
