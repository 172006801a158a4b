#!/usr/bin/env bash
# Installs what is missing, builds every preset and runs every test: native (sanitized), fuzz (bounded),
# the 32-bit shipped build's checks, and the x86-64 Windows build's unit and end-to-end tests under Wine.
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
source "$root/scripts/wine-session.sh" "$root/build/win64"
ctest --preset win64
