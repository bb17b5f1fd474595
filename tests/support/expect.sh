# For test scripts to source: comparisons that go on after a failure.
# shellcheck shell=bash

failures=0

expect() { # WHAT EXPECTED SEEN
    [ "$2" = "$3" ] && return
    printf '%s: expected\n%s\nand saw\n%s\n' "$1" "$2" "$3" >&2
    failures=$((failures + 1))
}
