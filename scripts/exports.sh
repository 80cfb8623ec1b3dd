#!/usr/bin/env bash
# Prints the names that a built library exports, one a line: C names as they are, C++ names demangled. What a
# compiler adds to a class on its own account is left out: the class stands there by its vtable and type. MinGW
# exports with them the type information of their bases in the standard library.
# Usage: scripts/exports.sh libQVRoot.so | QVRoot.dll
set -euo pipefail
export LC_ALL=C
case "$1" in
*.dll) x86_64-w64-mingw32-objdump -p "$1" | sed -n '/^\[Ordinal\/Name Pointer\] Table/,/^$/s/^\t\[ *[0-9]*\].* \([^ ]*\)$/\1/p' ;;
*) nm -D --defined-only "$1" | sed 's/.* //; s/@.*//' ;;
esac | c++filt | sort -u |
    grep -vE '^(construction vtable|typeinfo name|VTT) for |^(non-virtual|virtual|covariant return) thunk to |^typeinfo for std::'
