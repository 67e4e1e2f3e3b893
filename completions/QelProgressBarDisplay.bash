# bash completion for QelProgressBarDisplay

# How many arguments an option takes.
_QelProgressBarDisplay_values() {
    case $1 in
        -d | --DevIdx | -i | --Image | -f | --AnimBaseFileName | -l | --AnimStepLoopTimeMs | -et | --EnableTime) echo 1 ;;
        -p | --ProgressRect | -a | --AnimRect) echo 4 ;;
        -v | --VideoParam) echo 19 ;;
        *) echo 0 ;;
    esac
}

# The words that the n-th value of a timing may be; nothing for its numbers.
_QelProgressBarDisplay_timing() {
    case $1 in
        12 | 13 | 16) echo 'yes no' ;;
        14 | 15) echo '+ - i' ;;
        17) echo 'RGB_FULL RGB_LIMITED YUV_709 YUV_601 YUV_601_FULL YUV_2020' ;;
        18) echo '444 422 420' ;;
        19) echo '8 10 12 16' ;;
    esac
}

_QelProgressBarDisplay() {
    local cur prev words cword
    _init_completion || return

    # Options are where no option before them takes the word, whatever it looks like.
    local -i at=1 value=0 count=0
    local option=
    while ((at < cword)); do
        option=${words[at]}
        count=$(_QelProgressBarDisplay_values "$option")
        value=$((cword - at))
        ((at += 1 + count))
    done

    if ((at == cword || cword == 1)); then
        COMPREPLY=($(compgen -W '-h --Help -d --DevIdx -v --VideoParam -i --Image -p --ProgressRect -a --AnimRect
            -f --AnimBaseFileName -l --AnimStepLoopTimeMs -et --EnableTime' -- "$cur"))
        return
    fi
    case $option in
        -i | --Image)
            _filedir png ;;
        -f | --AnimBaseFileName)
            # A base name stands for its first frame.
            _filedir png
            local -i i
            for i in "${!COMPREPLY[@]}"; do
                case ${COMPREPLY[i]} in
                    *01.png) COMPREPLY[i]=${COMPREPLY[i]%01.png} ;;
                    *[0-9][0-9].png) unset "COMPREPLY[i]" ;;
                esac
            done ;;
        -v | --VideoParam)
            COMPREPLY=($(compgen -W "$(_QelProgressBarDisplay_timing "$value")" -- "$cur")) ;;
    esac
} &&
    complete -F _QelProgressBarDisplay QelProgressBarDisplay
