#!/usr/bin/env python3
"""Times `uwserver report` on synthetic records and prints, in one run, the time and the peak memory of each
case: one million lines from 20,000 and from 200,000 machines, and a quarter of the lines from 20,000, so that
the memory is seen to follow the machines and not the lines.

    report_bench.py UWSERVER WORKDIR
"""
import os
import subprocess
import sys
import time

LIMIT_SECONDS = 10.0


def run(uwserver, record, html):
    """Wall and CPU seconds and peak RSS in MB of one report, the HTML page included."""
    start = time.monotonic()
    with open(os.devnull, "w") as devnull:
        child = subprocess.Popen([uwserver, "report", record, "--html", html], stdout=devnull)
        _, status, usage = os.wait4(child.pid, 0)
    wall = time.monotonic() - start
    if status != 0:
        sys.exit("uwserver report failed on %s" % record)
    return wall, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024.0


def main():
    uwserver, work = sys.argv[1], sys.argv[2]
    here = os.path.dirname(os.path.abspath(__file__))
    os.makedirs(work, exist_ok=True)
    records = {}
    for machines in (20000, 200000):
        path = os.path.join(work, "record-%d" % machines)
        if not os.path.exists(path):
            print("making %s ..." % path, flush=True)
            subprocess.check_call([sys.executable, os.path.join(here, "make_record.py"), "1000000", str(machines),
                                   "7", path])
        records[machines] = path
    quarter = os.path.join(work, "record-20000-quarter")
    with open(records[20000]) as full, open(quarter, "w") as out:
        for n, line in enumerate(full):
            if n == 250000:
                break
            out.write(line)
    cases = [(1000000, 20000, records[20000]), (1000000, 200000, records[200000]), (250000, 20000, quarter)]
    print("%9s %9s %9s %8s %8s %12s %12s" % ("lines", "machines", "MB", "wall s", "cpu s", "lines/s", "peak RSS MB"))
    results = []
    for lines, machines, path in cases:
        wall, cpu, rss = run(uwserver, path, os.path.join(work, "report.html"))
        results.append((wall, rss))
        print("%9d %9d %9.0f %8.2f %8.2f %12.0f %12.1f" % (lines, machines, os.path.getsize(path) / 1e6, wall, cpu,
                                                          lines / wall, rss))
    print("memory, 200,000 against 20,000 machines (one million lines each): %.2fx" % (results[1][1] / results[0][1]))
    print("memory, one million against 250,000 lines (20,000 machines):        %.2fx" % (results[0][1] / results[2][1]))
    worst = max(results[0][0], results[1][0])
    print("one million lines in %.2f s: %s the limit of %.0f s" % (worst, "within" if worst < LIMIT_SECONDS else "OVER",
                                                                 LIMIT_SECONDS))


if __name__ == "__main__":
    main()
