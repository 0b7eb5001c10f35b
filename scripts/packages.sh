#!/usr/bin/env bash
# Installs the Debian packages that the named task needs, and nothing that is there already.
#   packages.sh build | test | bench | fuzz | windows | package
set -euo pipefail

build="g++ cmake ninja-build libsqlite3-dev sqlite3"
test="$build libgtest-dev clang-format python3 libfaketime"
bench="$test libbenchmark-dev xxd"
fuzz="$build clang libclang-rt-14-dev"
windows="$build googletest g++-mingw-w64-x86-64-posix wine64"
command -v npm >/dev/null || windows="$windows npm"  # other distributions of Node.js bring their own
package="$build dpkg-dev debootstrap"

wanted=""
for task in "$@"; do
  case "$task" in
    build | test | bench | fuzz | windows | package) wanted="$wanted ${!task}" ;;
    *) echo "packages.sh: unknown task '$task'" >&2; exit 2 ;;
  esac
done

missing=""
for name in $(printf '%s\n' $wanted | sort -u); do
  dpkg-query -W -f='${Status}' "$name" 2>/dev/null | grep -q 'install ok installed' || missing="$missing $name"
done
[ -z "$missing" ] && exit 0
sudo=""
[ "$(id -u)" -eq 0 ] || sudo=sudo
echo "Installing:$missing"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends $missing >/dev/null
