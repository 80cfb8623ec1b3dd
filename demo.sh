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
build_preset $preset Tour qvlog || exit 1
logs=build/demo-log
rm -rf "$logs"
mkdir -p "$logs"
run() {
    if [ $preset = release ]; then
        "build/release/bin/$@"
    else
        WINEPREFIX=$PWD/build/wine cmake/wine-run.sh "build/mingw/bin/$1.exe" "${@:2}"
    fi
}
run Tour --log "$drive$PWD/$logs" "${files[@]}"
status=$?

# The run has logged itself; those of its processes come together here.
written=("$logs"/*.qvlog)
if [ -e "${written[0]}" ]; then
    echo
    echo "the end of the log that the tour wrote, from ${#written[@]} files"
    shown=("${written[@]/#/$drive$PWD/}")
    run qvlog show --level info --format "{clock} [{process}] {category}: {text}" "${shown[@]}" | tail -n 8
    run qvlog report -o "$drive$PWD/$logs/report.html" --title "The tour" "${shown[@]}" &&
        echo "the whole of it for a browser: $logs/report.html"
fi
exit $status
