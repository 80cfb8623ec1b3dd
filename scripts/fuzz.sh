#!/usr/bin/env bash
# Fuzzes one target: scripts/fuzz.sh NAME SECONDS      (Fuzz/NAMEFuzz.cpp; with no name, lists the targets)
# Inputs found go to build/fuzz/found/NAME, a crashing one to build/fuzz/crashes. Copy those worth keeping to
# Fuzz/corpus/NAME, where every test run replays them; scripts/fuzz.sh NAME minimize adds those that reach code
# that the saved ones do not.
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

if [ $# -ne 2 ]; then
    sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"
    find Fuzz -name '*Fuzz.cpp' -printf '  %f\n' | sed 's/Fuzz\.cpp$//' | sort
    exit 2
fi
name=$1
scripts/bootstrap.sh native fuzz || exit 1
build_preset fuzz "${name}Fuzz" || exit 1

found=build/fuzz/found/$name
saved=Fuzz/corpus/$name
mkdir -p "$found" build/fuzz/crashes "$saved"
export ASAN_OPTIONS=allocator_may_return_null=1 UBSAN_OPTIONS=print_stacktrace=1
if [ "$2" = minimize ]; then
    build/fuzz/bin/"${name}Fuzz" -merge=1 "$saved" "$found"
else
    build/fuzz/bin/"${name}Fuzz" -max_total_time="$2" -max_len=4096 -print_final_stats=1 \
        -artifact_prefix=build/fuzz/crashes/"$name"- "$found" "$saved"
fi
