#!/usr/bin/env python3
"""Runs a command while loopback HTTPS version servers answer, one per server certificate of the test data.

Usage: https_servers.py CERT_DIR [--files DIR] [--file-size-limit BYTES] COMMAND [ARG...]

Each server listens on 127.0.0.1 on a port of the system's choosing and answers every GET with a reply script
that sets $target to the request target it received, or, when the query has a "VR_TestScript" parameter, with that
parameter as the script. The command finds the ports in ORN_HTTPS_PORTS ("good=PORT,wronghost=PORT,
expired=PORT,untrusted=PORT"). The servers are threads of this process, so none outlives the command; the exit
status is the command's.

With --files, "GET /files/MODE/NAME" serves the file NAME of DIR in the way MODE says (see FILE_MODES): as it
is, or as each kind of bad download server would; the command finds the size and SHA-256 of each file of DIR
below 1 MB in ORN_FILE_DIGESTS ("NAME=SIZE:SHA256,..."); and a file "progress-window.request" that the command
puts into DIR is answered with a screenshot of the display, DIR/progress-window.png, and removed. With
--file-size-limit, no file the command or its children write may grow past BYTES: a write beyond it fails as on
a full disk.
"""
import hashlib
import http.server
import os
import resource
import signal
import ssl
import subprocess
import sys
import threading
import time
import urllib.parse

NAMES = ("good", "wronghost", "expired", "untrusted")
FILES_DIR = None
BIG_FILE_BYTES = 6 << 20


def redirect(to):
    return lambda handler, data, name: handler.answer(302, b"", {"Location": to(handler, name)})


def send(length=None, extra=b"", cut=None, pause=0, chunk=None):
    """The file's bytes (plus extra, or only the first `cut` of them, after which the connection closes),
    announced with `length` (a function of the file's size; None: not announced, the connection's end ends the
    body); then `pause` seconds of silence."""
    def mode(handler, data, name):
        body = (data + extra)[:cut(len(data)) if cut else None]
        handler.answer(200, body, {} if length is None else {"Content-Length": str(length(len(data)))},
                       chunk=chunk, pause=pause)
        handler.close_connection = handler.close_connection or cut is not None
    return mode


def flip_last_byte(handler, data, name):
    send(lambda n: n)(handler, data[:-1] + bytes([data[-1] ^ 0xFF]), name)


