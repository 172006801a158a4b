#!/usr/bin/env bash
# The production shape of the version service on loopback, for a person to try: nginx with
# deploy/nginx-uwserver.conf (TLS with a test certificate for versioncheck.vantrel.com, issued by a test CA made
# here) in front of two uwserver instances that sign their replies, each recording into a file of its own.
# Every port is chosen at run time; nginx runs unprivileged with its prefix, logs and temporary files in DIR.
#
#   scripts/deploy-local.sh [--uwserver PATH] [--folder FOLDER] [--dir DIR] [--run COMMAND [ARG...]]
#
# Without --run it prints how to try it and serves until Ctrl-C. With --run it runs the command with the shape's
# facts in its environment and stops everything when it ends; the exit status is the command's:
#   ORN_DEPLOY_HTTP_PORT, ORN_DEPLOY_HTTPS_PORT   nginx's ports for http:// and https://
#   ORN_DEPLOY_CA                                 the test CA's certificate (DER; PEM beside it as ca.pem)
#   ORN_REPLY_KEY                                 the ReplyKey of the instances' signing key
#   ORN_DEPLOY_PIDS                               the instances' process ids, comma-separated
#   ORN_DEPLOY_DIR                                DIR, with the instances' records requests-1.jsonl and -2
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
uwserver=""
folder="$root/examples/server"
dir="$root/build/deploy-local"
run=()
while [ $# -gt 0 ]; do
    case "$1" in
    --uwserver) uwserver="$2"; shift 2 ;;
    --folder) folder="$2"; shift 2 ;;
    --dir) dir="$2"; shift 2 ;;
    --run) shift; run=("$@"); break ;;
    *) sed -n '2,/^set /p' "$0" | sed '$d; s/^# \{0,1\}//' >&2; exit 2 ;;
    esac
done
if [ -z "$uwserver" ]; then
    cmake -S "$root/tools/host" -B "$root/build/release-tools" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DORN_HOST_UWSERVER=ON >/dev/null
    cmake --build "$root/build/release-tools" -j "${ORN_JOBS:-2}" --target uwserver >/dev/null
    uwserver="$root/build/release-tools/bin/uwserver"
fi

rm -rf "$dir"
mkdir -p "$dir/tmp" "$dir/tls"
pids=()
stop_all() {
    [ -f "$dir/nginx.pid" ] && kill "$(cat "$dir/nginx.pid")" 2>/dev/null
    for pid in "${pids[@]}"; do
        kill "$pid" 2>/dev/null && wait "$pid" 2>/dev/null
    done
    return 0
}
trap stop_all EXIT
trap 'exit 130' INT TERM

# A test CA (its key thrown away with the directory) and the version host's certificate from it.
make_certificates() {
    local tls="$dir/tls"
    openssl req -x509 -newkey rsa:2048 -nodes -keyout "$tls/ca.key" -subj "/CN=UpdateWatch Deploy Test CA" \
        -days 30 -addext "basicConstraints=critical,CA:TRUE" -addext "keyUsage=critical,keyCertSign" \
        -out "$tls/ca.pem" 2>/dev/null
    openssl x509 -in "$tls/ca.pem" -outform DER -out "$tls/ca.der"
    openssl req -newkey rsa:2048 -nodes -keyout "$tls/server.key" -subj "/CN=versioncheck.vantrel.com" \
        -out "$tls/server.csr" 2>/dev/null
    printf '%s\n' "basicConstraints=critical,CA:FALSE" "keyUsage=critical,digitalSignature,keyEncipherment" \
        "extendedKeyUsage=serverAuth" "subjectAltName=DNS:versioncheck.vantrel.com,DNS:localhost,IP:127.0.0.1" \
        >"$tls/server.ext"
    openssl x509 -req -in "$tls/server.csr" -CA "$tls/ca.pem" -CAkey "$tls/ca.key" -CAcreateserial -days 30 \
        -extfile "$tls/server.ext" -out "$tls/server.pem" 2>/dev/null
    rm -f "$tls/ca.key"
}

