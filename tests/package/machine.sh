#!/bin/bash
# Makes the throw-away Debian machine for one package and lets the tests run in it.
#
# To be run by run.sh as root in a mount and process namespace: mounts and programs of the machine
# end with them, whatever happens here.
set -euo pipefail

[ $# -eq 2 ] || { echo "Usage: tests/package/machine.sh DIR PACKAGE.deb" >&2; exit 2; }
root=$1
package=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
enough_memory=3000000 # kB; the root with cups takes a good third of it

# In memory it is made in half the time, as dpkg waits for the disk after every file.
mkdir "$root"
if [ "$(awk '$1 == "MemAvailable:" { print $2 }' /proc/meminfo)" -gt "$enough_memory" ]; then
  mount -t tmpfs -o mode=0755,size=2g tmpfs "$root"
fi
cp "$package" "$root/package.deb"
"$here/make_root.sh" "$root"
echo "  a Debian root with the package ($SECONDS s)"

mkdir "$root/tests"
cp "$here"/in_root*.sh "$here"/../../tools/demo/{label,parcels}.ps "$root/tests/"
# Nobody else is in that network, and so no other cupsd and no printer.
# shellcheck disable=SC2016  # $0 is the inner shell's
unshare -m -n --pid --fork --kill-child -- sh -c 'ip link set lo up &&
  mount -t proc proc "$0/proc" && exec env -i LC_ALL=C PATH=/usr/sbin:/usr/bin:/sbin:/bin \
  HOME=/root chroot "$0" /tests/in_root.sh' "$root"
