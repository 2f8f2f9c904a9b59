#!/bin/bash
# Makes a minimal Debian machine of one release and lets the commands run in it, one after the other.
#
# To be run by run.sh as root in a mount and process namespace: mounts and programs of the machine
# end with them. WORK has sources.tar and gets a line per step in `times`; LOGS gets what was said.
set -euo pipefail

[ $# -ge 5 ] || { echo "Usage: tests/fresh/machine.sh DIR RELEASE WORK LOGS COMMAND..." >&2; exit 2; }
root=$1 release=$2 work=$3 logs=$4
shift 4
tools=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../tools" && pwd)
enough_memory=9000000 # kB; compilers, checkers and builds take 6 GB of it
start=$SECONDS

# step TEXT: ends a step, which is told with its seconds.
step() {
  printf '%-30s %5d s\n' "$1" $((SECONDS - start)) | tee -a "$work/times"
  start=$SECONDS
}

# Namespaces inside can only make their mounts private if the root is a mount of its own. In memory
# it is made in half the time, as dpkg waits for the disk after every file.
mkdir "$root"
if [ "$(awk '$1 == "MemAvailable:" { print $2 }' /proc/meminfo)" -gt "$enough_memory" ]; then
  mount -t tmpfs -o mode=0755,size=8g tmpfs "$root"
else
  mount --bind "$root" "$root"
fi
echo "A minimal Debian $release"
env -u KESTRA_DEBIAN_ROOT SUITE="$release" INCLUDE=ca-certificates "$tools/debian_root.sh" "$root"
mount -t proc proc "$root/proc"
mount --rbind /sys "$root/sys"
mount --rbind /dev "$root/dev"
mount -t tmpfs tmpfs "$root/dev/shm"
# A home that others may not enter, as many are.
home=/home/stranger
install -d -m 0700 "$root$home"
mkdir "$root$home/rastertokestra"
tar -x -C "$root$home/rastertokestra" --no-same-owner -f "$work/sources.tar"
step "a minimal root"

status=0
for command in "$@"; do
  name=${command##*/} # "./demo.sh printer" says what it has to say in RELEASE-demo-printer.log
  name=${name/.sh/}
  log=$logs/$release-${name// /-}.log
  echo "On Debian $release: $command"
  # Nothing of this machine's environment but the way to the archive, and the number of jobs.
  env -i PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME="$home" LANG=C.UTF-8 \
    ${http_proxy+"http_proxy=$http_proxy"} ${https_proxy+"https_proxy=$https_proxy"} \
    ${JOBS+"JOBS=$JOBS"} chroot "$root" sh -c "cd ~/rastertokestra && exec $command" \
    </dev/null 2>&1 | tee "$log" || status=1
  # A test that was skipped is no test; how many there were belongs beside the time.
  skipped=$(grep -c '\*\*\*Skipped' "$log" || true)
  words=well
  [ "$status" -eq 0 ] || words=FAILED
  [ "$skipped" -eq 0 ] || words+=", $skipped tests skipped"
  step "$command: $words"
  [ "$status" -eq 0 ] || break
done
exit "$status"
