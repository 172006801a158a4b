#!/usr/bin/env bash
# Checks that a shipped program is a 32-bit PE of the given subsystem that needs no compiler runtime DLL.
set -euo pipefail
exe="$1"
subsystem="$2"
kind="$(file -b "$exe")"
echo "$exe: $kind"
case "$kind" in
    "PE32 executable ($subsystem) Intel 80386"*) ;;
    *) echo "FAIL: expected PE32 executable ($subsystem) Intel 80386"; exit 1 ;;
esac
dlls="$(i686-w64-mingw32-objdump -p "$exe" | sed -n 's/^\s*DLL Name: //p' | tr 'A-Z' 'a-z' | sort -u)"
echo "imports:" $dlls
if echo "$dlls" | grep -E 'libgcc|libstdc|libwinpthread|msvcp|libssp' >/dev/null; then
    echo "FAIL: a compiler runtime DLL is imported"
    exit 1
fi
echo "OK: size $(stat -c %s "$exe") bytes"
