#!/usr/bin/env bash
# Puts the SQLite amalgamation (for the Windows build of the local queue manager) into build/third_party/sqlite3. It comes
# as part of an npm package of fixed version, is checked, and is not committed.
set -euo pipefail
cd "$(dirname "$0")/.."
version=11.7.0
checksum=0790df6bdd02fb93b7dec9d6fbe114aa50a25bd5b4e44e5c3b223933f7cd2e1e
target=build/third_party/sqlite3
[ -e "$target/sqlite3.c" ] && exit 0
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
(cd "$work" && npm pack --silent "better-sqlite3@$version" >/dev/null)
echo "$checksum  $work/better-sqlite3-$version.tgz" | sha256sum -c --quiet
tar -xzf "$work/better-sqlite3-$version.tgz" -C "$work" package/deps/sqlite3
mkdir -p "$target"
cp "$work"/package/deps/sqlite3/sqlite3.[ch] "$target"
