#!/usr/bin/env bash
# Builds norv where needed and runs it with the arguments given. Its standard
# streams and exit status pass through; build messages go to standard error.
# Who may not write to the tree runs what others have built.
set -euo pipefail

unset CDPATH
root=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
program=$root/build/release/norv

may_build() {
    local path
    [ -e "$root/build" ] || [ -w "$root" ] || return 1
    for path in build build/.lock build/release; do
        [ ! -e "$root/$path" ] || [ -w "$root/$path" ] || return 1
    done
}

build() {
    cd "$root"
    tools/install build
    mkdir -p build
    # For its owner alone: whoever may open the lock may hold everybody up.
    [ -e build/.lock ] || (umask 077 && : >>build/.lock)
    chmod go= build/.lock 2>/dev/null || true # not its owner
    exec 9>build/.lock
    flock 9
    # A warning that only a newer compiler gives keeps nobody from running norv.
    [ -e build/release/build.ninja ] ||
        cmake --preset release -DNORV_TESTS=OFF -DCMAKE_COMPILE_WARNING_AS_ERROR=OFF
    cmake --build --preset release --target norv
}

if may_build; then
    # In a shell of its own: the program starts in the caller's folder.
    (build) </dev/null >&2
elif [ ! -x "$program" ]; then
    echo "run.sh: norv is not built, and $(id -un) may not write to $root:" \
        "run it once as a user who may" >&2
    exit 1
fi

exec "$program" "$@"
