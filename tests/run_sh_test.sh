#!/usr/bin/env bash
# Runs run.sh and tools/install as a user who may not write to the tree, as one who may
# not install packages, and as one who may write. Only root can run them as another user:
# without root the test is skipped, with status 77.
# Usage: run_sh_test.sh ROOT PROGRAM   (the tree, and the built norv)
set -euo pipefail
root=$1
program=$2
if [ "$(id -u)" != 0 ]; then
    echo 'Skipped: only root can run programs as another user.'
    exit 77
fi

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
chmod 755 "$folder"
umask 022
failures=0

# Makes a tree that holds only the scripts and belongs to USER.
make_tree() { # NAME USER
    mkdir -p "$folder/$1/tools"
    cp "$root/run.sh" "$folder/$1/"
    cp "$root/tools/install" "$folder/$1/tools/"
    chown -R "$2" "$folder/$1"
}

# Runs the command as nobody. Its output, its errors and its exit status go to the files
# output, errors and status.
as_nobody() { # COMMAND…
    local status=0
    (cd / && setpriv --reuid=nobody --regid=nogroup --clear-groups -- "$@") \
        >"$folder/output" 2>"$folder/errors" || status=$?
    echo "$status" >"$folder/status"
}

expect() { # WHAT EXPECTED SEEN
    [ "$2" = "$3" ] && return
    printf '%s: expected\n%s\nand saw\n%s\n' "$1" "$2" "$3" >&2
    failures=$((failures + 1))
}

search=(-noPrompt -threads 1 -base 8001C0DE -stopSemaphoreName "run_sh_test_$$")
found=0
result=$("$program" "${search[@]}") || found=$?
expect 'exit status of a search' 12 "$found"

make_tree built root
mkdir -p "$folder/built/build/release"
touch "$folder/built/build/.lock"
cp "$program" "$folder/built/build/release/norv"
as_nobody "$folder/built/run.sh" "${search[@]}"
expect 'result of what is built' "$result" "$(cat "$folder/output")"
expect 'exit status of what is built' 12 "$(cat "$folder/status")"

make_tree bare root
as_nobody "$folder/bare/run.sh" "${search[@]}"
expect 'output where nothing is built' '' "$(cat "$folder/output")"
expect 'errors where nothing is built' \
    "run.sh: norv is not built, and nobody may not write to $folder/bare: run it once as a user who may" \
    "$(cat "$folder/errors")"
expect 'exit status where nothing is built' 1 "$(cat "$folder/status")"

# A user who may write builds. Here a stand-in for cmake copies the finished program.
make_tree own nobody
printf '#!/bin/sh\n' >"$folder/own/tools/install"
mkdir "$folder/bin"
cat >"$folder/bin/cmake" <<EOF
#!/bin/sh
mkdir -p build/release
cp "$folder/built/build/release/norv" build/release/norv
EOF
chmod 755 "$folder/bin/cmake"
as_nobody env PATH="$folder/bin:$PATH" "$folder/own/run.sh" "${search[@]}"
expect 'result of what is built anew' "$result" "$(cat "$folder/output")"
expect 'exit status of what is built anew' 12 "$(cat "$folder/status")"
expect 'rights to the lock of what is built anew' 600 "$(stat -c %a "$folder/own/build/.lock")"

# The packages are missing, and there is no sudo.
mkdir "$folder/few"
ln -s "$(command -v bash)" "$(command -v id)" "$folder/few/"
as_nobody env PATH="$folder/few" bash "$folder/bare/tools/install" build
expect 'errors of an install that cannot be' \
    'tools/install: as root, run: apt-get install g++ cmake ninja-build libssl-dev libuv1-dev libcli11-dev nlohmann-json3-dev' \
    "$(cat "$folder/errors")"
expect 'exit status of an install that cannot be' 1 "$(cat "$folder/status")"

[ $failures = 0 ] && echo 'run.sh and tools/install do what each user may.'
