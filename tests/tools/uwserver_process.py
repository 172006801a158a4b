#!/usr/bin/env python3
"""uwserver as a process: its signals, its keys, its sub-command digest and its command-line refusals.

Usage: uwserver_process.py UWSERVER

SIGHUP reloads the folder (a broken one is not taken and the old replies stay), SIGUSR1 opens the record again
after it was moved away (or says why it cannot), SIGTERM ends the server with status 0; every key it cannot use
is refused at once with the reason (keys made by openssl); digest prints NAME SIZE SHA256 per file; options that
do not fit end with status 2 and the usage. Prints each failed check and exits 1 when there is any.
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
    os.rename(record, record + ".2")
    os.mkdir(record)
    server.send_signal(signal.SIGUSR1)
    why = "uwserver: can't open %s: Is a directory (the record goes on in the file it had)" % record
    check(wait_for(lambda: why in stderr()), "a record that cannot be opened again: " + stderr())
    page()
    check(len(open(record + ".2").readlines()) == 2, "the record goes on in the file it had")
    server.send_signal(signal.SIGTERM)
    check(server.wait(10) == 0, "SIGTERM ends the server with status 0")
    write("rules.txt", "otherwise -> a.txt\n")


def commands(uwserver, scratch):
    path = os.path.join(scratch, "Setup.exe")
    open(path, "wb").write(b"abc")
    run = lambda *args: subprocess.run([uwserver, *args], capture_output=True, text=True, timeout=10)
    r = run("digest", path, os.path.join(scratch, "none.exe"), scratch)
    check(r.stdout == "Setup.exe 3 ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad\n", r.stdout)
    check(r.returncode == 1 and r.stderr == "uwserver: can't read %s/none.exe: No such file or directory\n"
          "uwserver: can't read %s: Is a directory\n" % (scratch, scratch), "digest of what is no file: " + r.stderr)
    for args in (["digest"], ["--tls-cert", path, scratch], ["--threads", "0", scratch], ["--port", "65536", scratch]):
        r = run(*args)
        check(r.returncode == 2 and r.stderr.startswith("Usage: uwserver"), "usage for %s" % args)
    r = run("--port", "0", "--tls-cert", path, "--tls-key", path, scratch + "/folder")
    check(r.returncode == 1 and "uwserver: can't use the certificate " + path in r.stderr, r.stderr)


def keys(uwserver, scratch):
    key = lambda name: os.path.join(scratch, name)
    openssl = lambda *args: subprocess.run(["openssl", *args], check=True, capture_output=True)
    openssl("ecparam", "-name", "prime256v1", "-genkey", "-noout", "-out", key("p256.pem"))
    openssl("ec", "-in", key("p256.pem"), "-pubout", "-out", key("public.pem"))
    openssl("ec", "-in", key("p256.pem"), "-aes128", "-passout", "pass:x", "-out", key("encrypted.pem"))
    openssl("genpkey", "-algorithm", "ed25519", "-out", key("ed25519.pem"))
    openssl("ecparam", "-name", "secp384r1", "-genkey", "-noout", "-out", key("p384.pem"))
    open(key("text.pem"), "w").write("not a key\n")
    run = lambda *args: subprocess.run([uwserver, *args], capture_output=True, text=True, timeout=10,
                                       stdin=subprocess.DEVNULL)
    reply_key = run("--print-key", key("p256.pem")).stdout
    check(re.fullmatch(r"[0-9A-F]{128}\n", reply_key), "the ReplyKey of a private key: " + reply_key)
    check(run("--print-key", key("public.pem")).stdout == reply_key, "the ReplyKey of its public key")
    unsupported = "(OpenSSL: DECODER routines: unsupported)"
    for option, name, why in (
            ("--sign-key", "public.pem", " holds no P-256 private key in PEM " + unsupported),
            ("--print-key", "text.pem", " holds no P-256 key in PEM " + unsupported),
            ("--sign-key", "encrypted.pem", " holds an encrypted key: give uwserver the key without a password "
                                            "(openssl ec -in %s -out PLAIN.pem)" % key("encrypted.pem")),
            ("--sign-key", "ed25519.pem", " holds a key of type ED25519, not a P-256 (prime256v1) key"),
            ("--sign-key", "p384.pem", " holds a key on the curve secp384r1, not on P-256 (prime256v1)"),
            ("--sign-key", "none.pem", ": No such file or directory")):
        r = run(option, key(name), *([scratch] if option == "--sign-key" else []))
        expected = "uwserver: " + ("can't open " if name == "none.pem" else "") + key(name) + why + "\n"
        check(r.returncode == 1 and r.stderr == expected, "%s %s: %s" % (option, name, r.stderr))


def main():
    with tempfile.TemporaryDirectory() as scratch:
        signals(sys.argv[1], scratch)
        commands(sys.argv[1], scratch)
        keys(sys.argv[1], scratch)
    print("%d passed, %d failed" % (len(passed), len(failures)))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
