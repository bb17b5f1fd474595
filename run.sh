#!/usr/bin/env bash
# Builds norv where needed and runs it with the arguments given. Its standard
# streams and exit status pass through; build messages go to standard error.
set -euo pipefail

unset CDPATH
root=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
build() {
    cd "$root"
    tools/install build
    mkdir -p build
    exec 9>build/.lock
    flock 9
    [ -e build/release/build.ninja ] || cmake --preset release -DNORV_TESTS=OFF
    cmake --build --preset release --target norv
}
# In a shell of its own: the program starts in the caller's folder.
(build) </dev/null >&2

exec "$root/build/release/norv" "$@"
