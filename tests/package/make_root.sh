#!/bin/bash
# Makes a Debian root and fetches into it what the tests of the package need besides the package.
#
# To be run as root in a mount namespace of its own: what is mounted here ends with the namespace.
# It is of this machine's release, or of the one that SUITE names.
set -euo pipefail

[ $# -eq 1 ] || { echo "Usage: tests/package/make_root.sh DIR" >&2; exit 2; }
root=$1
tools=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../tools" && pwd)
log="$root.log"

fail() {
  tail -n 20 "$log" >&2
  echo "package: $1" >&2
  exit 1
}

"$tools/debian_root.sh" "$root"
mount -t proc proc "$root/proc"

# in_root COMMAND...: as root of the new machine, with nothing of this one's environment but the
# way to the archive.
in_root() {
  env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C DEBIAN_FRONTEND=noninteractive \
    ${http_proxy+"http_proxy=$http_proxy"} ${https_proxy+"https_proxy=$https_proxy"} \
    chroot "$root" "$@" </dev/null
}
fast=(-qq -o Dpkg::Use-Pty=0 -o Dpkg::Options::=--force-unsafe-io)
in_root apt-get "${fast[@]}" update >>"$log" 2>&1 || fail "apt-get update failed in the new root"

# The package alone first: what it needs must come with it, and its maintainer scripts have to do
# without systemd-tmpfiles.
in_root apt-get "${fast[@]}" install -y --no-install-recommends /package.deb >>"$log" 2>&1 ||
  fail "the package could not be installed"
in_root stat -c '%U:%G %a' /var/spool/cups/tmp /var/lib/rastertokestra >"$root/first_rights"
grep -A 2 '^rastertokestra:' "$log" >"$root/first_message" || true

# Then what the tests use: systemd-tmpfiles, a clock that can be set for it, fonts for text.
in_root apt-get "${fast[@]}" install -y --no-install-recommends systemd-standalone-tmpfiles \
  faketime fonts-dejavu-core fontconfig >>"$log" 2>&1 ||
  fail "the tools of the tests could not be installed"
in_root apt-get clean
