# Printing with a cupsd in the throw-away root: sourced by in_root.sh.
#
# The daemon is the distribution's own with its own settings, so that what holds here holds for a
# user; only the last tests change a setting, by the commands of README.Debian.
# shellcheck shell=bash

readme=/usr/share/doc/rastertokestra/README.Debian
: "${spool:?}" "${data:?}" # both are set by in_root.sh
cups=''

start_cups() {
  cupsd -f >/tests/cupsd.log 2>&1 &
  cups=$!
  local tries=0
  until lpstat -r 2>/dev/null | grep -q 'is running'; do
    kill -0 "$cups" 2>/dev/null ||
      fail "cupsd does not start: $(cat /tests/cupsd.log; cupsd -t 2>&1)"
    tries=$((tries + 1))
    [ "$tries" -lt 600 ] || fail "cupsd does not answer"
    sleep 0.1
  done
}

stop_cups() {
  kill "$cups"
  wait "$cups" || true
  cups=''
}

restart_cups() { stop_cups; start_cups; }

both_models_are_listed_once() {
  is "$(lpinfo -m | grep -i kestra | cut -d ' ' -f 1 | sort)" \
    'lsb/usr/rastertokestra/kestra4.ppd
lsb/usr/rastertokestra/kestraa4.ppd' "models that lpinfo -m lists"
}

# The two commands of README.Debian, with a device that takes every byte and that nothing is
# delivered to: pages stay for a delivery stage of one's own.
add_queues() {
  local commands
  commands=$(sed -n '/^    lpadmin .* -E /{s/^ *//;s|kestra:DEVICE-URI|file:///dev/null|;p}' \
    "$readme")
  is "$(wc -l <<<"$commands")" 2 "lpadmin commands in README.Debian"
  bash -e <<<"$commands" 2>/dev/null || fail "the lpadmin commands of README.Debian fail"
}

remove_queues() {
  lpadmin -x label
  lpadmin -x stencil
}

# print QUEUE LP_ARGUMENT...: waits for the job's end; the job must have ended well.
print() {
  local queue=$1 job tries=0
  shift
  job=$(lp -d "$queue" "$@" | sed 's/^request id is \([^ ]*\) .*/\1/')
  until lpstat -W completed -o "$queue" | grep -q "^$job "; do
    tries=$((tries + 1))
    [ "$tries" -lt 1200 ] || fail "job $job does not end"
    lpstat -l -W not-completed -o "$queue" | grep -A 3 "^$job " | grep -q 'with-errors' &&
      fail "job $job ended with errors"
    sleep 0.1
  done
}

# counter QUEUE: the number of the queue's next page.
counter() { od -An -tu2 --endian=little "$data/$1.pgc" | tr -d ' '; }

# frame PAGE JOB: the only frame of that page number and job.
frame() {
  local found name
  name="page_$(printf %04d "$1")_jobid_$(printf %06d "$2")"
  mapfile -t found < <(compgen -G "$data/${name}_*.dat")
  [ "${#found[@]}" -eq 1 ] || fail "job $2 has ${#found[@]} frames of page $1: $(ls -l "$data")"
  echo "${found[0]}"
}

# number FILE OFFSET: the two-byte number there.
number() { od -An -tu2 --endian=little -j "$2" -N 2 "$1" | tr -d ' '; }

