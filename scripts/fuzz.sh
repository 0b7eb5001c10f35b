#!/usr/bin/env bash
# Runs every fuzz target under the address and undefined-behaviour sanitizers. Inputs that break something are left in
# build/fuzz/findings; run a target with such a file as its argument to see it again.
#   scripts/fuzz.sh [seconds a target, 60 unless given] [target]...
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/progress.sh
root=$PWD
seconds=${1:-60}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || { echo "fuzz.sh: '$seconds' is no number of seconds" >&2; exit 2; }
shift || true
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(message_file recovery_log plain_file options)

scripts/packages.sh fuzz
step "Building the fuzz targets, about 3 minutes"
configure fuzz
build fuzz --target "${targets[@]/#/fuzz_}"

shm=/dev/shm  # files in memory: the targets write thousands a second
[ -w "$shm" ] || shm=${TMPDIR:-/tmp}
work=$(mktemp -d -p "$shm")
trap 'rm -rf "$work"' EXIT
findings=$root/build/fuzz/findings
mkdir -p "$findings"
failed=()
for target in "${targets[@]}"; do
  step "$target, $seconds seconds"
  mkdir -p "$work/$target/new"
  # The targets write their inputs as files into the working directory. What they print is not worth reading.
  (cd "$work/$target" && ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1 with_progress "$PWD/log" \
    "$root/build/fuzz/bin/fuzz_$target" -max_total_time="$seconds" -max_len=8192 -timeout=10 -rss_limit_mb=2048 \
    -close_fd_mask=3 -artifact_prefix="$findings/$target-" new "$root/fuzz/corpus/$target") ||
    { failed+=("$target"); grep -a -v '^#\|^INFO\|NEW_FUNC\|^"' "$work/$target/log" | tail -n 60; }
  grep -a '^#[0-9]\|^Done' "$work/$target/log" | tail -n 2
done
[ ${#failed[@]} -eq 0 ] || { echo "fuzz.sh: failed: ${failed[*]} (inputs in $findings)"; exit 1; }
