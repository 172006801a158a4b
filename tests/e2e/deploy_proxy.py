#!/usr/bin/env python3
"""Runs a command with an HTTP proxy on loopback that stands in for the name service of the version host.

Usage: deploy_proxy.py COMMAND [ARG...]    (inside "scripts/deploy-local.sh --run", whose environment it reads)

Every CONNECT to versioncheck.vantrel.com:443 is tunnelled to nginx's https port (ORN_DEPLOY_HTTPS_PORT), so a
program that takes this proxy reaches the deployed service under the standard host's name and checks the
certificate for that name; a CONNECT to any other host is refused with 403. "GET /stop-instance-1" stops the
first uwserver instance (ORN_DEPLOY_PIDS) and answers once it has ended. The command finds the proxy's port in
ORN_DEPLOY_PROXY; the exit status is the command's.
"""
import os
import signal
import socket
import subprocess
import sys
import threading
import time

STANDARD_HOST = b"versioncheck.vantrel.com:443"


def copy(source, sink):
    try:
        while True:
            data = source.recv(65536)
            if not data:
                break
            sink.sendall(data)
        sink.shutdown(socket.SHUT_WR)
    except OSError:
        pass


def tunnel(client, rest):
    upstream = socket.create_connection(("127.0.0.1", int(os.environ["ORN_DEPLOY_HTTPS_PORT"])))
    client.sendall(b"HTTP/1.1 200 Connection established\r\n\r\n")
    upstream.sendall(rest)
    back = threading.Thread(target=copy, args=(upstream, client), daemon=True)
    back.start()
    copy(client, upstream)
    back.join()
    upstream.close()


def stop_instance():
    pid = int(os.environ["ORN_DEPLOY_PIDS"].split(",")[0])
    os.kill(pid, signal.SIGTERM)
    # It stays a zombie until the script that started it waits for it: ended is enough.
    for _ in range(100):
        try:
            with open("/proc/%d/stat" % pid) as stat:
                if stat.read().split(") ")[1].startswith("Z"):
                    return
        except FileNotFoundError:
            return
        time.sleep(0.05)


def handle(client):
    with client:
        head = b""
        while b"\r\n\r\n" not in head:
            chunk = client.recv(4096)
            if not chunk:
                return
            head += chunk
        method, target = head.split(b"\r\n")[0].split(b" ")[:2]
        if method == b"CONNECT" and target == STANDARD_HOST:
            return tunnel(client, head.split(b"\r\n\r\n", 1)[1])
        if method == b"GET" and target.endswith(b"/stop-instance-1"):
            stop_instance()
            status = b"200 OK"
        else:
            status = b"403 Forbidden"
        client.sendall(b"HTTP/1.1 " + status + b"\r\nContent-Length: 0\r\nConnection: close\r\n\r\n")


def serve(listener):
    while True:
        client, _ = listener.accept()
        threading.Thread(target=handle, args=(client,), daemon=True).start()


def main():
    if len(sys.argv) < 2 or "ORN_DEPLOY_HTTPS_PORT" not in os.environ:
        sys.exit(__doc__)
    listener = socket.create_server(("127.0.0.1", 0))
    threading.Thread(target=serve, args=(listener,), daemon=True).start()
    port = str(listener.getsockname()[1])
    return subprocess.call(sys.argv[1:], env=dict(os.environ, ORN_DEPLOY_PROXY=port))


if __name__ == "__main__":
    sys.exit(main())
