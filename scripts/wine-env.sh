# Sourced: the environment every Wine run of this project uses.
# WINE_BUILD_DIR names the build tree whose prefix is used (default: build/win64 of this checkout).
WINE64=/usr/lib/wine/wine64
WINESERVER=/usr/lib/wine/wineserver64
[ -x "$WINESERVER" ] || WINESERVER=/usr/lib/wine/wineserver
_root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
: "${WINE_BUILD_DIR:=$_root/build/win64}"
mkdir -p "$WINE_BUILD_DIR"
WINE_BUILD_DIR="$(cd "$WINE_BUILD_DIR" && pwd)"
export WINEPREFIX="${WINEPREFIX:-$WINE_BUILD_DIR/wineprefix}"
export WINEDEBUG=-all
# ORN_DLL_OVERRIDES adds overrides of a test's own (signed_servers.py's planted libraries).
export WINEDLLOVERRIDES="mscoree,mshtml=${ORN_DLL_OVERRIDES:+;$ORN_DLL_OVERRIDES}"
export WINEARCH=win64
# Wine's WinINet falls back to these when its registry names no proxy.
unset http_proxy https_proxy HTTP_PROXY HTTPS_PROXY no_proxy NO_PROXY
