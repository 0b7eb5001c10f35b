# Sourced by the scripts that build and test: what takes long shows how far it is.

# What comes next, and about how long it takes.
step() { printf -- '-- %s\n' "$*"; }

# with_progress <log> <command>...: runs the command with its output in the log. Meanwhile the newest line is shown: on a
# terminal in place, elsewhere every ten seconds.
with_progress() {
  local log=$1
  shift
  mkdir -p "$(dirname "$log")"
  "$@" </dev/null 2>&1 | tee "$log" | newest_line
}

newest_line() {
  local line newest='' start=$SECONDS shown=$SECONDS width=$((${COLUMNS:-80} - 1))
  while IFS= read -r -t 10 line || [ $? -gt 128 ]; do
    line=${line##*$'\r'}
    [ -z "$line" ] || newest=${line//[^[:print:]]/}
    if [ -t 1 ]; then
      # Without news nothing is drawn: sudo may be asking for a password.
      [ -z "$line" ] || printf '\r\033[K%.*s' "$width" "$newest"
    elif ((SECONDS - shown >= 10)); then
      shown=$SECONDS
      printf '  %d:%02d %s\n' $(((shown - start) / 60)) $(((shown - start) % 60)) "$newest"
    fi
  done
  [ ! -t 1 ] || printf '\r\033[K'
}

# The same, and the end of the log when the command fails.
with_progress_or_log() {
  local status=0
  with_progress "$@" || status=$?
  [ $status -eq 0 ] || tail -n 60 "$1"
  return $status
}

# configure <preset> [settings]...
configure() { with_progress_or_log "build/$1.log" cmake --preset "$@"; }

# build <preset> [more arguments of cmake --build]
build() {
  local preset=$1
  shift
  with_progress_or_log "build/$preset.log" cmake --build --preset "$preset" "$@" -- -j"$(nproc)"
}
