#!/usr/bin/env bash
# Shows a reply script's dialogs as the real program draws them, for authors who want to see them before release:
# serves the script with uwserver, runs UpdateWatch.exe's version check against it under Wine on a display of
# its own (Xvfb), saves a PNG of each dialog, prints its texts as Windows shows them, and answers it.
# Usage: scripts/preview.sh SCRIPT [--press TEXT | --cancel]... [--checkbox on|off]... -o OUT.png [--no-build]
#   The first answer and checkbox state go to the first dialog, and so on; a dialog without an answer is closed
#   (Esc), a checkbox without a state left as it opened. The first dialog's PNG is OUT.png, the second's
#   OUT-2.png... The machine looks like one where Nimbra 3.1 is installed (BUILD/preview-prefix). BUILD is the
#   x86-64 build tree, PREVIEW_BUILD_DIR or build/win64; --no-build takes its programs as they are.
# Exit status: 0 the check ran to its end, 1 it did not (the server refused the script, or the program failed),
# 2 a wrong command line.
set -uo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
usage() {
    sed -n 's/^# Usage: //p' "$0" >&2
    exit 2
}

script="" out="" build=1 answers=() boxes=()
while [ $# -gt 0 ]; do
    case "$1" in
    --press) [ $# -ge 2 ] || usage; answers+=("--press	$2"); shift ;;
    --cancel) answers+=("--cancel") ;;
    --checkbox) [ "${2:-}" = on ] || [ "${2:-}" = off ] || usage; boxes+=("$2"); shift ;;
    -o) [ $# -ge 2 ] || usage; out="$2"; shift ;;
    --no-build) build=0 ;;
    -*) usage ;;
    *) [ -z "$script" ] || usage; script="$1" ;;
    esac
    shift
done
[ -n "$script" ] && [ -n "$out" ] && [ -f "$script" ] || usage
script="$(cd "$(dirname "$script")" && pwd)/$(basename "$script")"
mkdir -p "$(dirname "$out")"
out="$(cd "$(dirname "$out")" && pwd)/$(basename "$out" .png)"

cd "$root"
tree="${PREVIEW_BUILD_DIR:-$root/build/win64}"
if [ "$build" = 1 ]; then
    { cmake --preset win64 >/dev/null &&
        cmake --build --preset win64 -j "${ORN_JOBS:-2}" --target UpdateWatch nimbra_config previewdlg host_tools; } >&2 ||
        exit 1
fi
bin="$tree/bin"
work="$(mktemp -d)"
mkdir "$work/server"
name="$(basename "$script")"
[ "$name" != rules.txt ] || name=reply.txt
cp "$script" "$work/server/$name"
echo "otherwise -> $name" >"$work/server/rules.txt"
# What uwserver says about the copy is said about the author's file.
exec 2> >(sed -u "s|$work/server/$name|$script|g" >&2)

export WINEPREFIX="$tree/preview-prefix"
source "$root/scripts/wine-session.sh" "$tree"
"$root/scripts/install-product.sh"
UWSERVER="$tree/host/bin/uwserver" source "$root/scripts/uwserver-session.sh" "$work/server" "$work"
trap 'uwserver_session_stop; rm -rf "$work"' EXIT

# Through the server as the machine's HTTP proxy the check is a standard one, as on a user's machine.
http_proxy="http://127.0.0.1:$uwserver_port" "$WINE64" "$bin/UpdateWatch.exe" -s -v "PagesTotal=12" &
app=$!
for ((n = 1; ; n++)); do
    shown="$(LC_ALL=C.UTF-8 "$WINE64" "$bin/previewdlg.exe" wait 60 | tr -d '\r')" && found=1 || found=0
    grep '^box ' <<<"$shown"
    [ "$found" = 1 ] || { [ "$n" -gt 1 ] || echo "no dialog"; break; }
    png="$out.png"
    [ "$n" = 1 ] || png="$out-$n.png"
    window="$(xdotool search --onlyvisible --classname 'updatewatch.exe' 2>/dev/null | head -1)"
    sleep 0.5
    [ -n "$window" ] && import -window "$window" "$png"
    grep -v '^box ' <<<"$shown"
    echo "  saved $png"
    answer=(--cancel)
    [ "$n" -gt "${#answers[@]}" ] || IFS=$'\t' read -r -a answer <<<"${answers[$((n - 1))]}"
    box=()
    [ "$n" -gt "${#boxes[@]}" ] || box=(--checkbox "${boxes[$((n - 1))]}")
    LC_ALL=C.UTF-8 "$WINE64" "$bin/previewdlg.exe" answer "${answer[@]}" "${box[@]}" || kill "$app" 2>/dev/null
done
# A program that shows no further dialog within the waiting time is not waited for.
kill "$app" 2>/dev/null
wait "$app"
code=$?
# What the program logged of the dialogs and of any script error, in the author's UTF-8.
log="$WINEPREFIX/drive_c/users/$(whoami)/Temp/Nimbra Version Check.log"
[ -f "$log" ] && iconv -f CP1252 -t UTF-8 "$log" | tr -d '\r' | grep -E '^(Reply dialog|Script error)'
echo "UpdateWatch.exe exit code: $code"
[ "$code" = 0 ]