# Starts instance N on a free port; sets port_N.
start_instance() {
    "$uwserver" --listen 127.0.0.1 --port 0 --record "$dir/requests-$1.jsonl" --sign-key "$dir/vendor-key.pem" \
        "$folder" >"$dir/uwserver-$1.out" 2>"$dir/uwserver-$1.err" &
    pids+=($!)
    local port=""
    for _ in $(seq 1 100); do
        port="$(sed -n 's/^listening on 127\.0\.0\.1:\([0-9]*\)$/\1/p' "$dir/uwserver-$1.out")"
        [ -n "$port" ] && break
        kill -0 "${pids[-1]}" 2>/dev/null || break
        sleep 0.1
    done
    [ -n "$port" ] || { echo "uwserver $1 did not start:" >&2; cat "$dir/uwserver-$1.err" >&2; exit 1; }
    eval "port_$1=$port"
}

free_port() {
    python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}

# The production site file with loopback ports, this directory's certificate and logs.
write_nginx_conf() {
    local site="$dir/nginx-uwserver.conf"
    sed -e "s|listen 80;|listen 127.0.0.1:$http_port;|" \
        -e "s|listen 443 ssl;|listen 127.0.0.1:$https_port ssl;|" \
        -e "s|server 127.0.0.1:8081 |server 127.0.0.1:$port_1 |" \
        -e "s|server 127.0.0.1:8082 |server 127.0.0.1:$port_2 |" \
        -e "s|/etc/ssl/uwserver/versioncheck.vantrel.com.pem|$dir/tls/server.pem|" \
        -e "s|/etc/ssl/uwserver/versioncheck.vantrel.com.key|$dir/tls/server.key|" \
        -e "s|/var/log/nginx/|$dir/|" \
        "$root/deploy/nginx-uwserver.conf" >"$site"
    cat >"$dir/nginx.conf" <<CONF
worker_processes 2;
pid $dir/nginx.pid;
error_log $dir/error.log;
events { worker_connections 1024; }
http {
    client_body_temp_path $dir/tmp/body;
    proxy_temp_path $dir/tmp/proxy;
    fastcgi_temp_path $dir/tmp/fastcgi;
    uwsgi_temp_path $dir/tmp/uwsgi;
    scgi_temp_path $dir/tmp/scgi;
    include $site;
}
CONF
}

make_certificates
openssl ecparam -name prime256v1 -genkey -noout -out "$dir/vendor-key.pem"
reply_key="$("$uwserver" --print-key "$dir/vendor-key.pem")"
start_instance 1
start_instance 2
http_port="$(free_port)"
https_port="$(free_port)"
write_nginx_conf
nginx -p "$dir" -c "$dir/nginx.conf" -e "$dir/error.log"

if [ ${#run[@]} -gt 0 ]; then
    status=0
    ORN_DEPLOY_HTTP_PORT="$http_port" ORN_DEPLOY_HTTPS_PORT="$https_port" ORN_DEPLOY_CA="$dir/tls/ca.der" \
        ORN_REPLY_KEY="$reply_key" ORN_DEPLOY_PIDS="${pids[0]},${pids[1]}" \
        ORN_DEPLOY_DIR="$dir" "${run[@]}" || status=$?
    exit "$status"
fi

query="VR_ProdVer=3.10.0.0&PagesTotal=1&VR_Nonce=00112233445566778899AABBCCDDEEFF"
cat <<TEXT
nginx serves versioncheck.vantrel.com on https://127.0.0.1:$https_port and http://127.0.0.1:$http_port,
in front of uwserver on 127.0.0.1:$port_1 (pid ${pids[0]}) and 127.0.0.1:$port_2 (pid ${pids[1]}), serving
$folder, signing with $dir/vendor-key.pem. Files, records and logs: $dir

Ask for a signed reply, trusting the test CA and taking the loopback address for the version host:
  curl --cacert $dir/tls/ca.pem --resolve versioncheck.vantrel.com:$https_port:127.0.0.1 \\
      'https://versioncheck.vantrel.com:$https_port/updatewatch/updatewatch.aspx?$query'
The program's ReplyKey for these replies: $reply_key
Reload the replies after editing the folder:  kill -HUP ${pids[0]} ${pids[1]}
Rotate the records:  mv $dir/requests-1.jsonl $dir/requests-1.jsonl.1 && kill -USR1 ${pids[0]}
Stop one instance to see nginx use the other:  kill ${pids[0]}
Ctrl-C stops everything.
TEXT
while kill -0 "${pids[1]}" 2>/dev/null || kill -0 "${pids[0]}" 2>/dev/null; do
    sleep 1
done
