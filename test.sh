#!/usr/bin/env bash
# Tests norv. Builds what is missing, and installs the Debian packages that are
# missing, with sudo if the user is not root.
#   ./test.sh           the native tests
#   ./test.sh all       everything that CI runs: the native tests, lint, debug,
#                       asan, tsan, memcheck, stress, faults, fuzz, windows,
#                       debian13, arm64, cluster
#   ./test.sh bench     measures for about half an hour; not part of all
#   ./test.sh bench_figures    the same, as figures for docs/performance.md
#   ./test.sh soak [SECONDS]   real runs killed, stopped and disturbed, for 300 seconds
#   ./test.sh fuzz [SECONDS]   each fuzz target for 60 seconds
#   ./test.sh coverage  the lines that the tests and the fault programs run, by file
#   ./test.sh package   the Debian package for Debian 12 and 13: built, checked by
#                       lintian, installed in a clean system, tried and removed
#   ./test.sh archive   the archive for Windows: built, unpacked, and tried under Wine
#   ./test.sh reproducible     all packages built twice, with the same bytes
#   ./test.sh TASK…     the tasks named
set -euo pipefail
unset CDPATH
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")"

jobs=$(nproc)

build() { # PRESET OPTION…
    mkdir -p build
    [ -e build/.lock ] || (umask 077 && : >>build/.lock)
    chmod go= build/.lock 2>/dev/null || true # this user is not its owner
    (
        flock 9
        cmake --preset "$@" -DNORV_TESTS=ON
        cmake --build --preset "$1"
    ) 9>build/.lock
}

# Runs a task. The seconds of each task are printed when the script ends, for whatever
# reason.
timed() { # TASK
    trap print_times EXIT
    running=$1 began=$SECONDS
    "task_$1"
    times+=("$((SECONDS - began))" "$1")
    running=
}

times=()
print_times() {
    [ -z "$running" ] || times+=("$((SECONDS - began))" "$running, which failed")
    printf '\n seconds  task\n'
    printf '%8d  %s\n' "${times[@]}" "$SECONDS" 'in all'
}

run_tests() { # PRESET
    tools/install build test
    build "$1"
    ctest --preset "$1" -j "$jobs"
}

# With the languages of docs/callers.md, whose lines only this build tests.
task_native() {
    tools/install callers
    run_tests release
}

task_asan() { run_tests asan; }
task_tsan() { run_tests tsan; }

task_debug() {
    tools/install lint
    run_tests debug
}

task_lint() {
    tools/install build test lint bench
    # Only the list of compile commands is needed. It must not use g++'s precompiled
    # headers, which clang-tidy cannot read.
    cmake --preset release -B build/lint -DNORV_TESTS=ON -DNORV_BENCH=ON \
        -DNORV_FUZZ=ON -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON
    tools/lint
}

# The end-to-end tests with the program under memcheck. memcheck runs one thread at a
# time, some twenty times slower.
task_memcheck() {
    tools/install build test memcheck
    build memcheck
    rm -rf build/memcheck/findings
    mkdir -p build/memcheck/findings
    local failed=0
    ctest --preset memcheck -j "$jobs" || failed=1
    # A killed run has no exit code that could report a finding, so the files are read.
    # A program that was started without a standard output may write to its file, too:
    # only memcheck's own lines count.
    [ -n "$(ls build/memcheck/findings)" ] &&
        ! grep -rh '^==' build/memcheck/findings && [ $failed = 0 ]
}

# Many whole runs in a row, with each result checked. Then runs with more threads than
# one wait can take.
task_stress() {
    tools/install build test
    build release
    build/release/tests/soak/norv_soak stress
}

# Every call that can fail is made to fail once: in searches inside one process, then in
# whole runs. Prints how many failed.
task_faults() {
    tools/install build test
    build release
    local failed=0
    # Each uses one processor, so both run at once.
    build/release/tests/faults/norv_program_faults >build/release/program_faults.txt 2>&1 &
    local other=$!
    build/release/tests/faults/norv_search_faults || failed=1
    wait "$other" || failed=1
    cat build/release/program_faults.txt
    build/release/tests/faults/norv_ctl_faults 97 || failed=1
    return $failed
}

# Prints its seed; norv_soak SECONDS SEED makes the same choices again.
task_soak() { # [SECONDS]
    tools/install build test
    build release
    build/release/tests/soak/norv_soak "$@"
}

# Findings are in build/fuzz/findings, one file for each input. To run an input again,
# give the target the path of its file.
task_fuzz() { # [SECONDS]
    tools/install build test fuzz
    build fuzz
    mkdir -p build/fuzz/findings
    # shellcheck disable=SC2016 # the inner shell expands these
    printf '%s\n' command_line engine hex_text input_stream |
        xargs -P 2 -I TARGET bash -c '
            mkdir -p build/fuzz/corpus/TARGET
            build/fuzz/tests/fuzz/norv_fuzz_TARGET -max_total_time="$0" -timeout=20 \
                -artifact_prefix=build/fuzz/findings/TARGET- build/fuzz/corpus/TARGET \
                tests/fuzz/corpus/TARGET >build/fuzz/TARGET.txt 2>&1 || {
                tail -60 build/fuzz/TARGET.txt
                echo "TARGET: a finding, see build/fuzz/findings" >&2
                exit 1
            }
            echo "TARGET: $(grep "^Done" build/fuzz/TARGET.txt), no finding"' \
            "${1:-60}"
}

