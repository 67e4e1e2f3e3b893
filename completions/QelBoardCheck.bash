# bash completion for QelBoardCheck

_QelBoardCheck() {
    local cur prev words cword
    _init_completion || return

    # Behind -v come 19 values; the words of a timing are completed for QelProgressBarDisplay alike.
    local -i at value=0
    for ((at = cword - 1; at > 0 && at >= cword - 19; --at)); do
        case ${words[at]} in
            -v | --VideoParam) value=$((cword - at)) ;;
        esac
    done
    if ((value > 0)); then
        local choices=
        case $value in
            12 | 13 | 16) choices='yes no' ;;
            14 | 15) choices='+ - i' ;;
            17) choices='RGB_FULL RGB_LIMITED YUV_709 YUV_601 YUV_601_FULL YUV_2020' ;;
            18) choices='444 422 420' ;;
            19) choices='8 10 12 16' ;;
        esac
        COMPREPLY=($(compgen -W "$choices" -- "$cur"))
        return
    fi
    case $prev in
        -d | --DevIdx | --limit | --seconds) return ;;
    esac
    COMPREPLY=($(compgen -W '-h --help --version --json -d --DevIdx --draw -v --VideoParam --limit --seconds' -- "$cur"))
} &&
    complete -F _QelBoardCheck QelBoardCheck
