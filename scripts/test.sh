#!/usr/bin/env bash
# Fresh machine -> packages, build, every test. With arguments only those parts (tsan only so).
#   scripts/test.sh [style|release|asan|windows|fuzz|tsan]...
set -euo pipefail
cd "$(dirname "$0")/.."
parts=("$@")
[ ${#parts[@]} -gt 0 ] || parts=(style fuzz asan windows release)

scripts/packages.sh build test

# build <preset> [more arguments of cmake --build]
build() {
  local preset=$1
  shift
  cmake --preset "$preset" -DTARVO_TESTS=ON >/dev/null
  cmake --build --preset "$preset" "$@" -- -j"$(nproc)" >"build/$preset.log" ||
    { tail -n 60 "build/$preset.log"; return 1; }
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
    windows) scripts/windows.sh ;;
    fuzz) scripts/fuzz.sh 60 ;;
    tsan)
      # Only what has threads: the consumer of several queues, the common lock.
      build tsan --target tarvo localmq mqm_r faultmq test_common whole_program_tests
      build/tsan/bin/test_common --gtest_filter='*Lock*' --gtest_brief=1
      build/tsan/bin/whole_program_tests --gtest_filter='SeveralInputs*' --gtest_brief=1
      ;;
    *) echo "test.sh: unknown part '$part'" >&2; exit 2 ;;
  esac
done
