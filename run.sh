#!/usr/bin/env bash
# Builds norv if it is not built yet, and runs it with the arguments given. Its
# standard streams and exit status pass through; build messages go to standard error.
# Installs the Debian packages that are missing, with sudo if the user is not root.
# A user who may not write to the tree runs what another user has built.
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
    # The lock is for its owner alone: whoever can open it can hold up everybody.
    [ -e build/.lock ] || (umask 077 && : >>build/.lock)
    chmod go= build/.lock 2>/dev/null || true # this user is not its owner
    exec 9>build/.lock
    flock 9
    # A warning that only a newer compiler gives must not keep anybody from running norv.
    [ -e build/release/build.ninja ] ||
        cmake --preset release -DNORV_TESTS=OFF -DCMAKE_COMPILE_WARNING_AS_ERROR=OFF
    cmake --build --preset release --target norv
}

if may_build; then
    # In a subshell, so that the program starts in the caller's folder.
    (build) </dev/null >&2
elif [ ! -x "$program" ]; then
    echo "run.sh: norv is not built, and $(id -un) may not write to $root:" \
        "run it once as a user who may" >&2
    exit 1
fi

exec "$program" "$@"
