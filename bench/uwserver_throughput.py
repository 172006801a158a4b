#!/usr/bin/env python3
"""uwserver's throughput against nginx serving the same bytes as a static file, in one run.

Usage: bench/uwserver_throughput.py [--uwserver PATH] [--seconds N]

Starts nginx (2 workers, its own prefix under build/bench) and two Release uwservers on loopback (examples/server,
recording; one with --sign-key), then runs wrk at 1, 50 and 1,000 connections against: nginx serving the page
as a static file (the floor), uwserver directly, and uwserver behind nginx (HTTP/1.1 keep-alive upstream), each
unsigned and signed (a version request with VR_Nonce). Prints requests/s, median and 99th percentile, and each
one's ratio to its floor; then whether the targets at 50 connections hold (unsigned at least 0.3x the floor
with a median under 2 ms and a 99th percentile under 10 ms, signed at least 0.1x).
"""
import argparse
import os
import shutil
import subprocess
import urllib.request

import uwbench

NGINX_CONF = """
worker_processes 2;
pid {dir}/nginx.pid;
error_log {dir}/error.log;
events {{ worker_connections 8192; }}
http {{
    access_log off;
    keepalive_requests 1000000;
    client_body_temp_path {dir}/tmp; proxy_temp_path {dir}/tmp; fastcgi_temp_path {dir}/tmp;
    uwsgi_temp_path {dir}/tmp; scgi_temp_path {dir}/tmp;
    default_type text/plain;
    upstream unsigned {{ server 127.0.0.1:{unsigned}; keepalive 64; }}
    upstream signed {{ server 127.0.0.1:{signed}; keepalive 64; }}
    server {{ listen 127.0.0.1:{static}; root {dir}/www; }}
    server {{ listen 127.0.0.1:{proxy_unsigned}; location / {{ proxy_pass http://unsigned;
        proxy_http_version 1.1; proxy_set_header Connection ""; }} }}
    server {{ listen 127.0.0.1:{proxy_signed}; location / {{ proxy_pass http://signed;
        proxy_http_version 1.1; proxy_set_header Connection ""; }} }}
}}
"""
CONNECTIONS = (1, 50, 1000)


def free_ports(count):
    import socket
    socks = [socket.socket() for _ in range(count)]
    for s in socks:
        s.bind(("127.0.0.1", 0))
    ports = [s.getsockname()[1] for s in socks]
    for s in socks:
        s.close()
    return ports


def start_nginx(scratch, upstreams):
    static, proxy_unsigned, proxy_signed = free_ports(3)
    with open(os.path.join(scratch, "nginx.conf"), "w") as conf:
        conf.write(NGINX_CONF.format(dir=scratch, static=static, proxy_unsigned=proxy_unsigned,
                                     proxy_signed=proxy_signed, **upstreams))
    subprocess.run(["nginx", "-p", scratch, "-c", os.path.join(scratch, "nginx.conf"),
                    "-e", os.path.join(scratch, "error.log")], check=True)
    return static, proxy_unsigned, proxy_signed


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--uwserver", help="the uwserver to measure (default: a Release build of this tree)")
    parser.add_argument("--seconds", type=int, default=3, help="each wrk run (default 3)")
    args = parser.parse_args()
    uwserver = args.uwserver or uwbench.build_uwserver()
    scratch = os.path.join(uwbench.ROOT, "build", "bench", "throughput")
    shutil.rmtree(scratch, ignore_errors=True)
    os.makedirs(os.path.join(scratch, "tmp"))
    os.makedirs(os.path.join(scratch, "www"))
    key = os.path.join(scratch, "key.pem")
    uwbench.make_key(key)
    folder = os.path.join(uwbench.ROOT, "examples", "server")
    procs = []
    try:
        unsigned, unsigned_port = uwbench.start_uwserver(
            uwserver, ["--record", os.path.join(scratch, "unsigned.jsonl"), folder], scratch, "unsigned")
        procs.append(unsigned)
        signed, signed_port = uwbench.start_uwserver(
            uwserver, ["--record", os.path.join(scratch, "signed.jsonl"), "--sign-key", key, folder], scratch,
            "signed")
        procs.append(signed)
        targets = {"unsigned": uwbench.PAGE + "?" + uwbench.QUERY,
                   "signed": uwbench.PAGE + "?" + uwbench.QUERY + "&VR_Nonce=" + uwbench.NONCE}
        ports = {"unsigned": unsigned_port, "signed": signed_port}
        for kind, target in targets.items():
            page = urllib.request.urlopen("http://127.0.0.1:%d%s" % (ports[kind], target)).read()
            with open(os.path.join(scratch, "www", kind + ".txt"), "wb") as f:
                f.write(page)
        static, proxy_unsigned, proxy_signed = start_nginx(scratch, ports)
        proxies = {"unsigned": proxy_unsigned, "signed": proxy_signed}
        return measure(args.seconds, targets, ports, static, proxies)
    finally:
        pid = os.path.join(scratch, "nginx.pid")
        if os.path.exists(pid):
            subprocess.run(["nginx", "-p", scratch, "-c", os.path.join(scratch, "nginx.conf"), "-s", "stop"])
        uwbench.stop(procs)


def measure(seconds, targets, ports, static, proxies):
    print("%-30s %6s %11s %9s %9s %7s %7s" % ("", "conns", "requests/s", "median", "p99", "errors", "ratio"))
    verdicts = []
    for kind in ("unsigned", "signed"):
        for conns in CONNECTIONS:
            rows = [("static file (nginx), " + kind, "http://127.0.0.1:%d/%s.txt" % (static, kind)),
                    ("uwserver, " + kind, "http://127.0.0.1:%d%s" % (ports[kind], targets[kind])),
                    ("nginx -> uwserver, " + kind, "http://127.0.0.1:%d%s" % (proxies[kind], targets[kind]))]
            floor = None
            for name, url in rows:
                rate, p50, p99, errors = uwbench.wrk(url, conns, seconds)
                floor = floor or rate
                print("%-30s %6d %11.0f %7.2fms %7.2fms %7d %6.2fx" % (name, conns, rate, p50, p99, errors,
                                                                     rate / floor), flush=True)
                if conns == 50 and name.startswith("uwserver"):
                    verdicts.append((kind, rate / floor, p50, p99))
    print()
    # The latency targets are the unsigned answer's: a signed one waits for its signature, and with 50
    # connections its median is about 50 / (signed requests/s) whatever the server does.
    for kind, ratio, p50, p99 in verdicts:
        need = 0.3 if kind == "unsigned" else 0.1
        fast = kind == "signed" or (p50 < 2 and p99 < 10)
        print("at 50 connections, %s: %.2fx the floor (target %.1fx), median %.2f ms, p99 %.2f ms%s: %s"
              % (kind, ratio, need, p50, p99, " (targets < 2 and < 10)" if kind == "unsigned" else "",
                 "holds" if ratio >= need and fast else "MISSED"))
    return 0


if __name__ == "__main__":
    raise SystemExit(main())
