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

# exists NAME: whether a file has the test SUITE.TEST or, of a table, SUITE.TEST/CASE,
# where the case is a quoted text of the same file.
exists() {
    local suite=${1%%.*} test=${1#*.} case=
    case $test in
    */*) case=${test#*/} test=${test%%/*} ;;
    esac
    local pattern="TEST(_F|_P)?\\($suite,[[:space:]]*$test\\)"
    [ -n "$(find tests -name '*.cpp' -exec grep -lZzE "$pattern" {} + |
        xargs -0r grep -lF "${case:+\"$case\"}")" ]
}

while IFS='|' read -r _ row _ _ tests _; do
    named=$(grep -oE '[A-Za-z0-9]+\.[A-Za-z0-9/]+' <<<"$tests" || true)
    [ -n "$named" ] || complain "row without a test:$row"
    for test in $named; do
        exists "$test" || complain "no such test:$row$test"
    done
done < <(grep -E '^\| `' "$page")

exit "$fail"
