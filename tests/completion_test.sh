#!/usr/bin/env bash
# Types the beginning of command lines into real shells, lets them insert all completions,
# and compares the arguments that a command then gets. bash is tried always, zsh where it
# is installed.
# Usage: completion_test.sh ROOT NORVCTL   (the tree, and the built norvctl beside norv)
set -euo pipefail
root=$1
norvctl=$2
norv=${norvctl%/*}/norv
export LC_ALL=C.UTF-8 # the shells sort what they insert

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/here"
touch "$folder/here/base.txt" "$folder/here/a blank.pem"
failures=0
checks=0

# Both programs are replaced by a function that shows what it was given.
cat >"$folder/show" <<'END'
norv() { printf 'got:'; printf ' %s' "$@"; printf '\n'; }
norvctl() { norv "$@"; }
nproc() { echo 3; }
END

# In both functions * stands for the key that inserts all completions, and TAB completes.
in_bash() { # LINE
    {
        cat "$folder/show"
        echo "source '$root/completion/norv.bash'; source '$root/completion/norvctl.bash'"
        echo "bind '\"\\C-xa\": insert-completions'; bind 'set bell-style none'"
        echo "HISTFILE= PS1="
    } >"$folder/bashrc"
    printf '%s\n' "${1//\*/$'\x18'a}" |
        (cd "$folder/here" && TERM=dumb timeout 60 bash --noprofile --rcfile "$folder/bashrc" \
            -i 2>/dev/null) | sed -n 's/^got: *//p'
}

in_zsh() { # LINE
    {
        cat "$folder/show"
        echo "fpath=('$root/completion' \$fpath)"
        cat <<'END'
PS1= PROMPT_EOL_MARK= HISTFILE=
unsetopt prompt_cr beep
autoload -U compinit && compinit -D -u
zstyle ':completion:all-matches:*' completer _all_matches _complete
zstyle ':completion:all-matches:*' insert yes
zle -C all-matches complete-word _generic
bindkey '^Xa' all-matches
END
    } >"$folder/.zshrc"
    # zsh completes only in a terminal, which it can make itself.
    cat >"$folder/type.zsh" <<'END'
zmodload zsh/zpty
zpty shell 'zsh -d -i'
zpty -w shell $1
zpty -w shell 'echo completed$((1))'
while zpty -r shell answer; do
    print -rn -- $answer
    [[ $answer == *completed1* ]] && break
done
END
    (cd "$folder/here" && ZDOTDIR="$folder" TERM=dumb \
        timeout 60 zsh -f "$folder/type.zsh" "${1//\*/$'\x18'a}") |
        tr -d '\r' | sed -n 's/^.*got: *//p'
}

expect() { # SHELL LINE ARGUMENTS
    local seen
    seen=$({ "in_$1" "$2" || echo "(no answer)"; } | tr -s ' ' | sed 's/ $//')
    checks=$((checks + 1))
    [ "$seen" = "$3" ] && return
    printf '%s, "%s": expected\n%s\nand saw\n%s\n' "$1" "$2" "$3" "$seen" >&2
    failures=$((failures + 1))
}

sorted() { tr ' ' '\n' | sort | paste -sd ' '; }

# The options that norvctl itself lists, in alphabetical order.
listed() { # COMMAND
    "$norvctl" "$1" --help | grep -oE '^  .*--[a-z-]+' | grep -oE -- '--[a-z-]+' | sorted
}

# Runs that search nothing, and so go on until they are stopped.
names=("completion_$$_a" "completion_$$_b")
stop_runs() {
    for name in "${names[@]}"; do
        "$norvctl" stop "$name" || true
    done
    rm -rf "$folder"
}
trap stop_runs EXIT
for name in "${names[@]}"; do
    "$norv" -threads 0 -noPrompt -base FFFF -stopSemaphoreName "$name" &
    until [ -e "/dev/shm/sem.$name" ]; do
        kill -0 $! || exit 1
        sleep 0.05
    done
done
shells=(bash)
if command -v zsh >/dev/null; then
    shells+=(zsh)
else
    echo 'zsh is not installed: only bash is tried.'
fi

for shell in "${shells[@]}"; do
    expect "$shell" 'norv -THREADS *' '-THREADS 1 2 3'
    expect "$shell" 'norv -s*' '-safe -stopSemaphoreName'
    expect "$shell" 'norv -input *' '-input 128 192 256 384 512 64'
    expect "$shell" $'norv -safe -noP\t' '-safe -noPrompt'
    expect "$shell" "norv -stopSemaphoreName completion_$$*" "-stopSemaphoreName ${names[*]}"
    expect "$shell" "norvctl stop completion_$$*" "stop ${names[*]}"
    expect "$shell" $'norvctl stop no_such_run\t' 'stop no_such_run'

    expect "$shell" $'norvctl gen\t2048 --sa\t' 'generate 2048 --safe'
    expect "$shell" 'norvctl c*' 'check compare'
    expect "$shell" 'norvctl dhparam 4*' 'dhparam 4096'
    expect "$shell" 'norvctl generate 512 --format *' \
        'generate 512 --format c dec der hex json moduli pem'
    expect "$shell" $'norvctl generate 512 --format j\t--q\t' \
        'generate 512 --format json --quiet'
    expect "$shell" $'norvctl generate 512 --base-file b\t' \
        'generate 512 --base-file base.txt'
    expect "$shell" $'norvctl check a\t' 'check a blank.pem'
    for command in generate dhparam check compare estimate; do
        options=$(listed "$command")
        [ -n "$options" ] || { echo "norvctl $command lists no options" >&2; exit 1; }
        expect "$shell" "norvctl $command --*" "$command $options"
    done
done
# bash goes on with a blank, and zsh, in which a blank replaces it, with "=".
expect bash $'norv -thr\t8' '-threads 8'
expect bash $'norv -OUT\tbase\t' '-outPrompt base.txt'
if [ ${#shells[@]} = 2 ]; then
    expect zsh $'norv -thr\t8' '-threads=8'
    expect zsh $'norv -thr\t 8' '-threads 8'
    expect zsh $'norv -OUT\tbase\t' '-outPrompt=base.txt'
fi
expect bash 'norv *' '-base -input -noPrompt -outPrompt -safe -stopSemaphoreName -test -threads ?'
expect bash $'norv -threads=3 -te\t7' '-threads=3 -test 7'
expect bash $'norvctl generate 512 --format=mo\t--sa\t' 'generate 512 --format=moduli --safe'
expect bash 'norvctl generate 512 --base 00 --ba*' 'generate 512 --base 00 --base-file'
expect bash 'norvctl *' \
    '--help --version check compare dhparam estimate generate stop'

[ $failures = 0 ] && echo "${shells[*]}: $checks lines are completed as they should be."
