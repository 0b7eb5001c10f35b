#!/usr/bin/env bash
# Runs scripts/quickstart.sh and scripts/test.sh as a newcomer does: in a new, minimal Debian that has git and nothing else,
# on a clone of what is committed here, its clock in New York; as root, and as a user with sudo. Needs root.
#   scripts/bare.sh [bookworm|trixie|root|user|part of test.sh]...
# Names that are left out stand for all of their kind. What was said is in build/bare/*.log; a root in which something
# failed stays in build/bare. All mounts are in a namespace of their own and end with the run.
set -euo pipefail
cd "$(dirname "$0")/.."

suites=()
people=()
parts=()
for word in "$@"; do
  case "$word" in
    -h | --help) sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"; exit 0 ;;
    bookworm | trixie) suites+=("$word") ;;
    root | user) people+=("$word") ;;
    *) parts+=("$word") ;;
  esac
done
[ ${#suites[@]} -gt 0 ] || suites=(bookworm trixie)
[ ${#people[@]} -gt 0 ] || people=(root user)
[ "$(id -u)" -eq 0 ] || { echo "bare.sh: only root can make a Debian of its own" >&2; exit 1; }

scripts/packages.sh bare
bare=$PWD/build/bare
mkdir -p "$bare"

# make_root <suite> <root>: from where this machine's own packages come, and with its way to them.
make_root() {
  local suite=$1 root=$2 mirror
  if grep -q " $root/" /proc/mounts; then
    echo "bare.sh: something is mounted below $root" >&2
    return 1
  fi
  rm -rf --one-file-system "$root"
  mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Label: Debian' | head -n 1)
  debootstrap --variant=minbase --include=git "$suite" "$root" "${mirror:-http://deb.debian.org/debian}" \
    >"$bare/debootstrap.log" || { tail -n 20 "$bare/debootstrap.log"; return 1; }
  { grep -lsE '^Acquire::' /etc/apt/apt.conf /etc/apt/apt.conf.d/* || true; } |
    xargs -r cp -t "$root/etc/apt/apt.conf.d"
  [ -z "${NODE_EXTRA_CA_CERTS-}" ] || cp "$NODE_EXTRA_CA_CERTS" "$root/etc/extra-certificates"
  ln -sf /usr/share/zoneinfo/America/New_York "$root/etc/localtime"
  [ ! -e "$root/etc/timezone" ] || echo America/New_York >"$root/etc/timezone"
}

# A user who may do everything by sudo, as Debian's installer makes one.
add_user() {
  local root=$1
  chroot "$root" sh -c 'apt-get update && DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends sudo &&
    useradd -m -s /bin/bash user' </dev/null >"$bare/user.log" 2>&1 || { tail -n 20 "$bare/user.log"; return 1; }
  echo 'user ALL=(ALL:ALL) NOPASSWD: ALL' >"$root/etc/sudoers.d/user"
}

# run_in <root> <person> <command>...: in the clone, with nothing of this machine's environment but its way to packages.
run_in() {
  local root=$1 person=$2 home=/root variables=() name
  shift 2
  [ "$person" = root ] || home=/home/$person
  for name in http_proxy https_proxy no_proxy HTTP_PROXY HTTPS_PROXY NO_PROXY; do
    [ -z "${!name-}" ] || variables+=("$name=${!name}")
  done
  [ ! -e "$root/etc/extra-certificates" ] || variables+=(NODE_EXTRA_CA_CERTS=/etc/extra-certificates)
  unshare --mount --pid --fork --kill-child bash -c '
    set -e
    root=$1 home=$2 person=$3
    shift 3
    mount -t proc proc "$root/proc"
    mount -t sysfs sysfs "$root/sys"
    mount -t tmpfs tmpfs "$root/dev/shm"
    mount -t devpts -o newinstance,ptmxmode=0666,mode=620,gid=5 devpts "$root/dev/pts"
    exec chroot --userspec="$person:$person" "$root" env -i HOME="$home" USER="$person" TERM=dumb LANG=C.UTF-8 \
      PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin "$@"
  ' bash "$root" "$home" "$person" "${variables[@]}" bash -c "cd ~/tarvo && $*" </dev/null
}

results=()
first=0
# try <suite> <person> <root> <script> [arguments]...: runs it and writes down how that ended.
try() {
  local suite=$1 person=$2 root=$3 script=$4 start=$SECONDS status=0 result=passed time
  echo "== $suite, $person: ${*:4}"
  run_in "$root" "$person" "${@:4}" 2>&1 | tee "$bare/$suite-$person-$(basename "$script" .sh).log" || status=$?
  [ $status -eq 0 ] || result="failed ($status)"
  [ $first -ne 0 ] || first=$status
  time=$((SECONDS - start))
  results+=("$(printf '%-9s %-5s %-22s %-12s %3d min %02d s' "$suite" "$person" "$script" "$result" $((time / 60)) $((time % 60)))")
}

for suite in "${suites[@]}"; do
  for person in "${people[@]}"; do
    root=$bare/$suite-$person
    echo "== $suite: making a root, about 2 minutes"
    make_root "$suite" "$root"
    home=/root
    if [ "$person" = user ]; then
      add_user "$root"
      home=/home/user
    fi
    git clone -q --no-hardlinks . "$root$home/tarvo"
    chroot "$root" chown -R "$person:$person" "$home/tarvo"
    try "$suite" "$person" "$root" scripts/quickstart.sh
    try "$suite" "$person" "$root" scripts/test.sh "${parts[@]}"
    [ $first -ne 0 ] || rm -rf --one-file-system "$root"
  done
done
printf '\n%s\n' "${results[@]}"
exit $first
