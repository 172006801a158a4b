#!/usr/bin/env bash
# The share of test code: lines of C and C++ (tracked files ending .c .cc .cpp .cxx .h .hpp .hh .inl) that are
# neither blank nor "//" comments, under tests/ against tests/, framework/, app/ and tools/ together.
set -euo pipefail
cd "$(dirname "$0")/.."
count() {
    git ls-files -- "$@" | grep -E '\.(c|cc|cpp|cxx|h|hpp|hh|inl)$' | tr '\n' '\0' | xargs -0 cat 2>/dev/null |
        grep -c -v -E '^\s*$|^\s*//' || true
}
tests=$(count tests)
product=$(count framework app tools)
echo "tests $tests, product $product: tests are $(awk -v t="$tests" -v p="$product" \
    'BEGIN { printf "%.1f", 100 * t / (t + p) }') % of all the code"
