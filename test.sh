#!/usr/bin/env bash
# Tests norv, building and installing what is missing.
#   ./test.sh           the native tests
#   ./test.sh all       everything that CI runs: the native tests, lint, debug,
#                       asan, tsan, stress, faults, windows
#   ./test.sh bench     measures, twenty to thirty minutes; not part of all
#   ./test.sh TASK…     the tasks named
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

jobs=$(nproc)

build() { # PRESET OPTION…
    mkdir -p build
    (
        flock 9
        cmake --preset "$@" -DNORV_TESTS=ON
        cmake --build --preset "$1"
    ) 9>build/.lock
}

run_tests() { # PRESET
    tools/install build test
    build "$1"
    ctest --preset "$1" -j "$jobs"
}

task_native() { run_tests release; }
task_asan() { run_tests asan; }
task_tsan() { run_tests tsan; }

task_debug() {
    tools/install lint
    run_tests debug
}

task_lint() {
    tools/install build test lint bench
    # For its list of compile commands only; clang-tidy cannot read g++'s
    # precompiled headers.
    cmake --preset release -B build/lint -DNORV_TESTS=ON -DNORV_BENCH=ON \
        -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON
    tools/lint
}

# Many whole runs in a row, each result checked; then runs with more threads
# than one wait can take.
task_stress() {
    tools/install build test
    build release
    build/release/tests/end_to_end/norv_stress
}

# Every call that can fail does so once: in searches inside one process, then in
# whole runs. Prints how many did.
task_faults() {
    tools/install build test
    build release
    local failed=0
    build/release/tests/faults/norv_search_faults || failed=1
    build/release/tests/faults/norv_program_faults || failed=1
    return $failed
}

# The program and all tests built for Windows and run under Wine; then both
# systems' programs and lists of tests compared.
task_windows() {
    tools/install build test windows
    local openssl gmp
    openssl=$(tools/openssl-windows)
    gmp=$(tools/gmp-windows)
    build windows -DOPENSSL_ROOT_DIR="$openssl" -DGMP_ROOT_DIR="$gmp"
    tools/windows-dlls build/windows/norv.exe
    tools/with-wine ctest --preset windows -j "$jobs"

    build release
    tools/with-wine tests/end_to_end/same_results.sh \
        build/release/norv 'wine build/windows/norv.exe'
    tools/windows-names
}

# Prints figures; fails only when something does not run. tools/bench has options.
task_bench() {
    tools/install build test bench
    build release -DNORV_BENCH=ON
    tools/bench
}

task_all() {
    for task in native lint debug asan tsan stress faults windows; do
        printf '\n== %s\n' "$task"
        "task_$task"
    done
    printf '\nAll of it passed.\n'
}

for task in "${@:-native}"; do
    if ! declare -F "task_$task" >/dev/null; then
        echo "test.sh: unknown task '$task'" >&2
        exit 2
    fi
    "task_$task"
done
