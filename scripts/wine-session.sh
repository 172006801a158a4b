# Sourced: starts an X display and a persistent wineserver for one build tree, and stops both on exit.
# Usage: source scripts/wine-session.sh BUILD_DIR [--keep-display | --no-display]
# With --keep-display and DISPLAY set, the windows go to that display (for a person to see) instead of Xvfb.
# With --no-display there is no display at all, for programs that open no window.
_session_dir="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
export WINE_BUILD_DIR="$1"
source "$_session_dir/wine-env.sh"
"$_session_dir/wine-prefix.sh" "$WINE_BUILD_DIR"

_xvfb_pid=""
if [ "${2:-}" = "--no-display" ]; then
    unset DISPLAY
elif [ "${2:-}" != "--keep-display" ] || [ -z "${DISPLAY:-}" ]; then
    _display=99
    while [ -e "/tmp/.X${_display}-lock" ] || [ -e "/tmp/.X11-unix/X${_display}" ]; do _display=$((_display + 1)); done
    Xvfb ":${_display}" -screen 0 1280x1024x24 -nolisten tcp >/dev/null 2>&1 &
    _xvfb_pid=$!
    export DISPLAY=":${_display}"
    for _i in $(seq 1 50); do [ -e "/tmp/.X11-unix/X${_display}" ] && break; sleep 0.1; done
fi

# Without a persistent server every process start pays for a new one.
"$WINESERVER" -p
# Wine's own services start with the first program and inherit its output; start them here, detached, or
# they hold a test runner's output pipe open until the server ends.
"$WINE64" wineboot >/dev/null 2>&1 </dev/null
# Xvfb has no window manager, and Wine waits 2 s for one each time a managed window is hidden: our programs'
# windows are unmanaged there. On a person's display they stay managed.
_managed=Y
[ -z "$_xvfb_pid" ] || _managed=N
for _exe in UpdateWatch.exe e2e_tests.exe https_e2e_tests.exe install_e2e_tests.exe test_installer.exe \
    crash_victim.exe crash_victim_plain.exe; do
    printf '[HKEY_CURRENT_USER\\Software\\Wine\\AppDefaults\\%s\\X11 Driver]\n"Managed"="%s"\n\n' "$_exe" "$_managed"
done | { echo REGEDIT4; echo; cat; } >"$WINEPREFIX/drive_c/orn-managed.reg"
"$WINE64" regedit /S 'C:\orn-managed.reg' >/dev/null 2>&1 </dev/null
wine_session_stop() {
    "$WINESERVER" -k >/dev/null 2>&1 || true
    if [ -n "$_xvfb_pid" ]; then
        kill "$_xvfb_pid" >/dev/null 2>&1 || true
        wait "$_xvfb_pid" 2>/dev/null || true
    fi
}
trap wine_session_stop EXIT
