#!/usr/bin/env bash
# Unpacks the archive for Windows as its users would, and runs its programs under Wine.
# Usage: tools/with-wine tests/archive_test.sh ARCHIVE
set -euo pipefail
archive=$(readlink -f "$1")
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
# shellcheck source=tests/support/expect.sh
source tests/support/expect.sh

(cd "$folder" && cmake -E tar xf "$archive")
name=${archive##*/}
name=${name%.zip}
expect 'top of the archive' "$name" "$(ls "$folder")"
here=$folder/$name
version=${name#norv-}
version=${version%-windows-x64}

expect 'files' 'CHANGELOG.md
CONTRIBUTING.md
LICENSE
LICENSE-CLI11.txt
LICENSE-OpenSSL.txt
LICENSE-libuv.txt
LICENSE-nlohmann-json.txt
README.md
SECURITY.md
norv.exe
norvctl.exe' "$(cd "$here" && find . -maxdepth 1 -type f | sed 's|^\./||' | LC_ALL=C sort)"
expect 'examples' "$(git ls-files examples)" \
    "$(cd "$here" && find examples -type f | LC_ALL=C sort)"

# Links lead to files of the archive.
while read -r link; do
    [ -e "$here/$link" ] || expect "what README.md links to" "$link" 'no such file'
done < <(grep -oE '(\]\(|src="|srcset=")[^)"#]+' "$here/README.md" |
    sed -E 's/^(\]\(|[a-z]+=")//' | grep -v '^http')

in_wine() { # PROGRAM ARGUMENT…
    tools/start-in-wine "$here/$1" "${@:2}" | tr -d '\r'
}
search=(-noPrompt -threads 1 -base 0A1B -stopSemaphoreName "archive_test_$$")
expect 'prime of norv.exe' '88 EB ' "$(in_wine norv.exe "${search[@]}" || true)"
expect 'version of norvctl.exe' "norvctl $version" "$(in_wine norvctl.exe --version)"
prime=$(in_wine norvctl.exe generate 64 --quiet)
expect 'digits of a prime of 64 bits' 16 "${#prime}"

[ $failures = 0 ] && echo "${archive##*/}: whole, and both programs run under Wine."
