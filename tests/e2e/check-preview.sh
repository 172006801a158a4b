#!/usr/bin/env bash
# The dialog preview of scripts/preview.sh on a build tree's programs: the German example, answered, as a PNG that
# shows the dialog, with the texts Windows shows and what the program logged; a script that uwserver refuses
# gives no preview and names the author's file.
# Usage: check-preview.sh SOURCE_DIR BUILD_DIR
set -uo pipefail
root="$1"
export PREVIEW_BUILD_DIR="$2"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
fail() {
    echo "$output"
    echo "preview check: $1" >&2
    exit 1
}

output="$("$root/scripts/preview.sh" "$root/examples/server/update-de.txt" --press "Später" --checkbox on \
    -o "$work/de.png" --no-build 2>&1)" || fail "preview.sh ended with $?"
expected='dialog "Nimbra-Update"
  message "Nimbra 3.2 ist verfügbar: schneller beim Setzen von Formeln, und es liest sie in mehr Sprachen vor."
  checkbox [ ] "Wöchentlich nach neuen Versionen suchen"
  button "Herunterladen" default
  button "Später"
  saved '"$work"'/de.png
Reply dialog: pressed "Später" (jump to later), checkbox ticked (DoUpdateWatchs = 1).
UpdateWatch.exe exit code: 0'
[ "$output" = "$expected" ] || fail "the preview told another dialog than the example's"
[ -f "$work/de.png" ] || fail "no PNG"
read -r width height colours <<<"$(identify -format '%w %h %k' "$work/de.png")"
[ "$width" -ge 300 ] && [ "$width" -le 800 ] && [ "$height" -ge 100 ] && [ "$height" -le 400 ] ||
    fail "the PNG is ${width}x$height, not a dialog's size"
[ "$colours" -ge 3 ] || fail "the PNG has $colours colours: nothing drawn"

printf 'set $a, 1;\ngoto nowhere;\n' >"$work/refused.txt"
output="$("$root/scripts/preview.sh" "$work/refused.txt" -o "$work/refused.png" --no-build 2>&1)" &&
    fail "a refused script was previewed"
grep -qF "$work/refused.txt:2:6: can't find label (nowhere) for jump" <<<"$output" || fail "the refusal names no file"
[ ! -e "$work/refused.png" ] || fail "a refused script has a PNG"
echo "preview check: passed"
