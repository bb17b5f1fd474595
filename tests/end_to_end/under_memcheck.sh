#!/usr/bin/env bash
# In the memcheck build the tests start this script as the program. It runs the program
# under memcheck. memcheck's findings go to build/memcheck/findings, and the exit code is
# then 77.
set -euo pipefail
build=$(dirname "${BASH_SOURCE[0]}")/../../build/memcheck
exec valgrind --quiet --error-exitcode=77 --leak-check=full \
    --errors-for-leak-kinds=definite --show-leak-kinds=definite \
    --fair-sched=try --suppressions="$build/../../tests/memcheck.supp" \
    --log-file="$build/findings/%p.txt" "$build/norv" "$@"
