#!/usr/bin/env bash
# Measures this build against public tools in one run and prints a table of ratios. Processor time (user + system) unless
# said otherwise, medians of 5.
#   bench/compare.sh [build folder]      (default: build/release)
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(realpath "${1:-build/release}")
tarvo=$build/bin/tarvo
work=$(mktemp -d "${TMPDIR:-/tmp}/tarvo-bench.XXXXXX")
trap 'rm -rf "$work"' EXIT
export LOCALMQ_DATA=$work/mq LC_ALL=C
# Every run writes a new file: taking the blocks of an old one apart is not what is measured.
measure() { bench/measure.py -b "rm -f $work/out" "$@"; }
cpu() { measure "$@" | cut -d' ' -f1; }
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'; }
row() { printf '| %-62s | %12s | %-16s | %s |\n' "$1" "$2" "$3" "$4"; }

echo "Making input (256 MiB of message data, twice)..." >&2
messages=262144
bench/make_input.py "$work/random.tvo" $messages random
bench/make_input.py "$work/text.tvo" $messages text
bench/make_input.py "$work/small.tvo" $((messages / 10)) random
grep '^X' "$work/random.tvo" | cut -c3- >"$work/digits.txt"

row "measurement" "figure" "target" "compared with"
row "---" "---" "---" "---"
cat_time=$(cpu "cat $work/random.tvo > $work/out")
hex_time=$(cpu "$tarvo -q -f$work/random.tvo -F$work/out")
row "reformat hex to hex, times cat" "$(ratio "$hex_time" "$cat_time")" "<= 6" "cat in > out"
xxd_time=$(cpu "xxd -r -p < $work/digits.txt | xxd -p -c 25 > $work/out")
row "reformat hex to hex, times less than xxd" "$(ratio "$xxd_time" "$hex_time")" ">= 12" "xxd there and back"

cat_text=$(cpu "cat $work/text.tvo > $work/out")
"$tarvo" -q -f"$work/text.tvo" -F"$work/ascii.tvo" -dA
"$tarvo" -q -f"$work/text.tvo" -F"$work/print.tvo" -dp
row "reformat text, hex to -dA, times cat" "$(ratio "$(cpu "$tarvo -q -f$work/text.tvo -F$work/out -dA")" "$cat_text")" "<= 8" "cat in > out"
row "reformat text, hex to -dp, times cat" "$(ratio "$(cpu "$tarvo -q -f$work/text.tvo -F$work/out -dp")" "$cat_text")" "<= 8" "cat in > out"
row "reformat text, -dA to hex, times cat" "$(ratio "$(cpu "$tarvo -q -f$work/ascii.tvo -F$work/out")" "$cat_text")" "<= 8" "cat in > out"
row "reformat text, -dp to hex, times cat" "$(ratio "$(cpu "$tarvo -q -f$work/print.tvo -F$work/out")" "$cat_text")" "<= 8" "cat in > out"

bench/make_input.py "$work/million.tvo" 1000000 text 256
null_time=$(cpu "$tarvo -q -f$work/million.tvo -fnull")
select_time=$(cpu "$tarvo -q -f$work/million.tvo -F$work/out -sNEEDLE")
row "selecting 1 % of a million by -s, times reading all" "$(ratio "$select_time" "$null_time")" "<= 1.3" "the same file to null"
summary_time=$(cpu "$tarvo -q -f$work/million.tvo -ds > $work/out")
added=$(awk -v a="$summary_time" -v b="$null_time" 'BEGIN { printf "%.3f", a - b }')  # of a million: microseconds of each
row "a summary of a million, microseconds a message over reading" "$added" "<= 0.3" "the same file to null"
rm -f "$work/million.tvo"

for _ in $(seq 100); do cat examples/log_dump.txt; done >"$work/hundred.txt"
for _ in $(seq 620); do cat "$work/hundred.txt"; done >"$work/dump.txt"  # 1 GB
dump_time=$(cpu "$tarvo -q -j$work/dump.txt -iORDERS -Fnull 2>$work/out")
row "reading 1 GB of recovery log, times wc -l" "$(ratio "$dump_time" "$(cpu "wc -l $work/dump.txt >/dev/null")")" "<= 6" "wc -l"
dump_peak=$(measure -n 1 "exec $tarvo -q -j$work/dump.txt -iORDERS -Fnull 2>$work/out" | cut -d' ' -f3)
row "peak memory of that, MiB" "$dump_peak" "< 16" ""
rm -f "$work/hundred.txt" "$work/dump.txt"

