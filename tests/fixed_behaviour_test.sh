#!/usr/bin/env bash
# Checks docs/fixed-behaviour.md against the sources: every mark has a row, every row a
# mark, and the tests of every row exist.
#
#   fixed_behaviour_test.sh FOLDER    of the sources
set -euo pipefail
cd "$1"

page=docs/fixed-behaviour.md
fail=0
complain() { # TEXT
    echo "$1"
    fail=1
}

marks=$(grep -rhoE "$page: [a-z0-9, -]+" app search prime platform |
    sed "s|$page: ||" | tr -d ' ' | tr ',' '\n' | sort -u)
rows=$(sed -nE "s/^\| \`([a-z0-9-]+)\` \|.*/\1/p" "$page" | sort)
[ "$(wc -l <<<"$rows")" -gt 20 ] || complain "few rows: the page is not read as it is written"

for row in $(uniq -d <<<"$rows"); do complain "two rows: $row"; done
for mark in $(comm -23 <(echo "$marks") <(uniq <<<"$rows")); do complain "mark without a row: $mark"; done
for row in $(comm -13 <(echo "$marks") <(uniq <<<"$rows")); do complain "row without a mark: $row"; done

# The names of all tests, SUITE.NAME, also where one stands on a line of its own.
known=$(find tests -name '*.cpp' -exec cat {} + | tr -d '\n' |
    grep -oE 'TEST(_F|_P)?\([A-Za-z0-9]+, *[A-Za-z0-9]+\)' |
    sed -E 's/TEST(_F|_P)?\(([A-Za-z0-9]+), *([A-Za-z0-9]+)\)/\2.\3/' | sort -u)
while IFS='|' read -r _ row _ _ tests _; do
    named=$(grep -oE '[A-Za-z0-9]+\.[A-Za-z0-9]+' <<<"$tests" || true)
    [ -n "$named" ] || complain "row without a test:$row"
    for test in $named; do
        grep -qxF "$test" <<<"$known" || complain "no such test:$row$test"
    done
done < <(grep -E '^\| `' "$page")

exit "$fail"
