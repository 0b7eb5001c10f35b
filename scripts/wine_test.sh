#!/usr/bin/env bash
# Runs a test program under Wine. Now and then Wine gives up before it has started the program. One that has started says
# something, so one that failed without a word is started again.
here=$(dirname "$0")
for _ in 1 2 3; do
  output=$("$here/wine.sh" "$@" 2>&1)
  status=$?
  if [ $status -eq 0 ] || [ -n "$output" ]; then break; fi
  echo "Wine did not start $1 (exit code $status)"
done
printf '%s\n' "$output"
exit $status
