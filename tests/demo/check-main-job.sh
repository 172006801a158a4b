#!/usr/bin/env bash
# Runs the README's main-job command without a display and checks what it reports: its exit code, the PNG of
# the reply dialog, a log without failures that tells how the dialog was answered, the reply stored under
# UWResult and the one request uwserver recorded, with the installed product's identity.
set -uo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
output="$(env -u DISPLAY "$root/scripts/run.sh" 2>&1)"
status=$?
fail() {
    echo "$output"
    echo "main-job check: $1" >&2
    exit 1
}
section() { sed -n "/^== $1/,/^==\|^UpdateWatch.exe exit code/p" <<<"$output" | sed '1d;$d'; }

[ "$status" -eq 0 ] || fail "scripts/run.sh ended with $status"
grep -qx 'UpdateWatch.exe exit code: 0' <<<"$output" || fail "no exit code 0 reported"
png="$root/build/demo/dialog.png"
grep -qF "screenshot: $png" <<<"$output" || fail "no screenshot reported"
[ "$(file -b --mime-type "$png")" = image/png ] || fail "$png is not a PNG"
! grep -q 'Non-standard version check\|not a standard one' <<<"$output" || fail "the check was not a standard one"

log="$(section 'Log' | tr -d '\r')"
grep -qx 'Nimbra log ends (error count = 0).' <<<"$log" || fail "the log counts errors"
! grep -q 'Failure' <<<"$log" || fail "the log has a failure: $(grep Failure <<<"$log")"
grep -qF "(UpdateWatch's product version) = '3.1'." <<<"$log" || fail "the logged version is not '3.1'"
grep -qx 'Reply dialog: closed, meaning "Later" (jump to later), checkbox ticked (DoUpdateWatchs = 0).' <<<"$log" ||
    fail "the log does not tell how the dialog was answered"

stored="$(section 'Stored reply' | tr -s ' ')"
[ "$stored" = "$(printf ' DoUpdateWatchs REG_SZ 0\n UpdateWatchFreq REG_SZ 7')" ] || fail "UWResult holds: $stored"

requests="$(section 'Requests uwserver recorded')"
[ "$(wc -l <<<"$requests")" -eq 1 ] || fail "not one recorded request: $requests"
for part in '"method":"GET"' '"host":"versioncheck.vantrel.com' '"path":"/updatewatch/updatewatch.aspx"' \
    '"params":{"PagesTotal":"12","EqTotal":"3","MenuTotal":"5","Notify":"X",' '"VR_ProdVer":"3.10.0.0"' \
    '"status":200,"reply":"update.txt"}'; do
    grep -qF "$part" <<<"$requests" || fail "the recorded request lacks $part"
done
for name in VR_MachTime VR_UserTime VR_Random; do
    grep -qE "\"$name\":\"[0-9]{4,}\"" <<<"$requests" || fail "the request carries no identity in $name"
done
echo "main-job check: passed"
