#!/usr/bin/env bash
# The report's HTML page in a real browser: headless Chromium loads the page made from a synthetic record and
# takes a screenshot, whose charts must show their first five colours over at least about half the pixels they
# cover when every chart renders (the record is the same every run; the bars of the totals alone cover far
# less). Usage: report-browser.sh UWSERVER [KEEP.png]
set -euo pipefail
uwserver="$1"
keep="${2:-}"
root="$(cd "$(dirname "$0")/../.." && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

python3 "$root/bench/make_record.py" 5000 600 7 "$work/record"
"$uwserver" report "$work/record" --html "$work/report.html" >/dev/null
sandbox=()
[ "$(id -u)" -eq 0 ] && sandbox=(--no-sandbox)
timeout 120 chromium --headless "${sandbox[@]}" --disable-gpu --no-first-run --disable-background-networking \
    --disable-component-update --disable-sync --user-data-dir="$work/profile" --screenshot="$work/shot.png" \
    --window-size=1000,1300 "file://$work/report.html" >"$work/chromium.log" 2>&1 ||
    { cat "$work/chromium.log" >&2; exit 1; }

failed=0
for expected in 4e79a7:60000 f28e2b:20000 e15759:12000 76b7b2:5000 59a14f:3000; do
    colour="${expected%:*}"
    pixels="$(convert "$work/shot.png" -fill black +opaque "#$colour" -fill white -opaque "#$colour" \
        -format '%[fx:round(mean*w*h)]' info:)"
    echo "#$colour: $pixels pixels"
    [ "$pixels" -ge "${expected#*:}" ] || { echo "the charts did not render #$colour" >&2; failed=1; }
done
[ -z "$keep" ] || cp "$work/shot.png" "$keep"
exit "$failed"
