#!/usr/bin/env bash
# Fresh Debian machine -> packages, build, every test; with arguments only the parts that they name (--help lists them).
# A part that fails does not keep the next from running. The exit status is that of the first that failed.
#   scripts/test.sh [part]...
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/progress.sh

# What each part does and how long it takes on two cores, the packages that it needs, and below the function that runs it.
# What takes too long for every day is in the nightly list only.
declare -A about=(
  [release]="10 minutes: the programs as they are shipped, all tests, the quick ones in two more time zones"
  [style]="2 minutes: the sources against .clang-format and .clang-tidy, the includes against the order of the rooms"
  [asan]="10 minutes: all tests with the address and undefined-behaviour sanitizers"
  [windows]="15 minutes: the Windows programs and their tests under Wine"
  [fuzz]="7 minutes: every fuzz target for a minute"
  [tsan]="5 minutes: what has threads with the thread sanitizer"
  [kills]="30 minutes: 300 runs of each kind that are killed, and 300 that are interrupted, at random instants"
  [repeat]="40 minutes: every suite 20 times beside a busy loop on each core"
  [bare]="4 hours: quickstart.sh and test.sh in minimal roots of Debian 12 and 13"
)
declare -A packages=([release]=test [style]=test [asan]=test [windows]="test windows" [fuzz]=fuzz [tsan]=test [kills]=test [repeat]=test
  [bare]=bare)
usual=(release style asan windows fuzz)
nightly=("${usual[@]}" tsan kills repeat bare)

# run_tests <preset> [more arguments of ctest]
run_tests() { ctest --test-dir "build/$1" --output-on-failure --no-tests=error -j"$(nproc)" "${@:2}"; }

part_style() {
  scripts/check_includes.sh
  git ls-files '*.cpp' '*.h' '*.c' | xargs clang-format --dry-run --Werror
  # The one thing about which the versions of clang-format in Debian 12 and 13 disagree.
  if git grep -nE '^[^/]*[A-Za-z0-9_>] [A-Za-z0-9_]+::\*[a-zA-Z]' -- '*.cpp' '*.h'; then
    echo "Declare pointers to members as Member<Record, Value> (common/member.h)."
    return 1
  fi
  configure release -DTARVO_TESTS=ON
  git ls-files 'src/*.cpp' | grep -vE '_test\.cpp$|/win32/' |
    xargs -P"$(nproc)" -n4 clang-tidy -p build/release --quiet 2>build/tidy.log || { tail -n 20 build/tidy.log; return 1; }
}

part_release() {
  step "Building, about 5 minutes"
  configure release -DTARVO_TESTS=ON
  build release
  step "All tests, in UTC, about 3 minutes"
  TZ=UTC run_tests release
  for zone in America/New_York Asia/Kolkata; do
    step "The quick tests in $zone, a minute"
    [ -e "/usr/share/zoneinfo/$zone" ]
    TZ=$zone run_tests release -E 'Kill|Faulty|SeveralInputs|TenThousand|LargeQueue|HundredMegabytes'
  done
}

part_asan() {
  step "Building, about 6 minutes"
  configure asan -DTARVO_TESTS=ON
  build asan
  step "All tests, about 4 minutes"
  ASAN_OPTIONS=detect_leaks=0 run_tests asan
}

part_windows() { scripts/windows.sh; }

part_fuzz() { scripts/fuzz.sh 60; }

# Only what has threads: the consumer of several queues, transfers side by side, the common lock.
part_tsan() {
  step "Building, about 4 minutes"
  configure tsan -DTARVO_TESTS=ON
  build tsan --target tarvo localmq mqm_r faultmq test_common test_engine whole_program_tests
  step "Testing, about a minute"
  build/tsan/bin/test_common --gtest_filter='*Lock*' --gtest_brief=1
  build/tsan/bin/test_engine --gtest_filter='Transfers*' --gtest_brief=1
  build/tsan/bin/whole_program_tests --gtest_filter='SeveralInputs*' --gtest_brief=1
}

part_kills() {
  step "Building, about 5 minutes"
  configure release -DTARVO_TESTS=ON
  build release
  step "Killing and interrupting, about 25 minutes"
  TARVO_KILLS=300 run_tests release -R KilledRun
}

# Nothing may depend on how fast the machine is. The loops end with this part and with this script, however that ends.
part_repeat() {
  step "Building, about 5 minutes"
  configure release -DTARVO_TESTS=ON
  build release
  step "Every test 20 times, about 35 minutes"
  local part=$BASHPID core
  for core in $(seq "$(nproc)"); do
    while kill -0 "$part" && kill -0 $$; do for ((i = 0; i < 10000; ++i)); do :; done; done 2>/dev/null &
  done
  with_progress build/repeat.log run_tests release --repeat until-fail:20 ||
    { grep -vE ' Passed | Start ' build/repeat.log | tail -n 100; return 1; }
  tail -n 5 build/repeat.log
}

part_bare() { scripts/bare.sh; }

usage() {
  echo "usage: scripts/test.sh [part]...     (without arguments: ${usual[*]})"
  for part in "${nightly[@]}"; do printf '  %-8s %s\n' "$part" "${about[$part]}"; done
  printf '  %-8s %s\n' nightly "all of these"
}

parts=()
for part in "$@"; do
  case "$part" in
    -h | --help) usage; exit 0 ;;
    nightly) parts+=("${nightly[@]}") ;;
    *)
      [ -n "${about[$part]:-}" ] || { echo "test.sh: unknown part '$part'" >&2; usage >&2; exit 2; }
      parts+=("$part")
      ;;
  esac
done
[ ${#parts[@]} -gt 0 ] || parts=("${usual[@]}")

wanted=()
for part in "${parts[@]}"; do wanted+=(${packages[$part]}); done
scripts/packages.sh "${wanted[@]}"

results=()
first=0
summary() {
  printf '\n%-10s %-14s %s\n' part result time
  printf '%s\n' "${results[@]}"
}
trap summary EXIT
for part in "${parts[@]}"; do
  printf '\n== %s, about %s\n' "$part" "${about[$part]}"
  start=$SECONDS
  set +e
  (set -e; "part_$part")
  status=$?
  set -e
  result=passed
  [ $status -eq 0 ] || result="failed ($status)"
  [ $first -ne 0 ] || first=$status
  time=$((SECONDS - start))
  results+=("$(printf '%-10s %-14s %3d min %02d s' "$part" "$result" $((time / 60)) $((time % 60)))")
done
exit $first
