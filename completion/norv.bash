# Completes the options of norv in bash, and their values after a blank or "=". As norv
# does, it ignores case.
# shellcheck shell=bash

_norv() {
    local word=${COMP_WORDS[COMP_CWORD]} option=${COMP_WORDS[COMP_CWORD - 1]} choice
    # bash makes a word of "=".
    if [ "$word" = = ]; then
        word=
    elif [ "$option" = = ]; then
        option=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    COMPREPLY=()

    local choices=()
    case ${option,,} in
    -threads) mapfile -t choices < <(seq "$(nproc)" | head -n 63) ;;
    -input) choices=(64 128 192 256 384 512) ;;
    -test) choices=({0..9} {a..f}) ;;
    -stopsemaphorename)
        mapfile -t choices < <(compgen -G "/dev/shm/norv-$EUID/*.sem.*")
        choices=("${choices[@]#*.sem.}")
        ;;
    -outprompt)
        compopt -o filenames
        mapfile -t choices < <(compgen -f -- "$word")
        ;;
    -base) ;;
    *)
        choices=(-threads -stopSemaphoreName -base -input -outPrompt -safe -noPrompt -test)
        [ -n "$word" ] || choices+=('\?')
        ;;
    esac
    for choice in "${choices[@]}"; do
        [[ ${choice,,} == "${word,,}"* ]] && COMPREPLY+=("$choice")
    done
}

complete -F _norv norv
