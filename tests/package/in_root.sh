#!/bin/bash
# Prints with the installed package, restarts, ages, removes and purges: the life of a package.
#
# Runs inside the throw-away Debian root, as its only program, without a network.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
spool=/var/spool/cups/tmp
data=$spool/kcv6data
state=/var/lib/rastertokestra
# shellcheck source=tests/package/in_root_print.sh
. "$here/in_root_print.sh"
# shellcheck source=tests/package/in_root_age.sh
. "$here/in_root_age.sh"
# shellcheck source=tests/package/in_root_deliver.sh
. "$here/in_root_deliver.sh"

# A command that fails by itself ends the test, and must not do so without a word.
set -E
trap 'echo "in the root: line $LINENO, $BASH_COMMAND: status $?" >&2' ERR

fail() {
  echo "in the root: $1" >&2
  tail -n 15 /var/log/cups/error_log >&2 2>/dev/null || true
  exit 1
}

# is FOUND WANTED WHAT: the two texts must be the same.
is() { [ "$1" = "$2" ] || fail "$3: \"$1\", wanted \"$2\""; }

# All files but the ones that belong to cups, apt, dpkg and this test, with their rights.
all_files() {
  find / -xdev \( -path /proc -o -path /tests -o -path /run -o -path /var/log -o -path /etc/cups \
    -o -path /var/cache -o -path /var/lib/apt -o -path /var/lib/dpkg -o -path /dev \
    -o -path /root \) -prune -o ! -path / -printf '%M %u:%g %p\n' | sort
}

purge() { DEBIAN_FRONTEND=noninteractive dpkg --purge rastertokestra >/dev/null 2>&1; }

# install_again: the package as after a purge, with nothing to fetch.
install_again() {
  DEBIAN_FRONTEND=noninteractive dpkg -i /package.deb >/tests/installed 2>&1 || {
    cat /tests/installed >&2
    fail "the package does not install again"
  }
}

the_first_installation_gave_rights_and_told_of_the_counter() {
  is "$(tr '\n' ' ' </first_rights)" 'root:lp 1770 lp:lp 700 ' \
    "rights of $spool and $state without systemd-tmpfiles"
  grep -q README.Debian /first_message || fail "the installation does not name README.Debian"
  rm /first_rights /first_message
}

an_update_says_nothing() {
  install_again
  ! grep -q README.Debian /tests/installed || fail "an update tells of the counter again"
}

removing_keeps_counters_and_frames() {
  touch "$spool/origin_2026-1-1_0_0_0_1.bmp" "$spool/file_of_somebody_else" \
    "$data/page_0001_jobid_000099_0000.dat"
  dpkg --remove rastertokestra >/dev/null
  [ ! -e /usr/lib/cups/filter/rastertokestra ] || fail "removing leaves the filter"
  [ -f "$data/label.pgc" ] || fail "removing takes the page counter away"
  compgen -G "$data/page_*.dat" >/dev/null || fail "removing takes frames away"
  compgen -G "$state/jobs/*/*/journal" >/dev/null || fail "removing takes journals away"
}

purging_leaves_nothing() {
  # A file of this name that is not the filter's is not ours to remove.
  is "$(stat -c %U /tmp/xxxxx.log)" lp "owner of the side file"
  mkdir /tests/of_others
  touch /tests/of_others/file
  ln -s /tests/of_others "$state/jobs/link"
  purge
  [ -f /tests/of_others/file ] || fail "purging follows links"
  [ -f "$spool/file_of_somebody_else" ] || fail "purging removes files of others"
  rm "$spool/file_of_somebody_else"
  [ ! -e /tmp/xxxxx.log ] || fail "purging leaves the side file"
  is "$(find / -xdev -path /proc -prune -o -path /tests -prune -o -name '*kestra*' -print |
    grep -v '^/var/lib/dpkg/triggers' || true)" '' "files with the package's name after purging"
  all_files >/tests/after
  diff /tests/before /tests/after >&2 || fail "installing, printing and purging left a trace"
  purge # a second purge finds nothing to do and must not mind
}

the_first_installation_gave_rights_and_told_of_the_counter
# What a purged package leaves is measured against this; cups has then set its own folders' rights.
purge
start_cups
stop_cups
all_files >/tests/before
install_again
an_update_says_nothing

start_cups
both_models_are_listed_once
add_queues
text_pdf_and_raster_documents_leave_frames
kestra_proof_reads_a_frame
a_restart_loses_the_counter_by_default
the_documented_setting_keeps_counter_and_frames
systemd_tmpfiles_gives_the_rights_back
old_debug_images_end_and_nothing_else_does
cron_does_the_same_without_systemd
cups_is_as_it_comes
the_commands_of_the_readme_print
a_plain_device_prints_as_well
a_queue_of_version_1_0_prints_after_one_command
a_job_outlives_removal_and_goes_on_after_the_next_installation
remove_queues
stop_cups
removing_keeps_counters_and_frames
purging_leaves_nothing