FILE_MODES = {
    "ok": send(lambda n: n),
    "redirect-ok": redirect(lambda h, name: "/files/ok/" + name),
    "redirect-http": redirect(lambda h, name: "http://localhost:%d/files/ok/%s" % (h.server.server_port, name)),
    "redirect-host": redirect(lambda h, name: "https://127.0.0.1:%d/files/ok/%s" % (h.server.server_port, name)),
    "redirect-loop": redirect(lambda h, name: "/files/redirect-loop/" + name),
    "500": lambda h, data, name: h.answer(500, b"server error", {}),
    "longer": send(lambda n: n + 1000, extra=bytes(1000)),
    "more": send(None, extra=bytes(64 << 10)),
    "fewer": send(None, cut=lambda n: n - 1000),
    "wrong": flip_last_byte,
    "cut": send(lambda n: n, cut=lambda n: n // 2),
    "stall": send(lambda n: n, cut=lambda n: n // 2, pause=40),
    "slow": send(lambda n: n, chunk=(1024, 0.05)),
    "big": lambda h, data, name: send(lambda n: n)(h, bytes(BIG_FILE_BYTES), name),
}


class ReplyHandler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        if FILES_DIR and self.path.startswith("/files/"):
            return self.serve_file()
        query = urllib.parse.parse_qs(urllib.parse.urlsplit(self.path).query)
        if "VR_TestScript" in query:
            script = query["VR_TestScript"][0]
        else:
            target = self.path.replace("\\", "\\\\").replace('"', '\\"')
            script = 'set $target, "%s";' % target
        self.answer(200, ("[START]\r\n%s\r\n[END]\r\n" % script).encode("latin-1"),
                    {"Content-Type": "text/html", "Content-Length": None})

    def serve_file(self):
        parts = self.path.split("/", 3)
        mode = FILE_MODES.get(parts[2]) if len(parts) == 4 else None
        path = os.path.join(FILES_DIR, os.path.basename(parts[-1]))
        if not mode or not os.path.isfile(path):
            return self.answer(404, b"no such file or mode", {})
        with open(path, "rb") as f:
            mode(self, f.read(), os.path.basename(path))

    def answer(self, status, body, headers, chunk=None, pause=0):
        """Sends the answer; a Content-Length of None is the body's own, and a header left out of `headers`
        with a body means that the body ends with the connection."""
        self.send_response(status)
        for name, value in headers.items():
            self.send_header(name, str(len(body)) if value is None else value)
        if "Content-Length" not in headers and status != 302:
            self.send_header("Connection", "close")
            self.close_connection = True
        elif status == 302:
            self.send_header("Content-Length", "0")
        self.end_headers()
        try:
            size, delay = chunk or (len(body) or 1, 0)
            for at in range(0, len(body), size):
                self.wfile.write(body[at:at + size])
                self.wfile.flush()
                time.sleep(delay)
            time.sleep(pause)
        except OSError:
            pass  # the client went away: a cancel, a refusal

    def log_message(self, *args):
        pass


class QuietServer(http.server.ThreadingHTTPServer):
    daemon_threads = True

    # A client that refuses the certificate ends the handshake: expected, not worth a trace.
    def handle_error(self, request, client_address):
        pass


def serve(cert_file):
    server = QuietServer(("127.0.0.1", 0), ReplyHandler)
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(cert_file)
    # The handshake runs on the connection's own thread, so a stalled client holds up no other.
    server.socket = context.wrap_socket(server.socket, server_side=True, do_handshake_on_connect=False)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return server.server_address[1]


def small_file_digests():
    digests = []
    for name in sorted(os.listdir(FILES_DIR)):
        path = os.path.join(FILES_DIR, name)
        if os.path.isfile(path) and os.path.getsize(path) < (1 << 20):
            with open(path, "rb") as f:
                digests.append("%s=%d:%s" % (name, os.path.getsize(path), hashlib.sha256(f.read()).hexdigest()))
    return ",".join(digests)


def take_screenshots():
    """Wine starts no Unix program that a test could wait for, so the test asks for its screenshot here."""
    request = os.path.join(FILES_DIR, "progress-window.request")
    while True:
        if os.path.exists(request):
            subprocess.call(["import", "-window", "root", os.path.join(FILES_DIR, "progress-window.png")])
            os.remove(request)
        time.sleep(0.1)


def main():
    global FILES_DIR
    args = sys.argv[1:]
    if len(args) < 2:
        sys.exit(__doc__)
    cert_dir = args.pop(0)
    size_limit = None
    while args and args[0] in ("--files", "--file-size-limit") and len(args) > 2:
        option, value = args.pop(0), args.pop(0)
        if option == "--files":
            FILES_DIR = value
        else:
            size_limit = int(value)
    ports = ",".join("%s=%d" % (name, serve(os.path.join(cert_dir, name + ".pem"))) for name in NAMES)
    if FILES_DIR:
        threading.Thread(target=take_screenshots, daemon=True).start()
    if size_limit:
        # For this process and the command it starts, which inherits both: a write past the limit fails (EFBIG)
        # instead of ending the process (SIGXFSZ).
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (size_limit, size_limit))
    env = dict(os.environ, ORN_HTTPS_PORTS=ports, ORN_FILE_DIGESTS=small_file_digests() if FILES_DIR else "")
    return subprocess.call(args, env=env, restore_signals=not size_limit)


if __name__ == "__main__":
    sys.exit(main())