# Fails when the tests run less than this share of the lines, in percent. The fault
# programs count, too: only there do most of the calls fail.
task_coverage() {
    tools/install build test coverage
    build coverage
    find build/coverage -name '*.gcda' -delete
    ctest --preset coverage -j "$jobs"
    # Whole searches have tens of thousands of calls, and count lines slowly.
    local part
    for part in front_end engine workers; do
        build/coverage/tests/faults/norv_search_faults 7 "$part"
    done
    for part in searches long_searches; do
        build/coverage/tests/faults/norv_search_faults 997 "$part"
    done
    build/coverage/tests/faults/norv_program_faults --any-build
    build/coverage/tests/faults/norv_ctl_faults 997 --any-build
    tools/coverage 99.0
}

# Builds the programs and all tests for Windows and runs them under Wine. Then compares
# the programs of both systems, and their lists of tests.
task_windows() {
    tools/install build test windows
    local openssl gmp libuv
    openssl=$(tools/openssl-windows)
    gmp=$(tools/gmp-windows)
    libuv=$(tools/libuv-windows)
    # CMake keeps what it found, also when it is told to look elsewhere.
    build windows -U 'OPENSSL_*' -U 'LIB_EAY*' -U 'SSL_EAY*' -U 'LIBUV_*' \
        -DOPENSSL_ROOT_DIR="$openssl" -DGMP_ROOT_DIR="$gmp" -DLIBUV_ROOT_DIR="$libuv"
    tools/windows-dlls build/windows/norv.exe
    tools/windows-dlls build/windows/norvctl.exe
    tools/with-wine ctest --preset windows -j "$jobs"
    tools/with-wine tools/start-in-wine build/windows/norvctl.exe dhparam 512 --quiet |
        openssl dhparam -check -noout

    build release
    tools/with-wine tools/same-outputs \
        build/release/norv 'tools/start-in-wine build/windows/norv.exe'
    tools/windows-names
}

# The native tests in a Debian 13 of their own, see tools/in-debian, but for the languages
# of docs/callers.md.
task_debian13() { tools/in-debian trixie ./test.sh tests; }
task_tests() { run_tests release; }

# The program and the native tests, built for arm64 and run under qemu.
task_arm64() { tools/in-debian trixie+arm64 ./test.sh cross_arm64; }

# Runs in a system that has arm64's libraries beside its own.
task_cross_arm64() {
    tools/install build arm64
    build arm64
    ctest --preset arm64 -j "$jobs"
}

# The Debian package, built on the Debian that it is for, and tried in one that has only
# what every Debian has.
task_package() {
    local suite
    tools/install debootstrap
    SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
    export SOURCE_DATE_EPOCH
    mkdir -p build/packages
    for suite in bookworm trixie; do
        # shellcheck source=/dev/null
        if [ "$(. /etc/os-release && echo "${VERSION_CODENAME:-}")" = "$suite" ]; then
            task_deb
        else
            # The root's own copy of the checkout is dropped, so the package comes through
            # standard output.
            tools/in-debian "$suite" env SOURCE_DATE_EPOCH="$SOURCE_DATE_EPOCH" bash -c \
                './test.sh deb >&2 && tar -C build/packages -c .' |
                tar -C build/packages -x
        fi
        tools/in-debian "$suite-clean" bash -c "$(cat tests/package_test.sh)"
    done
}

# The Debian package for this Debian, and lintian's verdict. Every finding counts.
task_deb() {
    tools/install build package lintian
    local package
    package=$(tools/package deb)
    dpkg-deb --info "$package"
    dpkg-deb --contents "$package"
    lintian --allow-root --display-info --tag-display-limit 0 \
        --fail-on error,warning,info "$package"
    echo "lintian: clean, ${package##*/}"
}

task_archive() {
    tools/install build windows
    tools/with-wine tests/archive_test.sh "$(tools/package windows)"
}

task_reproducible() { tools/reproducible deb source windows; }

# Prints figures, and fails only when something does not run. tools/bench has options.
task_bench() {
    tools/install build test bench
    build release -DNORV_BENCH=ON
    tools/bench
}

# The same; prints the figures for `tools/bench --update`, and nothing else.
task_bench_figures() {
    tools/install build test bench
    build release -DNORV_BENCH=ON >&2
    tools/bench --figures
}

# Searches with Slurm on a cluster of one machine, in a Debian 12 of its own.
task_cluster() { tools/in-debian bookworm-cluster tests/cluster/run; }

task_all() {
    for task in native lint debug asan tsan memcheck stress faults fuzz windows \
        debian13 arm64 cluster; do
        printf '\n== %s\n' "$task"
        timed "$task"
    done
    printf '\nAll of it passed.\n'
}

# Tasks that accept a number of seconds.
if [ $# = 2 ] && [[ $1 =~ ^(soak|fuzz)$ && $2 =~ ^[0-9]+$ ]]; then
    "task_$1" "$2"
    exit
fi

for task in "${@:-native}"; do
    if ! declare -F "task_$task" >/dev/null; then
        echo "test.sh: unknown task '$task'" >&2
        exit 2
    fi
done
for task in "${@:-native}"; do
    "task_$task"
done
