#!/usr/bin/env python3
"""Runs a command while uwserver signs replies on a loopback port, with proxies in front of it that damage them.

Usage: signed_servers.py UWSERVER REPLY_FOLDER COMMAND [ARG...]

Makes two P-256 keys with openssl in a scratch directory and starts "UWSERVER --sign-key" with the first on a
port of the system's choosing. Each proxy passes a GET on to it and hands back the page damaged in one way:
"changed" changes one byte of the script, "replayed" asks for the page with another nonce than the request's,
"unsigned" drops the signature block, "badhex" puts a letter that is no hexadecimal digit into it. The command
finds the ports in ORN_SIGNED_PORTS ("signed=PORT,changed=PORT,..."; "signed" is uwserver itself) and the
ReplyKey texts of the two keys (from "uwserver --print-key") in ORN_REPLY_KEY and ORN_OTHER_REPLY_KEY. The
proxies are threads of this process and uwserver is stopped at the end; the exit status is the command's.
"""
import http.client
import http.server
import os
import re
import secrets
import subprocess
import sys
import tempfile
import threading


def change_one_byte(page):
    at = page.index(b'"genuine"') + 1
    return page[:at] + page[at:at + 1].upper() + page[at + 1:]


def drop_signature(page):
    return page[:page.index(b"[SIG]")] + page[page.index(b"[/SIG]") + len(b"[/SIG]"):]


def spoil_digit(page):
    at = page.index(b"[SIG]") + len(b"[SIG]")
    return page[:at] + b"x" + page[at + 1:]


def other_nonce(target):
    return re.sub(r"VR_Nonce=[0-9A-Fa-f]{32}", "VR_Nonce=" + secrets.token_hex(16).upper(), target)


# name: (what is done to the request target, what is done to the page)
DAMAGES = {
    "changed": (None, change_one_byte),
    "replayed": (other_nonce, None),
    "unsigned": (None, drop_signature),
    "badhex": (None, spoil_digit),
}


class DamagingProxy(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    upstream = 0
    damage_target = None
    damage_page = None

    def do_GET(self):
        target = self.damage_target(self.path) if self.damage_target else self.path
        connection = http.client.HTTPConnection("127.0.0.1", self.upstream, timeout=30)
        connection.request("GET", target)
        answer = connection.getresponse()
        page = answer.read()
        if answer.status == 200 and self.damage_page:
            page = self.damage_page(page)
        self.send_response(answer.status)
        self.send_header("Content-Type", "text/plain")
        self.send_header("Content-Length", str(len(page)))
        self.end_headers()
        self.wfile.write(page)

    def log_message(self, *args):
        pass


def serve_proxy(upstream, damage):
    handler = type("Proxy", (DamagingProxy,), {
        "upstream": upstream,
        "damage_target": staticmethod(damage[0]) if damage[0] else None,
        "damage_page": staticmethod(damage[1]) if damage[1] else None,
    })
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), handler)
    server.daemon_threads = True
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return server.server_address[1]


def make_key(uwserver, path):
    subprocess.run(["openssl", "ecparam", "-name", "prime256v1", "-genkey", "-noout", "-out", path], check=True)
    return subprocess.run([uwserver, "--print-key", path], check=True, capture_output=True,
                          text=True).stdout.strip()


def start_uwserver(uwserver, key, folder, scratch):
    server = subprocess.Popen([uwserver, "--port", "0", "--sign-key", key, "--record",
                               os.path.join(scratch, "requests.jsonl"), folder],
                              stdout=subprocess.PIPE, text=True)
    line = server.stdout.readline()
    match = re.fullmatch(r"listening on 127\.0\.0\.1:(\d+)\n", line)
    if not match:
        server.kill()
        sys.exit("uwserver did not start: %r" % line)
    return server, int(match.group(1))


def main():
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    uwserver, folder, command = sys.argv[1], sys.argv[2], sys.argv[3:]
    with tempfile.TemporaryDirectory() as scratch:
        key = os.path.join(scratch, "key.pem")
        env = dict(os.environ, ORN_REPLY_KEY=make_key(uwserver, key),
                   ORN_OTHER_REPLY_KEY=make_key(uwserver, os.path.join(scratch, "other.pem")))
        server, port = start_uwserver(uwserver, key, folder, scratch)
        try:
            ports = ["signed=%d" % port]
            ports += ["%s=%d" % (name, serve_proxy(port, damage)) for name, damage in DAMAGES.items()]
            return subprocess.call(command, env=dict(env, ORN_SIGNED_PORTS=",".join(ports)))
        finally:
            server.terminate()
            server.wait()


if __name__ == "__main__":
    sys.exit(main())
