# The tools that build a library for Windows from Debian's source packages source this
# file. They keep what they build in the user's cache, outside this tree, so that a
# clean checkout finds it again.
# shellcheck shell=bash

# built_before NAME VERSION…: prints the folder of the first of these versions that the
# cache holds. Fails when it holds none of them.
built_before() {
    local name=$1 version
    shift
    for version in "$@"; do
        if [ -e "$cache/$name-$version/complete" ]; then
            echo "$cache/$name-$version"
            return
        fi
    done
    return 1
}

# fetch_source SUITE PACKAGE VERSION…: unpacks into "$work/source" the first of these
# versions that Debian's own archive serves in the suite, and sets `version`. Neither the
# machine's own suite nor its apt configuration matters.
fetch_source() {
    local suite=$1 package=$2
    shift 2
    mkdir -p "$work/lists/partial" "$work/download"
    {
        echo "deb-src http://deb.debian.org/debian $suite main"
        echo "deb-src http://deb.debian.org/debian $suite-updates main"
        echo "deb-src http://deb.debian.org/debian-security $suite-security main"
    } >"$work/sources.list"
    local apt=(apt-get -q -o "Dir::Etc::SourceList=$work/sources.list"
        -o Dir::Etc::SourceParts=- -o "Dir::State::Lists=$work/lists"
        -o APT::Sandbox::User=root)
    "${apt[@]}" update >&2
    for version in "$@"; do
        if (cd "$work/download" &&
            "${apt[@]}" source --download-only "$package=$version" >&2); then
            # apt-get has checked the files against the archive's signed lists. A version
            # that was served only in part may have left its .dsc there, too.
            dpkg-source --no-check -x \
                "$work/download/${package}_${version#*:}.dsc" "$work/source" >&2
            return
        fi
        echo "$package $version is not served, trying the next one" >&2
    done
    echo "no $package source package is served" >&2
    return 1
}

# logged COMMAND…: runs the command in a subshell, and shows the end of its output only
# when it fails. The command must return its failures itself: `set -e` has no effect here.
logged() {
    ("$@") >"$work/log" 2>&1 || {
        tail -40 "$work/log" >&2
        return 1
    }
}

# store NAME: moves "$work/built" into the cache and prints its folder there.
store() {
    local target=$cache/$1
    touch "$work/built/complete"
    rm -rf "$target" "$target.new"
    cp -r "$work/built" "$target.new"
    mv "$target.new" "$target"
    echo "$target"
}

cache=${XDG_CACHE_HOME:-$HOME/.cache}/norv
mkdir -p "$cache"
# One build at a time.
exec 9>"$cache/.lock"
flock 9
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
