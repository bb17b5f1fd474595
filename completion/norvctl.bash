# Completes the commands of norvctl in bash, their options, and the values of these.
# shellcheck shell=bash

_norvctl() {
    local word=${COMP_WORDS[COMP_CWORD]} option=${COMP_WORDS[COMP_CWORD - 1]}
    # bash makes a word of "=".
    if [ "$word" = = ]; then
        word=
    elif [ "$option" = = ]; then
        option=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    COMPREPLY=()

    if [ "$COMP_CWORD" = 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W \
            'generate dhparam check compare estimate stop --help --version' -- "$word")
        return
    fi

    local values=
    case $option in
    --format) values='hex dec pem der json c moduli' ;;
    --threads) values=$(seq "$(nproc)") ;;
    --base-file | --output | --norv)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        return
        ;;
    --base | --from | --count | --timeout | --share | --seconds) return ;;
    *)
        _norvctl_arguments "$word"
        return
        ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$values" -- "$word")
}

# The options of the command that were not given yet, and what it takes besides.
_norvctl_arguments() { # WORD
    local word=$1 command=${COMP_WORDS[1]} options given value='' plain=0 index
    local with_value='--base --base-file --from --count --output --timeout --share'
    with_value+=' --threads --seconds --norv --format '
    local search='--threads --base --base-file --from --count --output --timeout --share'
    case $command in
    generate) options="$search --safe --format --quiet --verbose --norv" ;;
    dhparam) options="$search --quiet --verbose --norv" ;;
    check) options='--safe --replay --quiet --verbose --norv' ;;
    compare) options='--safe --seconds --quiet --norv' ;;
    estimate) options='--threads --safe --points' ;;
    stop) options= ;;
    *) return ;;
    esac
    options=" $options --help "
    for ((index = 2; index < COMP_CWORD; index++)); do
        given=${COMP_WORDS[index]}
        if [ -n "$value" ]; then
            # What follows "=" is the value.
            [ "$given" = = ] || value=
        elif [[ $given == -?* ]]; then
            options=${options/ $given / }
            [[ $with_value == *" $given "* ]] && value=yes
        else
            plain=$((plain + 1))
        fi
    done

    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
    elif [ "$plain" = 0 ]; then
        case $command in
        check)
            compopt -o filenames
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            ;;
        stop)
            mapfile -t COMPREPLY < <(compgen -G "/dev/shm/norv-$EUID/*.sem.$word*")
            COMPREPLY=("${COMPREPLY[@]#*.sem.}")
            ;;
        *) mapfile -t COMPREPLY < <(compgen -W \
            '1024 1536 2048 3072 4096 6144 8192' -- "$word") ;;
        esac
    else
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
    fi
}

complete -F _norvctl norvctl
