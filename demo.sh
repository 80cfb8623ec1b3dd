#!/usr/bin/env bash
# Builds the library and runs its tour: ./demo.sh [--windows] [FILE or FOLDER ...]
# Files and folders named are read by the tour in place of its own samples; options such as --code-page 1251 go
# before the files that they are meant for (build/release/bin/Tour --help). --windows runs the tour against the
# DLL, through Wine. Needs nothing but Debian 12: what is missing is installed first.
preset=release
groups=(native)
drive=
if [ "${1:-}" = --windows ]; then
    preset=mingw
    groups+=(windows)
    drive=Z: # where Wine shows the whole file system
    shift
fi
files=()
for file in "$@"; do
    [ -e "$file" ] && file=$drive$(realpath -- "$file") # the rest are options and their values
    files+=("$file")
done

source "$(dirname "${BASH_SOURCE[0]}")/scripts/lib.sh"
scripts/bootstrap.sh "${groups[@]}" || exit 1
trap stop_wine EXIT
build_preset $preset Tour || exit 1
if [ $preset = release ]; then
    build/release/bin/Tour "${files[@]}"
else
    WINEPREFIX=$PWD/build/wine cmake/wine-run.sh build/mingw/bin/Tour.exe "${files[@]}"
fi
