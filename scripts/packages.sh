#!/usr/bin/env bash
# Installs the Debian packages that the named tasks need, and nothing that is there already. Without root and without sudo
# it prints the command that root must run.
#   packages.sh [build|test|bench|fuzz|windows|package|bare]...
set -euo pipefail
. "$(dirname "$0")/progress.sh"

build="g++ cmake ninja-build libsqlite3-dev sqlite3"
test="$build libgtest-dev clang-format clang-tidy python3 libfaketime tzdata"
bench="$test xxd"
fuzz="$build clang libclang-rt-dev"
windows="$build googletest g++-mingw-w64-x86-64-posix wine64"
command -v npm >/dev/null || windows="$windows npm"  # other distributions of Node.js bring their own
package="$build dpkg-dev debootstrap"
bare="debootstrap tzdata"

wanted=""
for task in "$@"; do
  case "$task" in
    build | test | bench | fuzz | windows | package | bare) wanted="$wanted ${!task}" ;;
    *) echo "packages.sh: unknown task '$task'" >&2; exit 2 ;;
  esac
done

missing=""
for name in $(printf '%s\n' $wanted | sort -u); do
  dpkg-query -W -f='${Status}' "$name" 2>/dev/null | grep -q 'install ok installed' || missing="$missing $name"
done
[ -z "$missing" ] && exit 0

# Questions are answered by their defaults, and whatever still asks finds no input: nothing waits unseen.
quiet="DEBIAN_FRONTEND=noninteractive"
install="apt-get install -y --no-install-recommends$missing"
if [ "$(id -u)" -eq 0 ]; then
  root=(env "$quiet")
elif command -v sudo >/dev/null; then
  root=(sudo "$quiet")
else
  printf 'packages.sh: packages are missing, and without sudo only root can install them:\n\n  %s\n\n' \
    "apt-get update && $quiet $install" >&2
  exit 1
fi
echo "Installing, in a few minutes:$missing"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
with_progress_or_log "$log" "${root[@]}" apt-get update
with_progress_or_log "$log" "${root[@]}" $install
