#!/usr/bin/env bash
# Builds the library for both targets and writes what it exports to exports/*.txt: a change of the interface.
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
scripts/bootstrap.sh native windows || exit 1
build_preset release QVRoot && build_preset mingw QVRoot || exit 1
scripts/exports.sh build/release/bin/libQVRoot.so >exports/linux.txt || exit 1
scripts/exports.sh build/mingw/bin/QVRoot.dll >exports/windows.txt || exit 1
git --no-pager diff --stat -- exports
