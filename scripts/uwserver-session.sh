# Sourced after wine-session.sh: serves FOLDER with uwserver (UWSERVER, or build/native/bin/uwserver) on a free
# loopback port while the script runs, recording the requests in OUT_DIR/requests.jsonl, and stops it and the
# Wine session on exit.
# Usage: source scripts/uwserver-session.sh FOLDER OUT_DIR     (sets uwserver_port; exits when it does not start)
_uws_root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
_uws_out="$2"
rm -f "$_uws_out/requests.jsonl" "$_uws_out/uwserver.out" "$_uws_out/uwserver.err"
"${UWSERVER:-$_uws_root/build/native/bin/uwserver}" --port 0 --record "$_uws_out/requests.jsonl" "$1" \
    >"$_uws_out/uwserver.out" 2>"$_uws_out/uwserver.err" &
_uws_pid=$!
uwserver_session_stop() {
    kill "$_uws_pid" 2>/dev/null && wait "$_uws_pid" 2>/dev/null
    wine_session_stop
}
trap uwserver_session_stop EXIT

uwserver_port=""
for _ in $(seq 1 100); do
    uwserver_port="$(sed -n 's/^listening on 127\.0\.0\.1:\([0-9]*\)$/\1/p' "$_uws_out/uwserver.out")"
    [ -n "$uwserver_port" ] || ! kill -0 "$_uws_pid" 2>/dev/null && break
    sleep 0.1
done
if [ -z "$uwserver_port" ]; then
    echo "uwserver did not start:" >&2
    cat "$_uws_out/uwserver.err" >&2
    exit 1
fi