peak_small=$(measure -n 1 "exec $tarvo -q -f$work/small.tvo -F$work/out" | cut -d' ' -f3)
peak_large=$(measure -n 1 "exec $tarvo -q -f$work/random.tvo -F$work/out" | cut -d' ' -f3)
row "peak memory, file of 25.6 MiB of data, MiB" "$peak_small" "< 16" ""
row "peak memory, ten times as large, MiB" "$peak_large" "< 16, the same" ""

if [ -e "$build/lib/nullmq/libmqm_r.so" ]; then
  export NULLMQ_SIZE=1024 NULLMQ_MESSAGES=2000000 MQM_DLL_PATH=$build/lib/nullmq
  spent=$(cpu "$tarvo -q -mQM -IQ1 -oQ2")
  row "queue to queue, messages of 1 KiB a second" "$(awk -v t="$spent" 'BEGIN { printf "%d", 2000000 / t }')" ">= 2,000,000" "bench/nullmq"
  seq 1000000 | sed 's/.*/{"order":&,"lines":[{"item":"notebook","price":{"amount":12.5}},{"item":"pencil"}],"note":"by noon"}/' \
    >"$work/lines.json"
  spent=$(cpu "$tarvo -q -mQM -oQ1 -f$work/lines.json -nF! -Cd")
  row "JSON lines to queue, MB a second" "$(awk -v t="$spent" -v b="$(stat -c %s "$work/lines.json")" 'BEGIN { printf "%d", b / 1e6 / t }')" ">= 300" "bench/nullmq"
  rm -f "$work/lines.json"
  export NULLMQ_MESSAGES=500000
  spent=$(cpu "$tarvo -q -mQM -iQ1 -F$work/out")
  row "queue to hex file, MB of message data a second" "$(awk -v t="$spent" 'BEGIN { printf "%d", 512 / t }')" ">= 600" "bench/nullmq"
fi
rm -f "$work/out" "$work/ascii.tvo" "$work/print.tvo" "$work/digits.txt"

if [ -e "$build/lib/localmq/libmqm_r.so" ]; then
  export MQM_DLL_PATH=$build/lib/localmq
  bench/make_input.py "$work/load.tvo" 100000 random
  "$build/bin/localmq" create QM >/dev/null
  echo "DEFINE QLOCAL(Q1) MAXDEPTH(1000000)" | "$build/bin/localmq" QM >/dev/null
  load=$(measure -n 5 -b "echo 'CLEAR QLOCAL(Q1)' | $build/bin/localmq QM >/dev/null" \
    "$tarvo -q -mQM -oQ1 -f$work/load.tvo" | cut -d' ' -f2)
  unload=$(measure -n 5 "$tarvo -q -mQM -iQ1 -F$work/out" | cut -d' ' -f2)
  bench/make_sql.py 100000 >"$work/insert.sql"
  insert=$(measure -n 5 -b "rm -f $work/s.db*" "sqlite3 $work/s.db < $work/insert.sql >/dev/null" | cut -d' ' -f2)
  read=$(measure -n 5 "sqlite3 $work/s.db 'SELECT id, md, hex(data) FROM m ORDER BY id' > $work/out" | cut -d' ' -f2)
  row "loading 100,000 messages of 1 KiB, times sqlite3 (elapsed)" "$(ratio "$load" "$insert")" "<= 3" "sqlite3, 200 a transaction"
  row "unloading them, times sqlite3 (elapsed)" "$(ratio "$unload" "$read")" "<= 3" "sqlite3"
  # 2,000 queues of 3 messages each, and one queue with all of those.
  "$build/bin/localmq" create MANY >/dev/null
  seq -f 'DEFINE QLOCAL(S.%04g)' 2000 | "$build/bin/localmq" MANY >/dev/null
  echo "CLEAR QLOCAL(Q1)" | "$build/bin/localmq" QM >/dev/null
  bench/make_input.py "$work/three.tvo" 3 random
  bench/make_input.py "$work/load.tvo" 6000 random
  mkdir "$work/in" "$work/queues"
  seq -f "$work/in/S.%04g.tvo" 2000 | xargs -n 1 cp "$work/three.tvo"
  "$tarvo" -q -mMANY '-o*' "-f$work/in/*" >/dev/null
  "$tarvo" -q -mQM -oQ1 -f"$work/load.tvo"
  one=$(measure "$tarvo -q -mQM -iQ1 -F$work/out" | cut -d' ' -f2)
  all=$(measure -b "rm -f $work/queues/*" "$tarvo -q -mMANY -i'*' -f'$work/queues/*' >/dev/null" | cut -d' ' -f2)
  row "generic unload of 2,000 small queues, ms a queue (elapsed)" \
    "$(awk -v a="$all" -v o="$one" 'BEGIN { printf "%.2f", (a - o) / 2 }')" "<= 3" "one queue of as many messages"
fi
