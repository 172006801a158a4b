#!/usr/bin/env bash
# The program's main job. Without arguments: a real version check against the local version server (see
# scripts/demo-check.sh). With arguments: builds UpdateWatch.exe, runs it under Wine with them, then prints the
# log it wrote and its exit code, which is also this script's.
set -uo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
"$root/scripts/setup.sh" || exit 1
[ $# -gt 0 ] || exec "$root/scripts/demo-check.sh"

cmake --preset win64 >/dev/null || exit 1
cmake --build --preset win64 -j "${ORN_JOBS:-2}" --target UpdateWatch nimbra_config || exit 1
source "$root/scripts/wine-session.sh" "$root/build/win64"
"$WINE64" "$root/build/win64/bin/UpdateWatch.exe" "$@"
code=$?
log="$WINEPREFIX/drive_c/users/$(whoami)/Temp/Nimbra Version Check.log"
if [ -f "$log" ]; then
    echo "== $log"
    cat "$log"
fi
echo "UpdateWatch.exe exit code: $code"
exit "$code"
