#!/usr/bin/env bash
# Installs a built QVRoot, moves the tree elsewhere, and builds and runs Tests/Consumer against it.
# Usage: scripts/consume.sh linux|windows cmake|pkg-config
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
target=$1 way=$2
declare -A presets=([linux]=release [windows]=mingw)
work=$PWD/build/consumer/$target-$way
installed=$work/moved

rm -rf "$work"
mkdir -p "$work"
cmake --install "build/${presets[$target]}" --prefix "$work/installed" >/dev/null
mv "$work/installed" "$installed" # an installed tree may lie anywhere

build_with_cmake() {
    local toolchain=()
    [ "$target" = linux ] || toolchain=(-DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/mingw-w64-x86_64.cmake")
    cmake -S Tests/Consumer -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$installed" \
        -DCMAKE_BUILD_TYPE=Release "${toolchain[@]}"
    cmake --build "$work/build"
}

build_with_pkg_config() {
    export PKG_CONFIG_PATH=$installed/lib/pkgconfig
    mkdir "$work/build"
    cc -std=c11 -pedantic -Wall -Wextra -Werror -c Tests/Consumer/blocks.c $(pkg-config --cflags qvroot) \
        -o "$work/build/blocks.o"
    c++ -std=c++20 -Wall -Wextra -Werror Tests/Consumer/main.cpp "$work/build/blocks.o" \
        $(pkg-config --cflags --libs qvroot) -o "$work/build/consumer"
}

if [ "$way" = cmake ]; then
    build_with_cmake
else
    build_with_pkg_config
fi

if [ "$target" = linux ]; then
    LD_LIBRARY_PATH=$installed/lib "$work/build/consumer"
else
    # The DLLs are found in the installed bin folder, which holds all that they need.
    WINEPREFIX=$PWD/build/wine WINEPATH=Z:$installed/bin cmake/wine-run.sh "$work/build/consumer.exe"
fi
