#!/usr/bin/env python3
"""Runs a command while loopback HTTPS version servers answer, one per server certificate of the test data.

Usage: https_servers.py CERT_DIR COMMAND [ARG...]

Each server listens on 127.0.0.1 on a port of the system's choosing and answers every GET with a reply script
that sets $target to the request target it received. The command finds the ports in ORN_HTTPS_PORTS
("good=PORT,wronghost=PORT,expired=PORT,untrusted=PORT"). The servers are threads of this process, so none
outlives the command; the exit status is the command's.
"""
import http.server
import os
import ssl
import subprocess
import sys
import threading

NAMES = ("good", "wronghost", "expired", "untrusted")


class ReplyHandler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        target = self.path.replace("\\", "\\\\").replace('"', '\\"')
        body = ('[START]\r\nset $target, "%s";\r\n[END]\r\n' % target).encode("latin-1")
        self.send_response(200)
        self.send_header("Content-Type", "text/html")
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

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


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    cert_dir = sys.argv[1]
    ports = ",".join("%s=%d" % (name, serve(os.path.join(cert_dir, name + ".pem"))) for name in NAMES)
    return subprocess.call(sys.argv[2:], env=dict(os.environ, ORN_HTTPS_PORTS=ports))


if __name__ == "__main__":
    sys.exit(main())
