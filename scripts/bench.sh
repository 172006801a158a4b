#!/usr/bin/env bash
# Builds the win64 tree and times the version send against a program that does nothing, under Wine.
# Usage: scripts/bench.sh [BUILD_DIR] [RUNS]    (defaults: build/win64, 20)
# Xvfb has no window manager, and Wine waits 2 s for one each time a managed window (the non-standard box)
# is hidden. For the run, UpdateWatch.exe's windows are made unmanaged in that prefix so that the figures
# are the program's; BENCH_KEEP_MANAGED=1 measures with the wait.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$root/build/win64}"
runs="${2:-20}"
cd "$root"
[ -f "$build/CMakeCache.txt" ] || cmake --preset win64 -B "$build"
cmake --build "$build" -j2 --target send_bench
source scripts/wine-session.sh "$build"

app_key='HKCU\Software\Wine\AppDefaults\UpdateWatch.exe'
bench_stop() {
    "$WINE64" reg delete "$app_key" /f >/dev/null 2>&1 || true
    wine_session_stop
}
trap bench_stop EXIT
if [ "${BENCH_KEEP_MANAGED:-0}" != 1 ]; then
    "$WINE64" reg add "$app_key\\X11 Driver" /v Managed /d N /f >/dev/null
fi
scripts/wine-run "$build/bin/send_bench.exe" "$runs"
