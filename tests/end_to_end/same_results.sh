#!/usr/bin/env bash
# Runs two builds of the program on the same bases, with one worker each. Compares the
# bytes of their results, and their exit codes as the shell sees them.
# Usage: same_results.sh FIRST SECOND   (each a command, split at blanks)
set -euo pipefail
read -ra first <<<"$1"
read -ra second <<<"$2"
readonly runs=50
RANDOM=20260215 # the seed: the same bases each time

random_base() { # BYTES
    local digits='' i
    for ((i = 0; i < $1; ++i)); do
        printf -v digits '%s%02X' "$digits" $((RANDOM % 256))
    done
    echo "$digits"
}

# Prints the result, then the exit code on a line of its own.
result_of() { # NAME COMMAND…
    local code=0
    "${@:2}" -stopSemaphoreName "same_results_$$_$1" -noPrompt -threads 1 || code=$?
    printf '\n%s\n' "$code"
}

failures=0
for ((run = 0; run < runs; ++run)); do
    # Large safe primes are rare: most of these have 128 to 256 bits, and a few 512.
    arguments=(-base)
    if ((run % 2 == 0)); then
        arguments+=("$(random_base $((16 + RANDOM % 113)))")
    elif ((run % 16 == 1)); then
        arguments+=("$(random_base 64)" -safe)
    else
        arguments+=("$(random_base $((16 + RANDOM % 17)))" -safe)
    fi
    expected=$(result_of first "${first[@]}" "${arguments[@]}")
    seen=$(result_of second "${second[@]}" "${arguments[@]}")
    if [ "$expected" != "$seen" ] || [ ${#expected} -lt 48 ]; then
        printf 'Differ for %s:\n%s\n%s\n' "${arguments[*]}" "$expected" "$seen" >&2
        failures=$((failures + 1))
    fi
done
echo "$runs bases, $failures of them with different results"
[ "$failures" = 0 ]
