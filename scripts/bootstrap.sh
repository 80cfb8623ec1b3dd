#!/usr/bin/env bash
# Installs what is missing of the named groups of scripts/packages.txt; says nothing when nothing is missing.
# Usage: scripts/bootstrap.sh GROUP...      Exit status 1: some package is still missing (named on stderr).
set -uo pipefail
list=$(dirname "${BASH_SOURCE[0]}")/packages.txt

wanted() {
    local group
    for group in "$@"; do
        awk -v group="$group" '$1 == group { print $2 }' "$list"
    done | sort -u
}

missing() {
    local package
    for package in "$@"; do
        dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || echo "$package"
    done
}

as_root() {
    if [ "$(id -u)" = 0 ]; then
        "$@"
    else
        sudo "$@"
    fi
}

apt() { as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq -o Dpkg::Use-Pty=0 "$@" >/dev/null; }

packages=$(wanted "$@")
if ! command -v dpkg-query >/dev/null; then
    echo "bootstrap: no Debian here; expecting to find: $(echo $packages)" >&2
    exit 0
fi
absent=$(missing $packages)
[ -n "$absent" ] || exit 0

echo "Installing: $(echo $absent)"
# A stale or empty package list is the usual cause of a failure, so it is renewed once.
apt install -y --no-install-recommends $absent 2>/dev/null || {
    apt update
    apt install -y --no-install-recommends $absent ||
        for package in $absent; do apt install -y --no-install-recommends "$package"; done
}
absent=$(missing $absent)
if [ -n "$absent" ]; then
    echo "bootstrap: cannot be installed: $(echo $absent)" >&2
    exit 1
fi
