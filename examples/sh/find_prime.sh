#!/bin/sh
# Finds a prime, or with --safe a safe prime, above a base with norv:
#   openssl rand -hex 128 | ./find_prime.sh [--safe]
#
# Prints the prime as a line of hex digits. NORV and NORVCTL may name other programs than
# those on the path. Ctrl-C ends the search.
#
# norv tests with witnesses that follow from the clock. If the base comes from somebody
# else, test the prime again; "norvctl generate" does so by itself.
set -eu

norv=${NORV:-norv}
norvctl=${NORVCTL:-norvctl}

fail() { # TEXT
    echo "find_prime.sh: $1" >&2
    exit 1
}

# Writes "0A 1B " for the digits 0A1B.
pairs() { # DIGITS
    printf '%s\n' "$1" | sed 's/../& /g'
}

case "$#:${1-}" in
0:) safe='' ;;
1:--safe) safe=-safe ;;
*)
    echo 'usage: find_prime.sh [--safe] <FILE_WITH_THE_BASE_IN_HEX' >&2
    exit 2
    ;;
esac
base=$(tr -d ' \n\r')
case $base in
'' | *[!0-9A-Fa-f]*) fail 'the base must be pairs of hex digits' ;;
esac
[ $((${#base} % 2)) -eq 0 ] || fail 'the base must be pairs of hex digits'
for program in "$norv" "$norvctl"; do
    command -v "$program" >/dev/null || fail "there is no program $program"
done

# Runs that share a name stop each other.
name=norv-$(od -An -N16 -tx1 /dev/urandom | tr -d ' \n')
threads=$(nproc 2>/dev/null || echo 1)
[ "$threads" -le 63 ] || threads=63

run=
result=
finish() {
    trap '' HUP INT TERM
    if [ -n "$run" ]; then
        # norv makes its semaphore after it has read its base. When it still has none
        # after 5 seconds, it has none.
        for left in 4 3 2 1 0; do
            "$norvctl" stop "$name" 2>/dev/null && break
            [ "$left" -gt 0 ] || kill "$run" 2>/dev/null || true
            sleep 1
        done
        # It obeys at once, except at very large sizes.
        (
            for _ in 1 2 3 4 5; do sleep 1; done
            kill -KILL "$run"
        ) >/dev/null 2>&1 &
        killer=$!
        wait "$run" || true
        kill -KILL "$killer" 2>/dev/null || true
        rm -f "/dev/shm/sem.$name" # a killed run leaves it
    fi
    [ -z "$result" ] || rm -f "$result"
}
trap finish EXIT
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM
result=$(mktemp)

# On Linux the kernel can end norv when this script is killed.
set -- setpriv --pdeathsig KILL
"$@" true 2>/dev/null || set --

# A blank after the last pair, too: norv waits for three characters a byte. In the
# background, because a trap waits for what runs in the foreground. Deaf to what the
# terminal sends: this script decides when norv ends.
pairs "$base" |
    (
        trap '' HUP INT QUIT
        exec "$@" "$norv" -noPrompt -threads "$threads" -input $((${#base} / 2)) \
            -stopSemaphoreName "$name" ${safe:+"$safe"}
    ) >"$result" &
run=$!
wait "$run" || true # 8 bits of the exit code tell nothing
run=

# The characters count, and where the blanks stand.
[ -s "$result" ] ||
    fail "$norv ended without a prime: somebody stopped it, or it could not make its semaphore"
prime=$(tr -d ' ' <"$result")
case $prime in
*[!0-9A-F]*) prime= ;;
esac
if [ "${#prime}" -ne "${#base}" ] || [ "$(cat "$result")" != "$(pairs "$prime")" ]; then
    fail "$norv wrote something that is no prime"
fi
printf '%s\n' "$prime"
