#!/usr/bin/env bash
# Installs what a fresh Debian 12 machine lacks for building and testing. Idempotent.
set -euo pipefail

PACKAGES=(
    cmake ninja-build g++ clang libclang-rt-14-dev googletest
    # uwserver's HTTP layer (Boost.Beast, header-only); cpp-httplib's client in its tests; nginx in front of it
    # in the end-to-end test through the production shape, and wrk for its benchmarks.
    libboost-dev libcpp-httplib-dev nginx-light wrk
    # Signed replies: OpenSSL's libcrypto for uwserver and the native twin of the check, and the openssl
    # command that makes the vendor's key.
    libssl-dev openssl
    g++-mingw-w64-i686-win32 g++-mingw-w64-x86-64-posix
    wine64 xvfb xdotool imagemagick file binutils
    # HTTPS tests: Wine's TLS (only recommended by wine64) and the loopback TLS servers.
    libgnutls30 python3
    # scripts/coverage.sh
    gcovr
    # uwserver report's page, loaded by the test command in a real browser
    chromium
)

missing=()
for p in "${PACKAGES[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if [ ${#missing[@]} -gt 0 ]; then
    SUDO=""
    [ "$(id -u)" -ne 0 ] && SUDO="sudo"
    export DEBIAN_FRONTEND=noninteractive
    $SUDO apt-get update -q
    $SUDO apt-get install -y -q --no-install-recommends "${missing[@]}"
fi
