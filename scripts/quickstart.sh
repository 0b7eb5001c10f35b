#!/usr/bin/env bash
# Fresh machine -> packages, build, and the main job on the example messages, every step shown: load a message file onto a
# queue, browse it into files in every layout, load those back, compare, move the queue to another queue manager.
# Everything it makes stands in a folder of its own (build/quickstart). With the prefix of an installation (/usr) the
# programs installed there are shown, and nothing is built.
#   quickstart.sh [prefix]
set -euo pipefail
cd "$(dirname "$0")/.."

if [ $# -gt 0 ]; then
  bin=$1/bin library=$1/lib/tarvo/localmq
else
  echo "== Packages and build"
  scripts/packages.sh build
  cmake --preset release -DTARVO_TESTS=OFF -DTARVO_BENCH=OFF >/dev/null
  cmake --build --preset release -- -j"$(nproc)" | tail -n 1
  bin=$PWD/build/release/bin library=$PWD/build/release/lib/localmq
fi
work=$PWD/build/quickstart
rm -rf "$work"
mkdir -p "$work"
export PATH="$bin:$PATH" LOCALMQ_DATA="$work/mq" MQM_DLL_PATH="$library"
examples=$PWD/examples
cd "$work"

show() {
  printf '\n$ %s\n' "$*"
  "$@"
}

echo
echo "== A local queue manager or two (they stand in for IBM MQ; the commands are the same)"
show localmq create QM1
show localmq create QM2
cat >queues.mqsc <<'MQSC'
DEFINE QLOCAL(ORDERS)      MAXDEPTH(10000) MAXMSGL(104857600)
DEFINE QLOCAL(ORDERS.COPY) MAXDEPTH(10000) MAXMSGL(104857600)
MQSC
printf '\n$ localmq QM1 < queues.mqsc; localmq QM2 < queues.mqsc\n'
localmq QM1 <queues.mqsc
localmq QM2 <queues.mqsc >/dev/null

echo
echo "== Load a message file, and one big plain file as one message"
cp "$examples/messages.tvo" .
show tarvo -m QM1 -oORDERS -fmessages.tvo
head -c 5000000 /dev/urandom >picture.bin
show tarvo -m QM1 -oORDERS -fpicture.bin -n1 -ab -Cd

echo
echo "== Browse the queue into files, in every layout"
show tarvo -m QM1 -iORDERS -Fhex.tvo
show tarvo -m QM1 -iORDERS -Fcolumns.tvo -da
show tarvo -m QM1 -iORDERS -Fascii.tvo -dA
show tarvo -m QM1 -iORDERS -Fprintable.tvo -dp
show tarvo -m QM1 -iORDERS -Ftext.tvo -dt
show tarvo -m QM1 -iORDERS -Fraw.dat -drN -r '1..3'
ls -l ./*.tvo raw.dat | awk '{ print "  " $5, $9 }'
echo "  the first message in printable characters:"
sed -n '5,34p' printable.tvo | sed 's/^/    /; s/ *$//' | tail -n 4

echo
echo "== Load each layout back onto a second queue and compare, message by message and field by field"
# What a queue manager sets itself at a put (the backout count) and the header with its time stay out of the comparison.
fields() { grep -v -e '^\*' -e '^A BOC' "$1" >"$1.fields"; }
same() { fields "$1" && fields "$2" && cmp -s "$1.fields" "$2.fields"; }
for layout in hex columns ascii printable; do
  echo 'CLEAR QLOCAL(ORDERS.COPY)' | localmq QM1 >/dev/null
  tarvo -q -m QM1 -oORDERS.COPY -f$layout.tvo
  tarvo -q -m QM1 -iORDERS.COPY -Fback.tvo
  if same hex.tvo back.tvo; then
    echo "  $layout.tvo: the same $(grep -c '^A RPT' back.tvo) messages"
  else
    echo "  $layout.tvo: DIFFERENT"
    exit 1
  fi
done

echo
echo "== Move the queue to the other queue manager"
show tarvo -m QM1 -IORDERS -m QM2 -oORDERS
show tarvo -m QM1 -iORDERS
tarvo -q -m QM2 -iORDERS -Fmoved.tvo
same hex.tvo moved.tvo
echo "  every message has arrived as it was"

cat <<END

== What you can type next
  export PATH=$bin:\$PATH LOCALMQ_DATA=$work/mq MQM_DLL_PATH=$MQM_DLL_PATH
  tarvo -m QM2 -iORDERS -ds                       a summary of the queue: ages, sizes, how full it is
  tarvo -m QM2 -iORDERS -f stdout -dp -r#2        look at the first two messages
  tarvo -m QM2 -iORDERS -Fkettles.tvo -s kettle   save only messages that mention a kettle
  tarvo -m QM2 -IORDERS -m QM1 -oORDERS -z 1m     move back only what is 1 MB or larger
  tarvo -?                                        every option
END