# Job numbers count from 1 in a new cups, for all queues together; page numbers by queue.
text_pdf_and_raster_documents_leave_frames() {
  echo 'Fragile, this side up' >/tests/text.txt
  ps2pdf -dDEVICEWIDTHPOINTS=288 -dDEVICEHEIGHTPOINTS=432 /tests/label.ps /tests/label.pdf
  cupsfilter -p /usr/share/ppd/rastertokestra/kestraa4.ppd -m application/vnd.cups-raster \
    -o PageSize=Tattoo_A6 -o Resolution=203dpi /tests/label.pdf >/tests/label.ras \
    2>/tests/cupsfilter.log

  print label -o PageSize=w288h432 /tests/text.txt
  print label -o PageSize=w288h432 -o Resolution=203dpi /tests/label.pdf
  print stencil -o PageSize=Tattoo_A6 -o Resolution=203dpi \
    -o document-format=application/vnd.cups-raster /tests/label.ras

  is "$(stat -c '%U:%G %a' "$data")" 'lp:lp 700' "owner and mode of the frames' folder"
  local file
  for file in "$(frame 1 1)" "$(frame 2 2)" "$(frame 1 3)" "$data/label.pgc" "$data/stencil.pgc"; do
    is "$(stat -c '%U:%G %a' "$file")" 'lp:lp 600' "owner and mode of $file"
  done
  is "$(counter label) $(counter stencil)" '3 2' "next pages of the two queues"
  # 6 inches of 203 dots are 1218; 148 mm are 1182.8 dots, of which the page has 1182 or 1183.
  is "$(number "$(frame 2 2)" 20)" 1218 "rows of the label"
  file=$(number "$(frame 1 3)" 20)
  [ "$file" = 1182 ] || [ "$file" = 1183 ] || fail "the stencil has $file rows"
  # Images of jobs that run within one second have the same name.
  for file in origin dithered; do
    compgen -G "$spool/${file}_*.bmp" >/dev/null || fail "no debug images $file"
    is "$(stat -c '%U:%G %a' "$spool/${file}"_*.bmp | sort -u)" 'lp:lp 600' \
      "owner and mode of $file"
  done
}

kestra_proof_reads_a_frame() {
  local picture
  mkdir /tests/pictures
  kestra-proof --output-dir /tests/pictures "$(frame 2 2)" >/tests/proof.txt ||
    fail "kestra-proof fails on a frame: $(cat /tests/proof.txt)"
  picture=$(find /tests/pictures -name '*.png')
  is "$(wc -l <<<"$picture")" 1 "pictures of one frame"
  is "$(od -An -tx1 -N 8 "$picture" | tr -d ' ')" 89504e470d0a1a0a "the picture's first bytes"
  # Height of a PNG: 4 bytes at 20, the highest first. A row of dots is a row of the picture.
  is "$(od -An -tu4 --endian=big -j 20 -N 4 "$picture" | tr -d ' ')" 1218 "rows of the picture"
}

a_restart_loses_the_counter_by_default() {
  restart_cups
  [ ! -e "$data" ] || fail "cups keeps $data now: README.Debian and the message are out of date"
  is "$(stat -c '%U:%G %a' "$spool")" 'root:lp 1770' "rights of $spool"
  print label -o PageSize=w288h432 /tests/label.pdf
  frame 1 4 >/dev/null # page numbers begin again
  is "$(counter label)" 2 "next page after the restart"
}

# Exactly the commands that README.Debian gives; the test starts cups itself.
the_documented_setting_keeps_counter_and_frames() {
  local commands
  commands=$(sed -n '/^To keep them/,/^Nothing is lost/s/^    //p' "$readme")
  is "$(tail -n 1 <<<"$commands")" 'service cups restart' "last command of README.Debian"
  sed '$d' <<<"$commands" | bash -e || fail "the commands of README.Debian fail"
  restart_cups
  is "$(counter label)" 2 "next page after the restart with the setting"
  frame 1 4 >/dev/null
  print label -o PageSize=w288h432 /tests/text.txt
  frame 2 5 >/dev/null # page numbers go on
  restart_cups
  is "$(counter label)" 3 "next page after one more restart"
  frame 1 4 >/dev/null
  frame 2 5 >/dev/null
}

systemd_tmpfiles_gives_the_rights_back() {
  # As the folder is when cups is installed but was never started with it.
  chown root:root "$spool"
  chmod 0755 "$spool"
  systemd-tmpfiles --create rastertokestra.conf || fail "systemd-tmpfiles does not like the file"
  is "$(stat -c '%U:%G %a' "$spool")" 'root:lp 1770' "rights of $spool"
  print label -o PageSize=w288h432 /tests/text.txt
  frame 3 6 >/dev/null
}
