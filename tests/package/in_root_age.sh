# The end of old debug images, by systemd-tmpfiles and by cron: sourced by in_root.sh.
#
# Both must remove what is two days old and nothing else: frames and counters are not replaceable.
# shellcheck shell=bash

: "${spool:?}" # set by in_root.sh

# Files that no rule may remove whatever their age: beside names of other kinds the two names with
# each of their letters changed in turn, so that every line of the rule is needed for one of them.
kept_names() {
  local name letter
  for name in origin_.bmp dithered_.bmp; do
    for ((letter = 0; letter < ${#name}; letter++)); do
      echo "${name:0:letter}x${name:letter+1}"
    done
  done
  cat <<'EOF_NAMES'
origin.bmp
dithered.bmp
.origin_1.bmp
origin_1.bmpx
origin_1.dat
d
o
gs_AbCdEf
kcv6data/origin_1.bmp
kcv6data/page_0001_jobid_000099_0000.dat
kcv6data/aged.pgc
EOF_NAMES
}

# list: all files below the spool folder.
list() { (cd "$spool" && find . -type f | sort); }

# age_files TIME YOUNG_TIME: a spool with old images, young images and files that must stay.
age_files() {
  local name
  kept_names | while read -r name; do touch -d "$1" "$spool/$name"; done
  for name in origin_2026-1-1_0_0_0_1.bmp dithered_2026-1-1_0_0_0_2.bmp; do
    touch -d "$1" "$spool/$name"
  done
  list | grep -v -e /origin_2026-1-1_0_0_0_1.bmp -e /dithered_2026-1-1_0_0_0_2.bmp >/tests/wanted
  for name in origin_2026-1-2_0_0_0_1.bmp dithered_2026-1-2_0_0_0_2.bmp; do
    touch -d "$2" "$spool/$name"
    echo "./$name" >>/tests/wanted
  done
  sort -o /tests/wanted /tests/wanted
}

remove_kept() { kept_names | while read -r name; do rm "$spool/$name"; done; }

# The rule counts every time of a file, also the one of its last change, which nobody can set back.
# So the clock goes on by 51 hours instead, and young files, of 46 hours then, are made younger than
# now: one day less or more would be noticed.
old_debug_images_end_and_nothing_else_does() {
  find "$spool" -maxdepth 1 -name '*.bmp' -delete
  age_files now '+5 hours'
  systemd-tmpfiles --clean rastertokestra.conf || fail "systemd-tmpfiles does not like the file"
  is "$(list | grep -c '/origin_2026-1-1_\|/dithered_2026-1-1_')" 2 "new debug images that stay"
  NO_FAKE_STAT=1 faketime -f +51h systemd-tmpfiles --clean rastertokestra.conf
  list | diff /tests/wanted - >&2 || fail "systemd-tmpfiles removes the wrong files (< wanted)"
}

cron_does_the_same_without_systemd() {
  find "$spool" -maxdepth 1 -name '*.bmp' -delete
  age_files '-49 hours' '-47 hours'
  mkdir -p /run/systemd/system
  /etc/cron.daily/rastertokestra
  is "$(list | grep -c '/origin_2026-1-1_\|/dithered_2026-1-1_')" 2 \
    "old images that cron leaves to systemd"
  rmdir /run/systemd/system
  rmdir --ignore-fail-on-non-empty /run/systemd
  /etc/cron.daily/rastertokestra
  list | diff /tests/wanted - >&2 || fail "the cron script removes the wrong files (< wanted)"
  remove_kept
}
