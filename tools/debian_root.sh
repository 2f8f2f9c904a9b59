#!/bin/bash
# Makes a minimal Debian root in a folder: this machine's release, or the one that SUITE names.
#
# The tests that need a stranger's machine begin here. It installs from the archives that this machine
# installs from, and nothing starts a service in it. KESTRA_DEBIAN_ROOT=FILE.tar is unpacked instead
# of asking an archive, INCLUDE=a,b are packages besides the minimal ones. To be run as root.
set -euo pipefail

[ $# -eq 1 ] || { echo "Usage: tools/debian_root.sh DIR" >&2; exit 2; }
root=$1
tools=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
log="$root.log"

fail() {
  tail -n 20 "$log" >&2
  echo "debian_root: $1" >&2
  exit 1
}

# archives: those of this machine, for the wanted release.
archives() {
  local own
  own=$("$tools/debian_sources.sh" | awk 'NR == 1 { print $2 }')
  "$tools/debian_sources.sh" | awk -v own="$own" -v wanted="${SUITE:-$own}" \
    '{ sub("^" own, wanted, $2); print }'
}

# unpack_or_bootstrap: a minbase root, from KESTRA_DEBIAN_ROOT or from the archive.
unpack_or_bootstrap() {
  local uri suite component keys more=()
  mkdir -p "$root"
  if [ -n "${KESTRA_DEBIAN_ROOT-}" ]; then
    tar -x --numeric-owner --strip-components=1 -C "$root" -f "$KESTRA_DEBIAN_ROOT"
    return
  fi
  read -r uri suite component keys < <(archives)
  [ "$keys" = - ] || more=("--keyring=$keys")
  [ -z "${INCLUDE-}" ] || more+=("--include=$INCLUDE")
  debootstrap --variant=minbase "--components=$component" ${more[@]+"${more[@]}"} \
    "$suite" "$root" "$uri" >"$log" 2>&1 || fail "debootstrap failed"
}

# use_same_archives: apt in the root asks the archives of this machine, and by its proxy if any.
use_same_archives() {
  local uri suite component keys signed
  rm -f "$root"/etc/apt/sources.list.d/*
  archives | while read -r uri suite component keys; do
    signed=''
    [ "$keys" = - ] || signed=" [signed-by=$keys]"
    echo "deb$signed $uri $suite $component"
  done >"$root/etc/apt/sources.list"
  apt-config dump | grep -E '^Acquire::[a-z]+::([Pp]roxy|[Cc][Aa]-?[Ii]nfo) ' \
    >"$root/etc/apt/apt.conf.d/90machine" || true
  [ ! -e /etc/resolv.conf ] || cp -L /etc/resolv.conf "$root/etc/resolv.conf"
}

unpack_or_bootstrap
use_same_archives
printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d"
chmod 0755 "$root/usr/sbin/policy-rc.d"
