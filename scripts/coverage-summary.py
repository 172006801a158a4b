#!/usr/bin/env python3
"""Coverage per area from gcovr's JSON of the native and win64 runs: lines and branches reached in each
build and in both together (a line counts once, reached if either build reached it).
Usage: coverage-summary.py ROOT DIR   (DIR holds native.json and/or win64.json)"""
import json
import os
import sys

AREAS = [
    ("framework portable", lambda f: f.startswith("framework/") and "_Win" not in f and "_Posix" not in f),
    ("framework _Win", lambda f: f.startswith("framework/") and "_Win" in f),
    # The native stand-ins for Windows calls: never shipped, there for the native tests and tools.
    ("framework _Posix", lambda f: f.startswith("framework/") and "_Posix" in f),
    ("app", lambda f: f.startswith("app/")),
    ("tools", lambda f: f.startswith("tools/")),
]
BUILDS = ["native", "win64"]


def load(path, root):
    """{file: ({line: reached}, {(line, index): taken})} of one gcovr JSON file."""
    with open(path) as f:
        data = json.load(f)
    files = {}
    for entry in data["files"]:
        name = os.path.relpath(os.path.join(root, entry["file"]), root)
        lines, branches = files.setdefault(name, ({}, {}))
        for line in entry["lines"]:
            if line.get("gcovr/noncode"):
                continue
            n = line["line_number"]
            lines[n] = lines.get(n, False) or line["count"] > 0
            for i, b in enumerate(line.get("branches", [])):
                branches[(n, i)] = branches.get((n, i), False) or b["count"] > 0
    return files


def merge(runs):
    both = {}
    for files in runs:
        for name, (lines, branches) in files.items():
            l, b = both.setdefault(name, ({}, {}))
            for k, v in lines.items():
                l[k] = l.get(k, False) or v
            for k, v in branches.items():
                b[k] = b.get(k, False) or v
    return both


def figure(files, belongs, which):
    hit = total = 0
    for name, parts in files.items():
        if belongs(name):
            values = parts[which].values()
            total += len(values)
            hit += sum(values)
    return "-" if total == 0 else f"{100.0 * hit / total:5.1f} % ({hit}/{total})"


def main():
    root, folder = sys.argv[1], sys.argv[2]
    runs = {b: load(os.path.join(folder, b + ".json"), root) for b in BUILDS
            if os.path.exists(os.path.join(folder, b + ".json"))}
    runs["both"] = merge(runs.values())
    for which, title in ((0, "lines"), (1, "branches")):
        print(f"{title:20}" + "".join(f"{b:>24}" for b in runs))
        for area, belongs in AREAS:
            print(f"{area:20}" + "".join(f"{figure(files, belongs, which):>24}" for files in runs.values()))
        print()


main()
