#!/usr/bin/env bash
# Installs what is missing, builds every preset and runs every test: native (sanitized), fuzz (bounded),
# the 32-bit shipped build's checks, the x86-64 Windows build's unit and end-to-end tests under Wine, and the
# main-job command without a display.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
"$root/scripts/setup.sh"

jobs="${ORN_JOBS:-2}"
build() {
    cmake --preset "$1" >/dev/null
    cmake --build --preset "$1" -j "$jobs"
}

echo "== native: build and unit tests"
build native
ctest --preset native

if [ -x "$root/scripts/fuzz.sh" ]; then
    echo "== fuzz: bounded run"
    "$root/scripts/fuzz.sh"
fi

echo "== win32: the shipped program"
build win32
ctest --preset win32

echo "== win64: unit and end-to-end tests under Wine"
build win64
# Before this run's Wine session: the main-job command starts and stops a session of its own.
echo "== the main-job command, without a display"
"$root/tests/demo/check-main-job.sh"
source "$root/scripts/wine-session.sh" "$root/build/win64"
ctest --preset win64
