#!/usr/bin/env bash
# Measures the library against its peers: ./bench.sh [--quick] [PROGRAM ...]
# Writes the tables into docs/performance.md. --quick measures too briefly to be kept, and a choice of programs
# (Benchmarks/**/PROGRAM.cpp) is not the whole: both only print. Needs nothing but Debian 12: what is missing is
# installed first.
source "$(dirname "${BASH_SOURCE[0]}")/scripts/lib.sh"

keep=yes
measure=(--benchmark_repetitions=5 --benchmark_min_time=0.1)
if [ "${1:-}" = --quick ]; then
    keep=no
    measure=(--benchmark_repetitions=3 --benchmark_min_time=0.01)
    shift
fi

scripts/bootstrap.sh native bench || exit 1
scripts/bootstrap.sh peers || echo "The columns of the missing peers are left out."
heading "build"
build_preset bench || exit 1

if [ $# -gt 0 ]; then
    keep=no
    programs=("$@")
else
    mapfile -t programs < <(find Benchmarks -name '*Benchmark.cpp' -printf '%f\n' | sed 's/\.cpp$//' | sort)
fi
results=build/bench/results
rm -rf "$results"
mkdir -p "$results"
status=0
for program in "${programs[@]}"; do
    heading "$program"
    build/bench/bin/"$program" "${measure[@]}" --benchmark_report_aggregates_only \
        --benchmark_enable_random_interleaving=true \
        --benchmark_out="$results/$program.json" --benchmark_out_format=json 2>&1 |
        grep --line-buffered -vE '_(mean|stddev|cv) '
    if [ "${PIPESTATUS[0]}" != 0 ]; then
        echo "FAILED $program"
        rm -f "$results/$program.json"
        status=1
    fi
done

heading "tables"
if [ $keep = yes ] && [ $status = 0 ]; then
    scripts/performance.py "$results" docs/performance.md && echo "docs/performance.md is renewed."
else
    scripts/performance.py "$results"
fi
exit $status
