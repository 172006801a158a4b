#!/usr/bin/env bash
# The cost of a silent version check against its floor, under Wine.
#   scripts/bench.sh [RUNS [EXE...]]  "UpdateWatch.exe -s -v PagesTotal=1" against check_floor.exe, which only
#                                   gets the same URL with WinINet; RUNS of each, alternating (default 30). With
#                                   EXE (paths of UpdateWatch.exe builds, each with its nimbra.vrc beside it),
#                                   those are timed instead, in turn with the floor, to compare builds.
#   scripts/bench.sh send [RUNS]    the version send against a program that does nothing (default 20)
#   scripts/bench.sh download [RUNS]  a 50 MB installer's download over https from loopback through the program's
#                                   own download against check_floor.exe writing the same URL to a file (default 10)
# The check goes to the standard host through uwserver as WinINet's HTTP proxy, so it shows no box, and runs
# without a display. Both run in one Wine session in a prefix of the benchmark's own (build/win64/bench-prefix).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
jobs="${ORN_JOBS:-2}"
build="$root/build/win64"
out="$root/build/bench"

if [ "${1:-}" = "send" ]; then
    cmake --preset win64 >/dev/null
    cmake --build "$build" -j "$jobs" --target send_bench
    # Xvfb has no window manager, and Wine waits 2 s for one each time a managed window (the non-standard box)
    # is hidden: the program's windows are made unmanaged for the run, so that the figures are the program's.
    export WINEPREFIX="$build/bench-prefix"
    source scripts/wine-session.sh "$build"
    app_key='HKCU\Software\Wine\AppDefaults\UpdateWatch.exe'
    "$WINE64" reg add "$app_key\\X11 Driver" /v Managed /d N /f >/dev/null
    scripts/wine-run "$build/bin/send_bench.exe" "${2:-20}"
    exit $?
fi
if [ "${1:-}" = "download" ]; then
    cmake --preset win64 >/dev/null
    cmake --build "$build" -j "$jobs" --target download_bench
    export WINEPREFIX="$build/bench-prefix"
    source scripts/wine-session.sh "$build" --no-display
    mkdir -p "$out/files"
    file="$out/files/installer.bin"
    [ "$(stat -c %s "$file" 2>/dev/null)" = 52428800 ] || head -c 52428800 /dev/urandom >"$file"
    sha="$(sha256sum "$file" | cut -d' ' -f1)"
    # The URL needs the server's port, which only the command that https_servers.py starts knows.
    python3 tests/e2e/https_servers.py tests/e2e/tls --files "$out/files" bash -c \
        'port="${ORN_HTTPS_PORTS#good=}"; exec scripts/wine-run "$0" "$1" "https://localhost:${port%%,*}/files/ok/installer.bin" "$2" "$3"' \
        "$build/bin/download_bench.exe" "${2:-10}" 52428800 "$sha"
    exit $?
fi
runs="${1:-30}"
others=()
for exe in "${@:2}"; do
    others+=("Z:$(realpath "$exe" | tr / '\\')")
done

cmake --preset native >/dev/null
cmake --build --preset native -j "$jobs" --target uwserver
cmake --preset win64 >/dev/null
cmake --build "$build" -j "$jobs" --target check_bench

export WINEPREFIX="$build/bench-prefix"
source scripts/wine-session.sh "$build" --no-display
mkdir -p "$out"
source scripts/uwserver-session.sh "$root/bench/server" "$out"
export http_proxy="http://127.0.0.1:$uwserver_port"

# Settings left by anything else would change the check.
"$WINE64" reg delete 'HKCU\SOFTWARE\Vantrel' /f >/dev/null 2>&1 || true
"$WINE64" reg delete 'HKLM\SOFTWARE\Vantrel' /f >/dev/null 2>&1 || true
# The floor gets the URL the program sends, as a verbose check logs it.
"$WINE64" "$build/bin/UpdateWatch.exe" -s -verbose -v "PagesTotal=1" || true
log="$WINEPREFIX/drive_c/users/$(whoami)/Temp/Nimbra Version Check.log"
url="$(tr -d '\r' <"$log" | sed -n 's/^[[:space:]]*URL = "\(.*\)"\.$/\1/p' | head -1)"
[ -n "$url" ] || { echo "no URL in $log" >&2; exit 1; }
echo "URL: $url"
"$WINE64" "$build/bin/check_bench.exe" "$runs" "$url" "${others[@]}"
