#!/usr/bin/env bash
# Fresh machine -> packages, build, every test. With an argument only that part: release, asan, tsan, style.
#   scripts/test.sh [release|asan|tsan|style]...
set -euo pipefail
cd "$(dirname "$0")/.."
parts=("$@")
[ ${#parts[@]} -gt 0 ] || parts=(style release asan tsan)

scripts/packages.sh build test

build() {
  cmake --preset "$1" -DTARVO_TESTS=ON >/dev/null
  cmake --build --preset "$1" -- -j"$(nproc)" | tail -n 3
}

for part in "${parts[@]}"; do
  echo "== $part"
  case "$part" in
    style) git ls-files '*.cpp' '*.h' '*.c' | xargs clang-format --dry-run --Werror ;;
    release)
      build release
      ctest --test-dir build/release --output-on-failure -j"$(nproc)"
      ;;
    asan)
      build asan
      ASAN_OPTIONS=detect_leaks=0 ctest --test-dir build/asan --output-on-failure -j"$(nproc)"
      ;;
    tsan)
      build tsan
      ctest --test-dir build/tsan --output-on-failure -j"$(nproc)" -R 'consumer|Consumer|SeveralInputs|Lock'
      ;;
    *) echo "test.sh: unknown part '$part'" >&2; exit 2 ;;
  esac
done
