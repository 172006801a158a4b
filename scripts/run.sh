#!/usr/bin/env bash
# Builds UpdateWatch.exe and runs it under Wine with the given arguments (default: a silent version check),
# then prints its exit code and the log it wrote.
set -uo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
"$root/scripts/setup.sh" || exit 1
cmake --preset win64 >/dev/null && cmake --build --preset win64 -j "${ORN_JOBS:-2}" || exit 1
source "$root/scripts/wine-session.sh" "$root/build/win64"

[ $# -gt 0 ] || set -- -s -verbose -v "PagesTotal=1"
"$WINE64" "$root/build/win64/bin/UpdateWatch.exe" "$@"
code=$?
log="$WINEPREFIX/drive_c/users/$(whoami)/Temp/Nimbra Version Check.log"
if [ -f "$log" ]; then
    echo "== $log"
    cat "$log"
fi
echo "UpdateWatch.exe exit code: $code"
exit 0
