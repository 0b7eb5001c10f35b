#!/usr/bin/env bash
# Reads every #include of src/ against the order of the rooms: a file includes its own room and those below it. Rooms of
# one floor do not know each other.
#   scripts/check_includes.sh
set -euo pipefail
cd "$(dirname "$0")/.."

git ls-files 'src/*.cpp' 'src/*.h' | xargs awk '
  BEGIN {
    split("platform common options mq files engine display,generic,logmode cmdline", floors, " ")
    for (i in floors) {
      n = split(floors[i], rooms, ",")
      for (k = 1; k <= n; ++k) floor[rooms[k]] = i + 0
    }
  }
  FNR == 1 { split(FILENAME, path, "/"); room = path[2]; test = FILENAME ~ /_test\./ }
  /^#include "/ {
    split($2, quoted, "\"")
    split(quoted[2], part, "/")
    other = part[1]
    if (!(other in floor)) { bad = bad FILENAME ":" FNR ": " other " is no room\n"; next }
    # Helpers of tests stand where they are used first.
    if (test && quoted[2] ~ /_test(_folder)?\.h$/) next
    if (floor[other] > floor[room] || (floor[other] == floor[room] && other != room))
      bad = bad FILENAME ":" FNR ": " room " includes " quoted[2] "\n"
  }
  END { printf "%s", bad; exit bad != "" }
'
