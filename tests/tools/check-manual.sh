#!/usr/bin/env bash
# Runs every reply-script example of the manual through "uwscript check". An example is a ```uwscript block;
# the ```text block right after it, if any, is what the check must print for it, and nothing otherwise.
# Usage: check-manual.sh UWSCRIPT MANUAL
set -euo pipefail
uwscript="$1"
manual="$2"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# Splits the manual into numbered files: N.uws for each example, N.expected for the output that follows it.
awk -v dir="$work" '
    /^```uwscript$/ { n++; file = dir "/" n ".uws"; printf "" > file; inside = 1; expecting = 0; next }
    /^```text$/ && expecting { file = dir "/" n ".expected"; printf "" > file; inside = 1; next }
    /^```/ { if (inside) { inside = 0; expecting = (file ~ /\.uws$/) } else expecting = 0; next }
    inside { print > file; next }
    NF { expecting = 0 }
' "$manual"

count=0
failed=0
for example in "$work"/*.uws; do
    count=$((count + 1))
    n="$(basename "$example" .uws)"
    cp "$example" "$work/example.txt"
    actual="$(cd "$work" && "$uwscript" check example.txt 2>&1)" || true
    expected=""
    [ -f "$work/$n.expected" ] && expected="$(cat "$work/$n.expected")"
    if [ "$actual" != "$expected" ]; then
        failed=$((failed + 1))
        echo "example $n of $manual:"
        cat "$example"
        echo "-- uwscript check printed:"
        echo "$actual"
        echo "-- the manual says:"
        echo "$expected"
    fi
done
echo "$count examples, $failed wrong"
[ "$count" -gt 0 ] && [ "$failed" -eq 0 ]
