#!/usr/bin/env bash
# Fresh Debian machine -> packages, the Windows programs (cross-built), their tests under Wine, and message files carried
# between the Windows and the Linux program. docs/windows.md tells which tests cannot run there.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/progress.sh

scripts/packages.sh windows
scripts/fetch_sqlite.sh
step "Building the Windows programs, about 5 minutes"
configure windows -DTARVO_TESTS=ON
build windows

step "Making a Windows, about a minute"
# A Windows of its own, made new. C:\temp is where the trap record and the format test's file go.
export WINEPREFIX=$PWD/build/wine WINEDEBUG=-all
rm -rf "$WINEPREFIX"
stop_wine() { /usr/lib/wine/wineserver64 -k || true; }
trap stop_wine EXIT
mkdir -p "$WINEPREFIX"
/usr/lib/wine/wineserver64 -p  # stays between the tests
scripts/wine.sh wineboot -i >/dev/null 2>&1
mkdir -p "$WINEPREFIX/drive_c/temp"

step "The tests under Wine, about 8 minutes"
ctest --test-dir build/windows --output-on-failure --no-tests=error -j"$(nproc)"

step "Message files from Linux to Windows and back, a minute"
[ -e build/release/build.ninja ] || configure release -DTARVO_TESTS=OFF -DTARVO_BENCH=OFF
build release --target tarvo localmq mqm_r
root=$PWD
work=$root/build/carried
rm -rf "$work"
mkdir -p "$work"
cd "$work"

on_linux() {
  local program=$1
  shift
  LOCALMQ_DATA=$work/linux MQM_DLL_PATH=$root/build/release/lib/localmq "$root/build/release/bin/$program" "$@"
}
on_windows() {
  local program=$1
  shift
  LOCALMQ_DATA="Z:${work//\//\\}\\windows" MQM_DLL_PATH="Z:${root//\//\\}\\build\\windows\\lib\\localmq" \
    "$root/scripts/wine.sh" "$root/build/windows/bin/$program.exe" "$@"
}
# Without the header with its time, and what a queue manager sets itself at a put (the backout count).
fields() { tr -d '\r' <"$1" | grep -v -e '^\*' -e '^A BOC'; }

for system in on_linux on_windows; do
  $system localmq create QM1
  printf 'DEFINE QLOCAL(Q1)\nDEFINE QLOCAL(Q2)\n' | $system localmq QM1 >/dev/null
done
on_linux tarvo -q -m QM1 -oQ1 -f"$root/examples/messages.tvo"
for layout in a A p c; do
  on_linux tarvo -q -m QM1 -iQ1 -Flinux.tvo -d$layout
  on_windows tarvo -q -m QM1 -oQ1 -flinux.tvo
  on_windows tarvo -q -m QM1 -IQ1 -Fwindows.tvo -d$layout
  on_linux tarvo -q -m QM1 -oQ2 -fwindows.tvo
  on_linux tarvo -q -m QM1 -IQ2 -Fback.tvo -d$layout
  [ "$(grep -c $'\r$' windows.tvo)" = "$(wc -l <windows.tvo)" ]
  diff <(fields linux.tvo) <(fields back.tvo)
  echo "  -d$layout: the same $(grep -c '^A RPT' back.tvo) messages"
done
