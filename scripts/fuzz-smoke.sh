#!/usr/bin/env bash
# A short, bounded run of every libFuzzer target, for CI and for a quick local check.
#
#   scripts/fuzz-smoke.sh [seconds-per-target] [build-directory]
#
# Configures and builds the `fuzz` preset (clang) into the build directory (default
# build/fuzz), then runs each fuzz_* target for the given number of seconds (default 5).
# Each target starts from its kept corpus, tests/fuzz/corpus/<target>/, when there is one;
# targets that decode records also start from the record bodies in tests/data/records and use
# the key dictionary tests/fuzz/records.dict. Those folders are only read: libFuzzer writes
# new inputs into the first corpus folder it is given, the run's own under the build
# directory, never into the source tree. Exits non-zero on the first crash, leak or
# sanitizer report.
set -euo pipefail

seconds="${1:-5}"
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${2:-$root/build/fuzz}"

cmake --preset fuzz -B "$build" >/dev/null
targets=()
for source in "$root"/tests/fuzz/fuzz_*.cpp; do
    [ -e "$source" ] || continue
    targets+=("$(basename "$source" .cpp)")
done
if [ "${#targets[@]}" -eq 0 ]; then
    echo "no fuzz targets"
    exit 0
fi
cmake --build "$build" --target "${targets[@]}"

for target in "${targets[@]}"; do
    binary="$(find "$build" -type f -name "$target" -perm -u+x | head -n 1)"
    if [ -z "$binary" ]; then
        echo "$target: not built" >&2
        exit 1
    fi
    corpus="$build/fuzz-corpus/$target"
    mkdir -p "$corpus"
    options=(-max_total_time="$seconds" -print_final_stats=1)
    seeds=()
    if [ -d "$root/tests/fuzz/corpus/$target" ]; then
        seeds+=("$root/tests/fuzz/corpus/$target")
    fi
    if grep -q 'RecordFuzzing.h' "$root/tests/fuzz/$target.cpp"; then
        options+=(-dict="$root/tests/fuzz/records.dict")
        seeds+=("$root/tests/data/records")
    fi
    log="$build/fuzz-corpus/$target.log"
    echo "== $target (${seconds}s)"
    status=0
    "$binary" "${options[@]}" "$corpus" "${seeds[@]}" >"$log" 2>&1 || status=$?
    if [ "$status" -ne 0 ]; then
        tail -n 60 "$log" >&2
        echo "$target: failed (exit $status), full log in $log" >&2
        exit 1
    fi
    grep -E '^stat::number_of_executed_units' "$log" || true
done
