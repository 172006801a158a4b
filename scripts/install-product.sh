#!/usr/bin/env bash
# Makes the Wine prefix of the running session (WINEPREFIX, after wine-session.sh) look like a machine where
# Nimbra 3.1 is installed, once per prefix: the product's class registration, which the program takes stock of,
# and the company's keys with the machine's identity (Random, MachTime) as the installer leaves them. The
# program stores the user's own UserTime there at its first check.
set -euo pipefail
source "$(dirname "$0")/wine-env.sh"
[ ! -f "$WINEPREFIX/.orn-product" ] || exit 0

clsid='HKEY_CLASSES_ROOT\CLSID\{5C1E8D1A-3B7F-4E62-9A0D-7F2B6C4E1A93}'
# The installer writes the tick count and the time of the installation.
random=$(( (RANDOM << 15 | RANDOM) % 2000000000 + 1000 ))
now="$(date +%s)"
{
    printf 'REGEDIT4\n\n'
    printf '[%s]\n@="Nimbra"\n\n' "$clsid"
    printf '[%s\\InstalledVersion]\n@="3.1"\n\n' "$clsid"
    printf '[%s\\InprocServer32]\n@="C:\\\\Program Files\\\\Vantrel\\\\Nimbra\\\\nimbra.dll"\n\n' "$clsid"
    printf '[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vantrel]\n"Random"="%s"\n"MachTime"="%s"\n\n' "$random" "$now"
    printf '[HKEY_CURRENT_USER\\SOFTWARE\\Vantrel]\n\n'
} >"$WINEPREFIX/drive_c/orn-product.reg"
"$WINE64" regedit /S 'C:\orn-product.reg' >/dev/null 2>&1 </dev/null
touch "$WINEPREFIX/.orn-product"
