#!/usr/bin/env python3
"""uwserver as a process: its signals, its sub-command digest and its command-line refusals.

Usage: uwserver_process.py UWSERVER

SIGHUP reloads the folder (a broken one is not taken and the old replies stay), SIGUSR1 opens the record again
after it was moved away, SIGTERM ends the server with status 0; digest prints NAME SIZE SHA256 per file; options
that do not fit end with status 2 and the usage. Prints each failed check and exits 1 when there is any.
"""
import os
import re
import signal
import stat
import subprocess
import sys
import tempfile
import time
import urllib.request

failures = []
passed = []


def check(condition, what):
    if condition:
        passed.append(what)
    else:
        failures.append(what)
        print("FAILED:", what)


def wait_for(predicate):
    for _ in range(100):
        if predicate():
            return True
        time.sleep(0.05)
    return False


def signals(uwserver, scratch):
    folder = os.path.join(scratch, "folder")
    os.mkdir(folder)
    write = lambda name, text: open(os.path.join(folder, name), "w").write(text)
    write("rules.txt", "otherwise -> a.txt\n")
    write("a.txt", 'set $r, "1";')
    record = os.path.join(scratch, "requests.jsonl")
    err = open(os.path.join(scratch, "err"), "w+")
    server = subprocess.Popen([uwserver, "--port", "0", "--record", record, folder], stdout=subprocess.PIPE,
                              stderr=err, text=True)
    port = re.fullmatch(r"listening on 127\.0\.0\.1:(\d+)\n", server.stdout.readline()).group(1)
    page = lambda: urllib.request.urlopen("http://127.0.0.1:%s/updatewatch/updatewatch.aspx" % port).read()
    stderr = lambda: open(err.name).read()
    check(b'set $r, "1";' in page(), "the first page")
    write("a.txt", 'set $r, "2";')
    server.send_signal(signal.SIGHUP)
    check(wait_for(lambda: "uwserver: reloaded " + folder in stderr()), "SIGHUP reloads: " + stderr())
    check(b'set $r, "2";' in page(), "the reloaded page")
    write("rules.txt", "otherwise -> missing.txt\n")
    server.send_signal(signal.SIGHUP)
    check(wait_for(lambda: "not reloaded: still serving the replies it had" in stderr()), "a broken folder: " + stderr())
    check(b'set $r, "2";' in page(), "the page after a broken reload")
    os.rename(record, record + ".1")
    server.send_signal(signal.SIGUSR1)
    check(wait_for(lambda: os.path.exists(record)), "SIGUSR1 opens the record again")
    page()
    check(len(open(record).readlines()) == 1 and len(open(record + ".1").readlines()) == 3, "lines after rotation")
    check(stat.S_IMODE(os.stat(record).st_mode) == 0o600, "the record is its owner's alone")
    server.send_signal(signal.SIGTERM)
    check(server.wait(10) == 0, "SIGTERM ends the server with status 0")
    write("rules.txt", "otherwise -> a.txt\n")


def commands(uwserver, scratch):
    path = os.path.join(scratch, "Setup.exe")
    open(path, "wb").write(b"abc")
    run = lambda *args: subprocess.run([uwserver, *args], capture_output=True, text=True, timeout=10)
    r = run("digest", path, os.path.join(scratch, "none.exe"))
    check(r.stdout == "Setup.exe 3 ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad\n", r.stdout)
    check(r.returncode == 1 and "uwserver: can't read %s/none.exe: No such file or directory" % scratch in r.stderr,
          "digest of a missing file: " + r.stderr)
    for args in (["digest"], ["--tls-cert", path, scratch], ["--threads", "0", scratch], ["--port", "65536", scratch]):
        r = run(*args)
        check(r.returncode == 2 and r.stderr.startswith("Usage: uwserver"), "usage for %s" % args)
    r = run("--port", "0", "--tls-cert", path, "--tls-key", path, scratch + "/folder")
    check(r.returncode == 1 and "uwserver: can't use the certificate " + path in r.stderr, r.stderr)


def main():
    with tempfile.TemporaryDirectory() as scratch:
        signals(sys.argv[1], scratch)
        commands(sys.argv[1], scratch)
    print("%d passed, %d failed" % (len(passed), len(failures)))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
