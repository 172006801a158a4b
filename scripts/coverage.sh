#!/usr/bin/env bash
# Line and branch coverage of the product by the tests of the test command, from gcc's --coverage counters:
# natively (portable framework, the program's portable part, the tools) and under Wine (the framework's
# Windows halves and the program), each in a build tree of its own. The fuzz run is left out: its inputs
# differ from run to run.
#   scripts/coverage.sh                 both builds, then the table per area
#   scripts/coverage.sh native          one build (native or win64), then the table from what is there
# Results: build/coverage/{native,win64}.json (gcovr), build/coverage/summary.txt, and an HTML page per build.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
"$root/scripts/setup.sh"
out="$root/build/coverage"
mkdir -p "$out"
jobs="${ORN_JOBS:-2}"
[ $# -gt 0 ] || set -- native win64

# gcovr over one build tree's counters; only the product's sources count. The Wine prefix's drive Z: is the
# whole file system, so gcovr is kept out of it.
collect() {
    local tree="$1" name="$2" gcov="$3"
    gcovr --root "$root" --object-directory "$tree" --gcov-executable "$gcov" \
        --filter "$root/framework/" --filter "$root/app/" --filter "$root/tools/" \
        --exclude-directories '.*/CMakeFiles/[0-9.]+/.*' --exclude-directories '.*/wineprefix/.*' \
        --exclude-unreachable-branches --exclude-throw-branches \
        --json "$out/$name.json" --html-details "$out/$name.html" "$tree" >/dev/null
}

run_native() {
    local tree="$root/build/native-coverage"
    cmake --preset native-coverage >/dev/null
    cmake --build --preset native-coverage -j "$jobs"
    find "$tree" -name '*.gcda' -delete
    ctest --preset native-coverage || failed=1
    collect "$tree" native gcov
}

run_win64() {
    local tree="$root/build/win64-coverage"
    cmake --preset win64-coverage >/dev/null
    cmake --build --preset win64-coverage -j "$jobs"
    find "$tree" -name '*.gcda' -delete
    # The programs write their counters at exit to the absolute Unix paths of their objects, which Wine
    # finds on drive Z: as long as the current directory is there (a subshell: the session stops with it).
    (
        source "$root/scripts/wine-session.sh" "$tree"
        ctest --preset win64-coverage
    ) || failed=1
    collect "$tree" win64 x86_64-w64-mingw32-gcov
}

failed=0
for b in "$@"; do
    case "$b" in
        native) run_native ;;
        win64) run_win64 ;;
        *) echo "unknown build: $b (native or win64)" >&2; exit 2 ;;
    esac
done
python3 "$root/scripts/coverage-summary.py" "$root" "$out" | tee "$out/summary.txt"
[ "$failed" -eq 0 ] || { echo "some tests failed: the figures miss what they did not reach" >&2; exit 1; }
