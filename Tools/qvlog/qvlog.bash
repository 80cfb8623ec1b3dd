# Completion of qvlog's commands and options for bash.

_qvlog() {
    local word=${COMP_WORDS[COMP_CWORD]} last=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]:-} offered
    local filter='--since --until --level --category --thread --site --grep -i --ignore-case -h --help'
    COMPREPLY=()
    case $last in
    --level) offered='trace debug info warning error fatal' ;;
    --color) offered='auto always never' ;;
    --since | --until | --category | --thread | --site | --grep | --format | --title) return ;;
    -o | --output) mapfile -t COMPREPLY < <(compgen -f -- "$word") && return ;;
    esac
    if [ -z "${offered:-}" ]; then
        case $word in
        -*)
            case $command in
            show) offered="--json --csv --trace --format --color --utc -f --follow $filter" ;;
            report) offered="-o --output --title $filter" ;;
            *) offered='-h --help' ;;
            esac
            ;;
        *)
            if [ "$COMP_CWORD" = 1 ]; then
                offered='show stats report check'
            else
                mapfile -t COMPREPLY < <(compgen -d -- "$word"; compgen -f -X '!*.qvlog' -- "$word")
                return
            fi
            ;;
        esac
    fi
    mapfile -t COMPREPLY < <(compgen -W "$offered" -- "$word")
}

complete -o nosort -o filenames -F _qvlog qvlog
