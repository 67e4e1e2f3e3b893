# bash completion for tavrin-board

_tavrin_board() {
    local cur prev words cword
    _init_completion || return

    local commands='create status progress run snapshot watch preview display wait record replay describe'
    if ((cword == 1)); then
        COMPREPLY=($(compgen -W "$commands --help --version" -- "$cur"))
        return
    fi

    # What follows "--" is another command line: a command's own, or the tool's.
    local -i i
    for ((i = 2; i < cword; ++i)); do
        [[ ${words[i]} == -- ]] || continue
        case ${words[1]} in
            run | record | replay)
                _command_offset $((i + 1)) ;;
            preview)
                _completion_loader QelProgressBarDisplay
                COMP_WORDS=(QelProgressBarDisplay "${COMP_WORDS[@]:i + 1}")
                COMP_CWORD=$((COMP_CWORD - i))
                COMP_LINE="${COMP_WORDS[*]}"
                COMP_POINT=${#COMP_LINE}
                _QelProgressBarDisplay ;;
        esac
        return
    done

    case $prev in
        --device | --devices | --outputs | --fpga | --ramp | --to | --at | --percent | --timeout) return ;;
        --card | --library) _filedir; return ;;
        --connector)
            COMPREPLY=($(compgen -W "$(cd /sys/class/drm 2>/dev/null && ls -d card*-* | sed 's/^card[0-9]*-//')" -- "$cur"))
            return ;;
    esac

    local options=
    case ${words[1]} in
        create) options='--devices --outputs --fpga --no-fpga' ;;
        status) options='--json' ;;
        progress) options='--ramp --to --linear --device' ;;
        run) options='--' ;;
        snapshot) options='--small --device' ;;
        watch) options='--window --device' ;;
        preview) options='--at --' ;;
        display) options='--card --list --connector --every-output --legacy --wait --device' ;;
        record) options='--library --' ;;
        replay) options='--fast --' ;;
        wait) options='--displayed --shown --ended --percent --timeout --device' ;;
    esac
    if [[ $cur == -* || ${words[1]} == run ]]; then
        COMPREPLY=($(compgen -W "$options --help" -- "$cur"))
    elif [[ ${words[1]} == progress ]]; then
        COMPREPLY=($(compgen -W '0 25 50 75 100 -' -- "$cur"))
    elif [[ ${words[1]} == preview || ${words[1]} == snapshot ]]; then
        _filedir png
    elif [[ ${words[1]} == record || ${words[1]} == replay || ${words[1]} == describe ]]; then
        _filedir
    fi
} &&
    complete -F _tavrin_board tavrin-board
