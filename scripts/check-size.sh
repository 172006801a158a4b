#!/usr/bin/env bash
# Fails when a shipped program is larger than its limit in bytes; the size of a build is deterministic.
set -euo pipefail
file="$1"
limit="$2"
size="$(stat -c %s "$file")"
echo "$file: $size bytes (limit $limit)"
if [ "$size" -gt "$limit" ]; then
    echo "FAIL: $((size - limit)) bytes over the limit"
    exit 1
fi
