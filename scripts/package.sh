#!/usr/bin/env bash
# Makes the packages in build/packages and tries each out: the .deb is installed in a new Debian and the quickstart's
# commands run there from the installed programs; the .zip is unpacked and moves messages under Wine.
#   package.sh [deb|zip]...
set -euo pipefail
cd "$(dirname "$0")/.."
kinds=("$@")
[ ${#kinds[@]} -gt 0 ] || kinds=(deb zip)
packages=$PWD/build/packages
sudo=""
[ "$(id -u)" -eq 0 ] || sudo=sudo

# Builds what is installed with the named preset and packs it; prints the package's name.
pack() {
  local preset=$1 kind=$2
  [ -e "build/$preset/build.ninja" ] || cmake --preset "$preset" -DTARVO_TESTS=OFF -DTARVO_BENCH=OFF >/dev/null
  cmake --build --preset "$preset" --target tarvo localmq mqm_r -- -j"$(nproc)" >&2
  rm -f "$packages"/*."$kind"
  (cd "build/$preset" && cpack -B "$packages" >/dev/null)
  ls "$packages"/*."$kind"
}

try_deb() {
  local deb=$1 root=$PWD/build/debian
  # The packages that it depends on come with the new Debian, so that dpkg itself needs no network.
  local needs
  needs=$(dpkg-deb -f "$deb" Depends | tr ',' '\n' | awk '{ print $1 }' | paste -sd, -)
  $sudo rm -rf "$root"
  $sudo debootstrap --variant=minbase --include="$needs" "$(. /etc/os-release && echo "$VERSION_CODENAME")" "$root" \
    >"$packages/debootstrap.log"
  $sudo cp "$deb" "$root/tarvo.deb"
  $sudo chroot "$root" dpkg -i /tarvo.deb
  $sudo mkdir -p "$root/try/scripts"
  $sudo cp scripts/quickstart.sh "$root/try/scripts"
  $sudo chroot "$root" cp -r /usr/share/doc/tarvo/examples /try
  $sudo chroot "$root" /try/scripts/quickstart.sh /usr | tail -n 15
  $sudo chroot "$root" dpkg -r tarvo
  [ ! -e "$root/usr/bin/tarvo" ]
  $sudo rm -rf "$root"
}

try_zip() {
  local work=$PWD/build/unpacked wine=$PWD/scripts/wine.sh
  rm -rf "$work"
  mkdir -p "$work"
  (
    cd "$work"
    cmake -E tar xf "$1"
    cd ./*/
    export LOCALMQ_DATA='mq' MQM_DLL_PATH='lib\tarvo\localmq'
    "$wine" bin/localmq.exe create QM1
    printf 'DEFINE QLOCAL(Q1)\nDEFINE QLOCAL(Q2)\n' | "$wine" bin/localmq.exe QM1
    "$wine" bin/tarvo.exe -m QM1 -oQ1 '-fshare\doc\tarvo\examples\messages.tvo'
    "$wine" bin/tarvo.exe -q -m QM1 -iQ1 -fbefore.tvo
    "$wine" bin/tarvo.exe -m QM1 -IQ1 -oQ2
    "$wine" bin/tarvo.exe -q -m QM1 -iQ2 -fafter.tvo
    diff <(grep '^[SX]' before.tvo) <(grep '^[SX]' after.tvo)
  )
  rm -rf "$work"
}

for kind in "${kinds[@]}"; do
  echo "== $kind"
  case "$kind" in
    deb)
      scripts/packages.sh build package
      package=$(pack release deb)
      try_deb "$package"
      ;;
    zip)
      scripts/packages.sh windows
      scripts/fetch_sqlite.sh
      package=$(pack windows zip)
      try_zip "$package"
      ;;
    *) echo "package.sh: unknown kind '$kind'" >&2; exit 2 ;;
  esac
  ls -l "$package" | awk '{ print $5, $9 }'
done
