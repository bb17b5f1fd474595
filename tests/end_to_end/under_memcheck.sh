#!/usr/bin/env bash
# Stands in for the program in the memcheck build: runs it under memcheck. What memcheck
# finds goes to build/memcheck/findings, and the exit code is then 77.
set -euo pipefail
build=$(dirname "${BASH_SOURCE[0]}")/../../build/memcheck
exec valgrind --quiet --error-exitcode=77 --leak-check=full \
    --errors-for-leak-kinds=definite --show-leak-kinds=definite \
    --fair-sched=try --suppressions="$build/../../tests/memcheck.supp" \
    --log-file="$build/findings/%p.txt" "$build/norv" "$@"
