#!/usr/bin/env bash
# Runs the tests: ./test.sh [native|asan|tsan|windows|install]...      (nothing named: all of them)
#   native   the optimized Linux library, once per memory back end; every public header alone
#   asan     the same tests under the address and undefined-behaviour sanitizers
#   tsan     the tests with threads under the thread sanitizer
#   windows  the same tests against the DLL, through Wine
#   install  the installed library used from outside, and the lists of exported names, on both targets
# Needs nothing but Debian 12: what is missing is installed first. A suite whose packages cannot be had is left
# out and named at the end; with CI=true that is a failure. The last line is "N passed, N failed".
# GTEST_FILTER is not passed on; run the programs in build/PRESET/bin for a part of the cases.
source "$(dirname "${BASH_SOURCE[0]}")/scripts/lib.sh"

passed=0
failed=0
failures=()
left_out=()

fail() {
    failed=$((failed + 1))
    failures+=("$1")
}

# One thing that either holds or does not: check TITLE COMMAND...
check() {
    local title=$1 log=build/logs/check.log
    shift
    if "$@" >"$log" 2>&1; then
        passed=$((passed + 1))
        echo "  ok: $title"
    else
        fail "$title"
        echo "  FAILED: $title"
        sed 's/^/    /' "$log"
    fi
}

# Whether the suite's packages are there: need SUITE GROUP...
need() {
    local suite=$1
    shift
    scripts/bootstrap.sh "$@" && return
    left_out+=("$suite")
    echo "The suite $suite is left out: its packages cannot be installed."
    return 1
}

# Configures, builds and runs a preset's tests, and adds up their cases: run_tests PRESET [LAUNCHER...]
run_tests() {
    local preset=$1 junit=$PWD/build/$1/junit.xml counts
    shift
    heading "build $preset"
    if ! build_preset "$preset"; then
        fail "$preset: does not build"
        return 1
    fi
    heading "test $preset"
    rm -rf "build/$preset/results" "$junit"
    # Of a program that fails, what its passing cases print is left out.
    "$@" ctest --preset "$preset" --parallel "$jobs" --output-junit "$junit" \
        --test-output-size-failed 4000000 2>&1 |
        grep --line-buffered -vE '^\[ +(RUN|OK) +\]|^\[-+\]|^$|^Label Time|sec\*proc'
    if ! counts=$(scripts/count_results.py "$junit" "build/$preset/results") || [ "$counts" = "0 0" ]; then
        fail "$preset: the tests left no results"
        return 1
    fi
    sed '$d' <<<"$counts"
    while read -r name; do failures+=("$preset: ${name#FAILED }"); done < <(sed '$d; s/^ *//' <<<"$counts")
    read -r good bad <<<"${counts##*$'\n'}"
    passed=$((passed + good))
    failed=$((failed + bad))
    echo "$preset: $good passed, $bad failed"
}

suite_native() {
    need native native tests || return
    need "native: a log's report in a browser" browser
    # The build compiles every public header alone, so it counts as a check of its own.
    run_tests release && check "every public header compiles alone" cmake --build --preset release
}

suite_asan() { need asan native tests && run_tests asan; }

suite_tsan() {
    need tsan native tests || return
    # The sanitizer's run time wants its address ranges free, which much address randomization denies it.
    local launcher=()
    setarch "$(uname -m)" -R true 2>/dev/null && launcher=(setarch "$(uname -m)" -R)
    run_tests tsan "${launcher[@]}"
}

suite_windows() { need windows native tests windows && run_tests mingw; }

suite_install() {
    need install native tests windows || return
    heading "install"
    build_preset release installable || { fail "install: the library does not build"; return; }
    build_preset mingw installable || { fail "install: the DLL does not build"; return; }
    check "Linux: the exported names are the listed ones" \
        scripts/compare-exports.sh build/release/bin/libQVRoot.so exports/linux.txt
    check "Windows: the exported names are the listed ones" \
        scripts/compare-exports.sh build/mingw/bin/QVRoot.dll exports/windows.txt
    check "Linux: an installed tree is found by CMake and used" scripts/consume.sh linux cmake
    check "Linux: an installed tree is found by pkg-config and used" scripts/consume.sh linux pkg-config
    check "Windows: an installed tree is found by CMake and used" scripts/consume.sh windows cmake
}

suites=("$@")
[ $# -gt 0 ] || suites=(native asan tsan windows install)
for suite in "${suites[@]}"; do
    if ! declare -F "suite_$suite" >/dev/null; then
        sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"
        exit 2
    fi
done
trap stop_wine EXIT
for suite in "${suites[@]}"; do "suite_$suite"; done

heading "result"
for name in "${failures[@]}"; do echo "FAILED $name"; done
for suite in "${left_out[@]}"; do
    echo "LEFT OUT $suite: its packages cannot be installed"
    [ "${CI:-}" != true ] || failed=$((failed + 1))
done
echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
