#!/usr/bin/env python3
"""Ordinary requests to uwserver while 500 slow clients and 50 delay-page requests hold connections open.

Usage: bench/uwserver_slow_clients.py [--uwserver PATH] [--seconds N]

Starts a Release uwserver (examples/server, recording) on loopback, opens 500 connections that each send one
byte of a request header per second (a client the server cuts is replaced at once, so 500 stay open) and 50
delay-page requests (VR_TIMEDELAY=120), then runs wrk with 10 connections of ordinary version requests for N
seconds (default 10). Prints wrk's rate, median and 99th percentile (the target: under 50 ms), how many slow
clients got their 408, and how many delay-page requests were still waiting, as they should, at the end.
"""
import argparse
import os
import shutil
import socket
import threading
import time

import uwbench

SLOW, DELAYED = 500, 50


class SlowClients(threading.Thread):
    """Connections that send one byte of a request a second; each one the server cuts is replaced."""

    def __init__(self, port):
        super().__init__(daemon=True)
        self.port, self.cut, self.timed_out, self.stop = port, 0, 0, False
        self.request = ("GET %s?%s HTTP/1.1\r\nHost: x\r\n\r\n" % (uwbench.PAGE, uwbench.QUERY)).encode()
        self.clients = [self.connect() for _ in range(SLOW)]

    def connect(self):
        sock = socket.create_connection(("127.0.0.1", self.port))
        sock.setblocking(False)
        return [sock, 0]

    def run(self):
        while not self.stop:
            for i, client in enumerate(self.clients):
                sock, sent = client
                try:
                    answer = sock.recv(4096)
                except BlockingIOError:
                    answer = None
                except OSError:
                    answer = b""
                if answer is not None:  # answered or closed: the server cut it
                    self.cut += 1
                    self.timed_out += b" 408 " in answer
                    sock.close()
                    self.clients[i] = self.connect()
                    continue
                try:
                    sock.send(self.request[sent % len(self.request):][:1])
                    client[1] = sent + 1
                except OSError:
                    pass
            time.sleep(1)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--uwserver", help="the uwserver to measure (default: a Release build of this tree)")
    parser.add_argument("--seconds", type=int, default=10, help="the wrk run (default 10)")
    args = parser.parse_args()
    uwserver = args.uwserver or uwbench.build_uwserver()
    scratch = os.path.join(uwbench.ROOT, "build", "bench", "slow-clients")
    shutil.rmtree(scratch, ignore_errors=True)
    os.makedirs(scratch)
    folder = os.path.join(uwbench.ROOT, "examples", "server")
    server, port = uwbench.start_uwserver(uwserver, ["--record", os.path.join(scratch, "requests.jsonl"), folder],
                                          scratch, "uwserver")
    try:
        slow = SlowClients(port)
        slow.start()
        delayed = []
        for _ in range(DELAYED):
            sock = socket.create_connection(("127.0.0.1", port))
            sock.sendall(b"GET /updatewatch/UwDelayTest.aspx?VR_TIMEDELAY=120 HTTP/1.1\r\nHost: x\r\n\r\n")
            sock.setblocking(False)
            delayed.append(sock)
        time.sleep(2)
        url = "http://127.0.0.1:%d%s?%s" % (port, uwbench.PAGE, uwbench.QUERY)
        rate, p50, p99, errors = uwbench.wrk(url, 10, args.seconds)
        slow.stop = True
        waiting = 0
        for sock in delayed:
            try:
                waiting += sock.recv(1) is None
            except BlockingIOError:
                waiting += 1
            except OSError:
                pass
        print("with %d slow clients and %d delay-page requests open:" % (SLOW, DELAYED))
        print("  ordinary requests: %.0f requests/s, median %.2f ms, p99 %.2f ms (target < 50 ms), %d errors: %s"
              % (rate, p50, p99, errors, "holds" if rate > 0 and p99 < 50 and errors == 0 else "MISSED"))
        print("  slow clients cut: %d (%d with a 408); delay-page requests still waiting: %d of %d"
              % (slow.cut, slow.timed_out, waiting, DELAYED))
    finally:
        uwbench.stop([server])
    return 0


if __name__ == "__main__":
    raise SystemExit(main())
