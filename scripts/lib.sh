# Shared by the commands; to be sourced. Runs in the root of the tree.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1

jobs=${JOBS:-$(nproc)}
mkdir -p build/logs

heading() { printf '\n== %s  [%dm%02ds]\n' "$1" $((SECONDS / 60)) $((SECONDS % 60)); }

# Condenses ninja's lines to one on a terminal, to one per tenth of the work elsewhere; passes the rest through.
progress() {
    local terminal=0
    [ -t 1 ] && terminal=1
    awk -v terminal=$terminal '
        match($0, /^\[[0-9]+\/[0-9]+\]/) {
            split(substr($0, 2, RLENGTH - 2), step, "/")
            if (terminal) { printf "\r\033[K%.100s", $0; open = 1 }
            else if (int(10 * step[1] / step[2]) > tenth || step[1] == step[2]) {
                tenth = int(10 * step[1] / step[2])
                print "  built " step[1] " of " step[2]
            }
            fflush(); next
        }
        /^ninja: Entering directory|no work to do/ { next }
        { if (open) { print ""; open = 0 } print; fflush() }
        END { if (open) print "" }'
}

# Configures and builds a preset: build_preset PRESET [TARGET...]
build_preset() {
    local preset=$1 log=build/logs/configure-$1.log
    shift
    if ! cmake --preset "$preset" >"$log" 2>&1; then
        cat "$log"
        return 1
    fi
    cmake --build --preset "$preset" --parallel "$jobs" ${1:+--target "$@"} -- -k 0 2>&1 | progress
}

# Wine keeps a server and services of its own for build/wine; they end with the command.
stop_wine() {
    if [ -d build/wine ] && command -v wineserver >/dev/null; then
        WINEPREFIX=$PWD/build/wine wineserver -k 2>/dev/null
    fi
    return 0
}
