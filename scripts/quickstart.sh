#!/usr/bin/env bash
# Fresh machine -> packages, build, and the main job on the example messages, every step shown: load a message file onto a
# queue, browse it into files in every layout, load those back, compare, move the queue to another queue manager.
# Everything it makes stands in a folder of its own (build/quickstart). With the prefix of an installation (/usr) the
# programs installed there are shown, and nothing is built.
#   quickstart.sh [prefix]
set -euo pipefail

usage="usage: quickstart.sh [prefix of an installation, such as /usr]"
case "${1-}" in
  -h | --help)
    sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"
    exit 0
    ;;
  -*)
    echo "$usage" >&2
    exit 2
    ;;
esac
[ $# -le 1 ] || { echo "$usage" >&2; exit 2; }

if [ $# -gt 0 ]; then
  bin=$(realpath "$1")/bin library=$(realpath "$1")/lib/tarvo/localmq
  [ -x "$bin/tarvo" ] || { echo "quickstart.sh: no tarvo in $bin" >&2; exit 2; }
fi
cd "$(dirname "$0")/.."
if [ $# -eq 0 ]; then
  . scripts/progress.sh
  echo "== Packages and build, about 3 minutes"
  scripts/packages.sh build
  configure release -DTARVO_TESTS=OFF -DTARVO_BENCH=OFF
  build release
  bin=$PWD/build/release/bin library=$PWD/build/release/lib/localmq
fi
work=$PWD/build/quickstart
rm -rf "$work"
mkdir -p "$work"
export PATH="$bin:$PATH" LOCALMQ_DATA="$work/mq" MQM_DLL_PATH="$library"
examples=$PWD/examples
cd "$work"

# Whatever is shown to be typed is quoted as the shell wants it.
show() {
  printf '\n$%s\n' "$(printf ' %q' "$@")"
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
echo "  the first message in printable characters, the descriptor (A) and the data (X, S):"
awk '/^A/ { message = 1 } message && !NF { exit } message { sub(/ +$/, ""); print "    " $0 }' printable.tvo

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
  export PATH=$(printf %q "$bin"):\$PATH LOCALMQ_DATA=$(printf %q "$work/mq") MQM_DLL_PATH=$(printf %q "$library")
  tarvo -m QM2 -iORDERS -ds                       a summary of the queue: ages, sizes, how full it is
  tarvo -m QM2 -iORDERS -f stdout -dp -r#2        look at the first two messages
  tarvo -m QM2 -iORDERS -Fkettles.tvo -s kettle   save only messages that mention a kettle
  tarvo -m QM2 -IORDERS -m QM1 -oORDERS -z 1m     move back only what is 1 MB or larger
  tarvo -?                                        every option
END
