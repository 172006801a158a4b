#!/usr/bin/env bash
# Makes the Wine prefix of a build tree once: no Mono/Gecko prompts, no crash dialog, no automatic debugger.
set -euo pipefail
export WINE_BUILD_DIR="${1:-${WINE_BUILD_DIR:-}}"
source "$(dirname "$0")/wine-env.sh"

if [ -f "$WINEPREFIX/.orn-ready" ]; then
    exit 0
fi
mkdir -p "$WINEPREFIX"
"$WINE64" wineboot -i >/dev/null 2>&1 || true
"$WINE64" reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f >/dev/null 2>&1
# Auto: the debugger is started without asking; with the crash dialog off it only ends the process.
"$WINE64" reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Auto /t REG_SZ /d 1 /f >/dev/null 2>&1
"$WINESERVER" -w
touch "$WINEPREFIX/.orn-ready"
