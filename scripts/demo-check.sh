#!/usr/bin/env bash
# A real version check, offline: builds uwserver and UpdateWatch.exe, serves examples/server on a free loopback
# port, and runs UpdateWatch.exe -v under Wine with that server as its HTTP proxy, so the request goes out for
# the standard host and the check stays a standard one. With DISPLAY set the reply dialog waits for you;
# without, it runs under Xvfb, a PNG of the dialog is saved and the dialog is answered. Then it prints the log,
# the reply stored under UWResult, the server's record and the exit code, which is also this script's.
# The check runs in a Wine prefix of its own (build/win64/demo-prefix), which looks like a machine where Nimbra
# is installed (scripts/install-product.sh); its files go to build/demo.
set -uo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
jobs="${ORN_JOBS:-2}"
out="$root/build/demo"
app_vars="PagesTotal=12 EqTotal=3 MenuTotal=5"
result_key='HKCU\SOFTWARE\Vantrel\VRNB3\UWResult'

{ cmake --preset native >/dev/null && cmake --build --preset native -j "$jobs" --target uwserver &&
    cmake --preset win64 >/dev/null && cmake --build --preset win64 -j "$jobs" --target UpdateWatch nimbra_config; } ||
    exit 1

headless=1
[ -n "${DISPLAY:-}" ] && headless=0
export WINEPREFIX="$root/build/win64/demo-prefix"
source "$root/scripts/wine-session.sh" "$root/build/win64" --keep-display
"$root/scripts/install-product.sh"

mkdir -p "$out"
rm -f "$out/dialog.png"
source scripts/uwserver-session.sh "$root/examples/server" "$out"
echo "== uwserver serves examples/server on 127.0.0.1:$uwserver_port"

# Only what this check stores is shown afterwards.
"$WINE64" reg delete "$result_key" /f >/dev/null 2>&1
http_proxy="http://127.0.0.1:$uwserver_port" "$WINE64" "$root/build/win64/bin/UpdateWatch.exe" -s -verbose -v "$app_vars" &
app=$!

# Headless: the first window the program shows is photographed and answered with the keyboard. For the
# examples' update dialog the keys tick its checkbox and close it, which means "Later".
if [ "$headless" = 1 ]; then
    window=""
    for _ in $(seq 1 300); do
        window="$(xdotool search --onlyvisible --classname 'updatewatch.exe' 2>/dev/null | head -1)"
        [ -n "$window" ] || ! kill -0 "$app" 2>/dev/null && break
        sleep 0.1
    done
    if [ -n "$window" ]; then
        title="$(xdotool getwindowname "$window")"
        [ "$title" = "Version Check" ] && echo "!! the check is not a standard one: the program showed its box" >&2
        import -window "$window" "$out/dialog.png"
        xdotool windowfocus --sync "$window" key --delay 100 shift+Tab space Escape
        echo "== Dialog \"$title\" answered; screenshot: $out/dialog.png"
    fi
fi
wait "$app"
code=$?

log="$WINEPREFIX/drive_c/users/$(whoami)/Temp/Nimbra Version Check.log"
echo "== Log: $log"
[ -f "$log" ] && cat "$log"
echo "== Stored reply: $result_key"
"$WINE64" reg query "$result_key" 2>/dev/null | tr -d '\r' | grep -E '^ +[^ ]'
echo "== Requests uwserver recorded: $out/requests.jsonl"
cat "$out/requests.jsonl"
echo "UpdateWatch.exe exit code: $code"
exit "$code"
