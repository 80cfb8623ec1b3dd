#!/usr/bin/env bash
# Compares a library's exports with the list that is kept for its target, and its C names with exports/c-names.txt.
# Usage: scripts/compare-exports.sh LIBRARY LIST
set -euo pipefail
export LC_ALL=C
scripts=$(dirname "${BASH_SOURCE[0]}")
found=$(mktemp)
trap 'rm -f "$found"' EXIT
"$scripts/exports.sh" "$1" >"$found"
status=0

if ! cmp -s "$2" "$found"; then
    echo "$1 differs from $2:"
    comm -23 "$2" "$found" | sed 's/^/  gone: /'
    comm -13 "$2" "$found" | sed 's/^/  new:  /'
    echo "If that is meant, run scripts/update-exports.sh and commit the lists."
    status=1
fi
if ! names=$(diff "$scripts/../exports/c-names.txt" <(grep -E '^(BM|QV_)[A-Za-z_]*$' "$found")); then
    echo "$1 does not export the C names of exports/c-names.txt:"
    echo "$names" | sed -n 's/^</  gone: /p; s/^>/  new:  /p'
    status=1
fi
exit $status
