#!/usr/bin/env bash
# Builds the fuzz preset and runs fuzz targets, each for a bounded time on a copy of its seed corpus
# (tests/fuzz/corpus/<name>, the target's name without "_fuzz").
#   scripts/fuzz.sh                 every target
#   scripts/fuzz.sh json vrc_text   the named ones ("json" or "json_fuzz")
# FUZZ_SECONDS (default 15) is each target's time, FUZZ_BUILD_DIR the build tree; libFuzzer options can be
# added in FUZZ_ARGS. A hang (over 2 s), an exhaustion (over 512 MB), a crash or a leak fails the run.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${FUZZ_BUILD_DIR:-$root/build/fuzz}"
seconds="${FUZZ_SECONDS:-15}"
jobs="${ORN_JOBS:-2}"

all=(version_script vrc vrc_text query registry_file format unescape version_time json signed_reply reply_page rules
     record request redirect)
names=("${@:-${all[@]}}")

# ASan's quarantine of freed memory would otherwise count against the fuzzer's memory limit.
export ASAN_OPTIONS="${ASAN_OPTIONS:-quarantine_size_mb=64}"

cd "$root"
mkdir -p "$build"
build="$(cd "$build" && pwd)"
cmake --preset fuzz -B "$build" >/dev/null
targets=()
for name in "${names[@]}"; do
    targets+=("${name%_fuzz}_fuzz")
done
cmake --build "$build" -j "$jobs" --target "${targets[@]}"

failed=0
for name in "${names[@]}"; do
    name="${name%_fuzz}"
    seeds="$root/tests/fuzz/corpus/$name"
    [ -d "$seeds" ] || { echo "no seed corpus for $name" >&2; exit 2; }
    # The fuzzer adds what it finds to its corpus directory; the seeds in the tree stay as they are.
    corpus="$build/corpus/$name"
    rm -rf "$corpus"
    mkdir -p "$corpus"
    cp "$seeds"/* "$corpus"/
    log="$build/${name}_fuzz.log"
    status=0
    # shellcheck disable=SC2086
    (cd "$build" && "$build/bin/${name}_fuzz" -max_total_time="$seconds" -timeout=2 -rss_limit_mb=512 \
        -print_final_stats=1 ${FUZZ_ARGS:-} "$corpus") >"$log" 2>&1 || status=$?
    runs="$(grep -Eo 'Done [0-9]+ runs' "$log" | tail -1 || true)"
    cov="$(grep -Eo 'cov: [0-9]+ ft: [0-9]+' "$log" | tail -1 || true)"
    echo "${name}_fuzz: ${runs:-no final count} in ${seconds} s, ${cov:-no coverage line} (log: $log)"
    if [ "$status" -ne 0 ]; then
        echo "${name}_fuzz failed with status $status; the input is in $build" >&2
        tail -30 "$log" >&2
        failed=1
    fi
done
exit "$failed"
