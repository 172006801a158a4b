#!/usr/bin/env bash
# uwserver report on one million record lines: builds uwserver as a Release build of the host tools
# (build/bench-release), makes synthetic records once (build/bench-records) and prints time and peak memory.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="$root/build/bench-release"
cmake -S "$root/tools/host" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DORN_HOST_UWSERVER=ON >/dev/null
cmake --build "$build" --target uwserver -j "${ORN_JOBS:-2}" >/dev/null
python3 "$root/bench/report_bench.py" "$build/bin/uwserver" "$root/build/bench-records"
