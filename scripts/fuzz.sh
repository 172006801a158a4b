#!/usr/bin/env bash
# Builds the fuzz preset and runs the reply-script fuzzer for a bounded time on a copy of its seed corpus.
# FUZZ_SECONDS (default 60) sets the time, FUZZ_BUILD_DIR the build tree; further arguments go to libFuzzer.
# Exits non-zero when the fuzzer finds a crash, a leak or a hang.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${FUZZ_BUILD_DIR:-$root/build/fuzz}"
seconds="${FUZZ_SECONDS:-60}"
jobs="${ORN_JOBS:-2}"

cd "$root"
mkdir -p "$build"
build="$(cd "$build" && pwd)"
cmake --preset fuzz -B "$build" >/dev/null
cmake --build "$build" -j "$jobs" --target version_script_fuzz

# The fuzzer adds what it finds to its corpus directory; the seeds in the tree stay as they are.
corpus="$build/corpus/version_script"
rm -rf "$corpus"
mkdir -p "$corpus"
cp "$root"/tests/fuzz/corpus/* "$corpus"/

log="$build/version_script_fuzz.log"
status=0
(cd "$build" && "$build/bin/version_script_fuzz" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
    -print_final_stats=1 "$@" "$corpus") >"$log" 2>&1 || status=$?

runs="$(grep -Eo 'Done [0-9]+ runs' "$log" | tail -1 || true)"
echo "version_script_fuzz: ${runs:-no final count} in ${seconds} s (log: $log)"
grep -E '^stat::number_of_executed_units|^cov:|#[0-9]+ *DONE' "$log" | tail -3 || true
if [ "$status" -ne 0 ]; then
    echo "version_script_fuzz failed with status $status; crash inputs are in $build" >&2
    tail -40 "$log" >&2
    exit "$status"
fi
