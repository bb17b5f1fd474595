#!/usr/bin/env bash
# Installs a build into an empty folder, and compares what is there with what belongs there.
# Usage: install_test.sh BUILD VERSION   (the folder of the build, and the project's version)
set -euo pipefail
build=$1
version=$2

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
# shellcheck source=tests/support/expect.sh
source "$(dirname "${BASH_SOURCE[0]}")/support/expect.sh"

cmake --install "$build" --prefix "$folder" >/dev/null
expect 'files' 'bin/norv
bin/norvctl
share/bash-completion/completions/norv
share/bash-completion/completions/norvctl
share/doc/norv/CHANGELOG.md
share/doc/norv/LICENSE
share/doc/norv/copyright
share/man/man1/norv.1
share/man/man1/norvctl.1
share/zsh/site-functions/_norv
share/zsh/site-functions/_norvctl' \
    "$(cd "$folder" && find . -type f -not -path './share/doc/norv/examples/*' |
        sed 's|^\./||' | LC_ALL=C sort)"

examples=$folder/share/doc/norv/examples
expect 'examples' 'cluster/status
cluster/submit
cluster/task
cpp/find_prime.cpp
cpp/norv.h
python/norv.py
sh/find_prime.sh' "$(cd "$examples" && find . -type f | sed 's|^\./||' | LC_ALL=C sort)"
expect 'examples that can be run' 'cluster/status
cluster/submit
cluster/task
python/norv.py
sh/find_prime.sh' \
    "$(cd "$examples" && find . -type f -perm -111 | sed 's|^\./||' | LC_ALL=C sort)"

search=(-noPrompt -threads 1 -base 0A1B -stopSemaphoreName "install_test_$$")
expect 'prime of norv' '88 EB ' "$("$folder/bin/norv" "${search[@]}" || true)"
prime=$("$folder/bin/norvctl" generate 64 --quiet)
expect 'digits of a prime of 64 bits' 16 "${#prime}"
expect 'version of norvctl' "norvctl $version" "$("$folder/bin/norvctl" --version)"
for page in norv norvctl; do
    expect "version in $page.1" "\"norv $version\"" \
        "$(sed -nE '1s/^\.TH .* ("norv [^"]*") .*/\1/p' "$folder/share/man/man1/$page.1")"
    expect "placeholders in $page.1" '' \
        "$(grep -E '@[A-Z_]+@' "$folder/share/man/man1/$page.1" || true)"
done

[ $failures = 0 ] && echo 'What is installed is whole, and nothing else.'
