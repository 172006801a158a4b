#!/usr/bin/env python3
"""Runs a command while uwserver signs replies on a loopback port, with proxies in front of it that damage them.

Usage: signed_servers.py UWSERVER REPLY_FOLDER COMMAND [ARG...]

Makes two P-256 keys with openssl in a scratch directory and starts "UWSERVER --sign-key" with the first on a
port of the system's choosing. Each proxy passes a request on to it and hands back the page, one of them
damaged: "changed" changes one byte of the script, "unsigned" drops the signature block, "badhex" puts a letter
that is no hexadecimal digit into it; or the request changed, its nonce kept: "value" sends another VR_ProdVer,
"added" one more parameter, "dropped" one less, "reordered" swaps two, "path" asks the delay page, "post" sends
a POST; or "replay" hands back the page signed for the request before. The command
finds the ports in ORN_SIGNED_PORTS ("signed=PORT,changed=PORT,..."; "signed" is uwserver itself) and the
ReplyKey texts of the two keys (from "uwserver --print-key") in ORN_REPLY_KEY and ORN_OTHER_REPLY_KEY, and
runs with Wine told to prefer a library beside a program to its own copy of a system library. The
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


def edit_params(edit):
    """A request change that keeps the nonce but edits the list of "name=value" pairs of the query or body."""
    def change(method, path, query):
        return method, path, "&".join(edit(query.split("&")))
    return change


def swap_first_two(pairs):
    return [pairs[1], pairs[0]] + pairs[2:]


def as_post(method, path, query):
    return "POST", path, query


def to_delay_page(method, path, query):
    return method, path.replace("/updatewatch.aspx", "/UwDelayTest.aspx"), query


# name: (what is done to the request, what is done to the page); the nonce is never touched, so only the
# signature's cover of the whole request can tell these from the genuine request.
DAMAGES = {
    "changed": (None, change_one_byte),
    "unsigned": (None, drop_signature),
    "badhex": (None, spoil_digit),
    "value": (edit_params(lambda pairs: [re.sub(r"^VR_ProdVer=.*", "VR_ProdVer=9.0.0.0", p) for p in pairs]), None),
    "added": (edit_params(lambda pairs: pairs + ["VR_TestScript=1"]), None),
    "dropped": (edit_params(lambda pairs: [p for p in pairs if not p.startswith("PagesTotal=")]), None),
    "reordered": (edit_params(swap_first_two), None),
    "path": (to_delay_page, None),
    "post": (as_post, None),
    "replay": (None, None),
}


class DamagingProxy(http.server.BaseHTTPRequestHandler):
    """Passes each request on to uwserver, changed as its damage says, and hands back the page, damaged; the
    "replay" proxy hands back the page uwserver signed for the request before."""
    protocol_version = "HTTP/1.1"
    upstream = 0
    damage_request = None
    damage_page = None
    replay = False
    last_page = None

    def do_GET(self):
        path, _, query = self.path.partition("?")
        self.forward("GET", path, query)

    def do_POST(self):
        body = self.rfile.read(int(self.headers.get("Content-Length", 0))).decode("latin-1")
        path, _, query = self.path.partition("?")
        self.forward("POST", path, body if not query else query + "&" + body)

    def forward(self, method, path, query):
        if self.damage_request:
            method, path, query = self.damage_request(method, path, query)
        connection = http.client.HTTPConnection("127.0.0.1", self.upstream, timeout=30)
        if method == "POST":
            connection.request("POST", path, query, {"Content-Type": "application/x-www-form-urlencoded"})
        else:
            connection.request("GET", path + "?" + query if query else path)
        answer = connection.getresponse()
        page = answer.read()
        if answer.status == 200 and self.damage_page:
            page = self.damage_page(page)
        if self.replay:
            page, type(self).last_page = type(self).last_page or page, page
        self.send_response(answer.status)
        self.send_header("Content-Type", "text/plain")
        self.send_header("Content-Length", str(len(page)))
        self.end_headers()
        self.wfile.write(page)

    def log_message(self, *args):
        pass


def serve_proxy(upstream, name, damage):
    handler = type("Proxy", (DamagingProxy,), {
        "upstream": upstream,
        "damage_request": staticmethod(damage[0]) if damage[0] else None,
        "damage_page": staticmethod(damage[1]) if damage[1] else None,
        "replay": name == "replay",
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
            ports += ["%s=%d" % (name, serve_proxy(port, name, damage)) for name, damage in DAMAGES.items()]
            # Wine prefers its own copy of a system library; with these overrides it prefers one beside the
            # program, as Windows does, so the test of planted libraries shows what Windows would do.
            return subprocess.call(command, env=dict(env, ORN_SIGNED_PORTS=",".join(ports),
                                                     ORN_DLL_OVERRIDES="bcrypt,wininet,psapi,dbghelp=n,b"))
        finally:
            server.terminate()
            server.wait()


if __name__ == "__main__":
    sys.exit(main())
