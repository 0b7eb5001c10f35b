#!/usr/bin/env bash
# Runs a Windows program under Wine with a prefix of its own below build/.
here=$(cd "$(dirname "$0")/.." && pwd)
export WINEPREFIX=${WINEPREFIX:-$here/build/wine} WINEDEBUG=-all
exec /usr/lib/wine/wine64 "$@"
