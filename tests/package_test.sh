#!/usr/bin/env bash
# Installs the Debian package of the present folder in a system without build tools, uses
# it as its readers would, removes it, and looks for what is left. Changes the system: see
# `./test.sh package`.
set -euo pipefail

fail() { # TEXT
    echo "package_test: $1" >&2
    exit 1
}

expect() { # WHAT EXPECTED SEEN
    [ "$2" = "$3" ] || fail "$1: expected '$2' and saw '$3'"
}

# Every path with its rights, owner and target, and the content of every file outside
# /var. The package system's own records and logs are left out, as is the index of manual
# pages, which any new page makes anew.
state() {
    find / -xdev \( -path /norv -o -path /var/log -o -path /var/cache/apt \
        -o -path /var/lib/apt -o -path '/var/lib/dpkg/*-old' -o -path /var/cache/ldconfig \
        -o -path '/var/cache/man/*' -o -path /etc/ld.so.cache \) -prune -o \
        -printf '%p %y %m %u %g %l\n' | LC_ALL=C sort
    find / -xdev \( -path /norv -o -path /var -o -path /etc/ld.so.cache \) -prune -o \
        -type f -exec sha256sum {} + | LC_ALL=C sort
    find /tmp /dev/shm /root -mindepth 1 | LC_ALL=C sort
}

# shellcheck source=/dev/null
version=$(. /etc/os-release && echo "$VERSION_ID")
packages=(/norv/norv_*~deb"${version}"_*.deb)
[ -e "${packages[0]}" ] || fail "there is no package for Debian $version"
[ ${#packages[@]} = 1 ] || fail "there are several packages for Debian $version"
for tool in cc c++ gcc g++ clang make cmake ninja ld as; do
    command -v "$tool" >/dev/null && fail "$tool is there: this system can build"
done
echo "Debian $version, $(dpkg-query -W | wc -l) packages, no build tools"

# These two files are in a file system that is not looked at.
before=$(mktemp -p /dev)
after=$(mktemp -p /dev)
apt-get update -q >/dev/null
state >"$before"
began=$SECONDS
apt-get install -q -y --no-install-recommends "${packages[0]}" 2>&1 | tail -20
echo "Installed in $((SECONDS - began)) s"
dpkg-query -W -f='${Package} ${Version}: ${Depends}\n' norv

status=0
result=$(norv -threads 1 -noPrompt -base 0A1B) || status=$?
expect 'prime of norv' '88 EB ' "$result"
expect 'exit status of norv' 6 "$status"

prime=$(norvctl generate 512 --safe --quiet)
[[ $prime =~ ^[89a-f][0-9a-f]{127}$ ]] || fail "not a prime of 512 bits: '$prime'"
norvctl check --safe <<<"$prime"
# Another user, without a home.
other=$(setpriv --reuid=nobody --regid=nogroup --clear-groups \
    norvctl generate 256 --safe --quiet --format pem)
expect 'first line of a PEM file' '-----BEGIN DH PARAMETERS-----' "${other%%$'\n'*}"

release=$(norvctl --version)
release=${release#norvctl }
for page in norv norvctl; do
    MANWIDTH=80 man "$page" >/tmp/page 2>/tmp/errors || fail "man $page fails"
    expect "errors of man $page" '' "$(cat /tmp/errors)"
    grep -q "^NAME" /tmp/page || fail "man $page shows no page"
    grep -q "^norv $release " /tmp/page || fail "man $page does not name norv $release"
    bash -c "source /usr/share/bash-completion/completions/$page && complete -p $page" \
        >/dev/null
done
man -w norv
rm /tmp/page /tmp/errors

# norv's folder of names is in memory, and goes with the next start of the system.
for folder in /dev/shm/norv-*; do
    [ ! -e "$folder" ] || rmdir "$folder" || fail "a name is left in $folder"
done
apt-get purge -q -y norv 2>&1 | tail -3
apt-get autoremove --purge -q -y 2>&1 | tail -3
state >"$after"
diff "$before" "$after" || fail 'the package leaves something, or takes something away'
echo "Removed; nothing is left of $(wc -l <"$before") lines compared"
