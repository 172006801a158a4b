"""What the uwserver benchmarks share: a Release uwserver, servers on ports the system picks, and wrk."""
import os
import re
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
# A version request as the program sends it (13 parameters), for the standard host.
QUERY = ("VR_ProdName=Nimbra&VR_ProdVer=3.10.0.0&VR_ProdLang=EN&VR_Vendor=Vantrel&VR_OSVer=10.0.19045"
         "&VR_OSLang=en-US&VR_OSBits=64&VR_MachTime=1700000000&VR_UserTime=1700000100&VR_Random=123456789"
         "&VR_MACAddr=00-11-22-33-44-55&Notify=1&PagesTotal=12")
PAGE = "/updatewatch/updatewatch.aspx"
NONCE = "00112233445566778899AABBCCDDEEFF"


def build_uwserver():
    """Builds uwserver in Release (build/release-tools) and returns its path."""
    build = os.path.join(ROOT, "build", "release-tools")
    subprocess.run(["cmake", "-S", os.path.join(ROOT, "tools", "host"), "-B", build, "-G", "Ninja",
                    "-DCMAKE_BUILD_TYPE=Release", "-DORN_HOST_UWSERVER=ON"], check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["cmake", "--build", build, "-j", os.environ.get("ORN_JOBS", "2"), "--target", "uwserver"],
                   check=True, stdout=subprocess.DEVNULL)
    return os.path.join(build, "bin", "uwserver")


def start_uwserver(uwserver, args, log_dir, name):
    """Starts uwserver with ARGS on a free loopback port; returns the process and the port."""
    err = open(os.path.join(log_dir, name + ".err"), "w")
    proc = subprocess.Popen([uwserver, "--port", "0"] + args, stdout=subprocess.PIPE, stderr=err, text=True)
    line = proc.stdout.readline()
    match = re.fullmatch(r"listening on [0-9.]+:(\d+)\n", line)
    if not match:
        proc.kill()
        sys.exit("uwserver did not start: see " + err.name)
    return proc, int(match.group(1))


def make_key(path):
    subprocess.run(["openssl", "ecparam", "-name", "prime256v1", "-genkey", "-noout", "-out", path], check=True)


def wrk(url, connections, seconds, extra=()):
    """Runs wrk; returns requests/s, median and 99th percentile in ms, and the count of errors and non-2xx."""
    threads = min(2, connections)
    out = subprocess.run(["wrk", "-t%d" % threads, "-c%d" % connections, "-d%ds" % seconds, "--latency",
                          "--timeout", "5s", *extra, url], check=True, capture_output=True, text=True).stdout
    rate = float(re.search(r"Requests/sec:\s+([0-9.]+)", out).group(1))
    p50 = to_ms(re.search(r"^\s+50%\s+(\S+)", out, re.M).group(1))
    p99 = to_ms(re.search(r"^\s+99%\s+(\S+)", out, re.M).group(1))
    errors = sum(int(n) for n in re.findall(r"(?:connect|read|write|timeout) (\d+)", out))
    non2xx = re.search(r"Non-2xx or 3xx responses: (\d+)", out)
    return rate, p50, p99, errors + (int(non2xx.group(1)) if non2xx else 0)


def to_ms(text):
    value, unit = re.fullmatch(r"([0-9.]+)(us|ms|s|m)", text).groups()
    return float(value) * {"us": 0.001, "ms": 1.0, "s": 1000.0, "m": 60000.0}[unit]


def stop(procs):
    for proc in procs:
        proc.terminate()
    for proc in procs:
        proc.wait()
