# Labels that reach a printer: sourced by in_root.sh.
#
# The printer is the package's own, without paper; what should come to it is what kestra-proof makes
# of the same document, so that queue, filter, backend and printer are judged together.
# shellcheck shell=bash

: "${spool:?}" "${data:?}" "${state:?}" "${readme:?}" # set by in_root.sh and in_root_print.sh
device=socket://127.0.0.1:9100
page=(-o PageSize=w288h432 -o Resolution=203dpi)
printer=''

# By default cups empties the spool at each start.
cups_is_as_it_comes() {
  sed -i '/^TempDir /d' /etc/cups/cups-files.conf
  restart_cups
  ps2pdf -dDEVICEWIDTHPOINTS=288 -dDEVICEHEIGHTPOINTS=432 /tests/parcels.ps /tests/parcels.pdf
  kestra-proof "${page[@]}" --quiet --keep /tests/proof --output-dir /tests/proof \
    /tests/parcels.pdf || fail "kestra-proof fails on a document"
  kestra-paper --digest /tests/proof/page_*.dat >/tests/wanted_labels
  is "$(wc -l </tests/wanted_labels)" 2 "labels of the document"
}

# switch_on ARGUMENT...: the printer, which adds what came to /tests/came.
switch_on() {
  rm -f /tests/ready
  kestra-paper tcp:9100 --ready /tests/ready --list "$@" >>/tests/came 2>/tests/said &
  printer=$!
  eventually "the printer" test -e /tests/ready
}

# switch_off: and whether it found all that came in order.
switch_off() {
  local status=0
  kill "$printer" 2>/dev/null || true
  wait "$printer" || status=$?
  return "$status"
}

# eventually WHAT COMMAND...: waits until the command succeeds.
eventually() {
  local what=$1 tries=0
  shift
  until "$@"; do
    tries=$((tries + 1))
    [ "$tries" -lt 1200 ] || fail "$what does not come; lpstat: $(lpstat -p -l -o)"
    sleep 0.1
  done
}

says() { lpstat -p "$1" -l | grep -qE "$2"; }

# all_came WHAT: the document's labels, each once, in order, and nothing else since the last call.
all_came() {
  kestra-paper --came /tests/came --expect /tests/wanted_labels >/tests/said 2>&1 ||
    fail "$1: $(cat /tests/said)"
  rm /tests/came
}

# nothing_is_left: no page of the last job in the spool, nothing in there that jobs cannot use.
nothing_is_left() {
  ! compgen -G "$data/page_*.dat" >/dev/null || fail "pages stay in the spool: $(ls -l "$data")"
  is "$(stat -c '%U:%G %a' "$state")" 'lp:lp 700' "rights of $state"
  is "$(find "$state" ! -user lp)" '' "files of others in $state"
}

the_commands_of_the_readme_print() {
  remove_queues
  sed -n "/^    lpadmin .* -E /{s/^ *//;s|DEVICE-URI|$device|;p}" "$readme" |
    bash -e 2>/dev/null || fail "the lpadmin commands of README.Debian fail"
  is "$(lpinfo -v | grep -c '^network kestra$')" 1 "lines of lpinfo for the network"
  rm -rf "$state" # the backend makes it anew
  switch_on
  print label "${page[@]}" /tests/parcels.pdf
  switch_off || fail "the printer found faults: $(cat /tests/said)"
  all_came "a queue as in README.Debian"
  nothing_is_left
}

a_plain_device_prints_as_well() {
  lpadmin -p plain -E -v "$device/?snmp=false" -m lsb/usr/rastertokestra/kestra4.ppd 2>/dev/null
  switch_on
  print plain "${page[@]}" /tests/parcels.pdf
  switch_off || fail "the printer found faults: $(cat /tests/said)"
  all_came "a queue with a plain device"
  nothing_is_left
  lpadmin -x plain
}

a_queue_of_version_1_0_prints_after_one_command() {
  local command
  # All that made a queue of then another one.
  grep -v '^\*cupsPortMonitor' /usr/share/ppd/rastertokestra/kestra4.ppd >/tests/old.ppd
  lpadmin -p old -E -v "$device/?snmp=false" -P /tests/old.ppd 2>/dev/null
  switch_on
  print old "${page[@]}" /tests/parcels.pdf
  ! switch_off || fail "commands without labels are no fault to the printer"
  is "$(cat /tests/came)" '' "labels of a queue without delivery"
  is "$(find "$data" -name 'page_*.dat' | wc -l)" 2 "its pages in the spool"
  rm "$data"/page_*.dat

  /var/lib/dpkg/info/rastertokestra.postinst configure 1.0.0-1 >/tests/update
  grep -q 'without: old *$' /tests/update ||
    fail "the update does not name just the old queue: $(cat /tests/update)"
  command=$(sed -n "/^    lpadmin -p label -v kestra:DEVICE-URI -m /{s|label|old|;s|DEVICE-URI|$device|;p}" \
    "$readme")
  [ -n "$command" ] || fail "README.Debian has no command that upgrades a queue"
  bash -ec "$command" 2>/dev/null || fail "$command fails"
  switch_on
  print old "${page[@]}" /tests/parcels.pdf
  switch_off || fail "the printer found faults: $(cat /tests/said)"
  all_came "an old queue after one command"
  nothing_is_left
  lpadmin -x old
}

# senders: what sends labels, also after its program was removed.
senders() {
  local process
  for process in /proc/[0-9]*; do
    case $(readlink "$process/exe") in */backend/kestra*) echo "${process#/proc/}" ;; esac
  done
}

no_sender() { [ -z "$(senders)" ]; }
one_sender() { [ "$(senders | wc -l)" -eq 1 ]; }

# The first label is out, then the printer, the package and the print system go; all come back.
a_job_outlives_removal_and_goes_on_after_the_next_installation() {
  local job
  switch_on --labels 1 --speed 200
  job=$(lp -d label "${page[@]}" /tests/parcels.pdf | sed 's/^request id is \([^ ]*\) .*/\1/')
  wait "$printer" || true # the second label is torn
  is "$(cut -c 1-64 /tests/came)" "$(sed 's/ .*//;q' /tests/wanted_labels)" "the first label"
  # A second later the one word follows upon the other.
  eventually "word of a printer that is away" says label \
    'printer .*(broke|does not answer)|Waiting for the printer'
  kestra-delivery list >/tests/waits || fail "kestra-delivery list fails"
  grep -q "${job#label-}" /tests/waits || fail "kestra-delivery names no $job: $(cat /tests/waits)"

  dpkg --remove rastertokestra >/dev/null
  restart_cups
  # What the print system had started itself ends a moment after it.
  eventually "one sender, which waits for the printer," one_sender
  kill "$(senders)" # as systemd does when it stops cups
  eventually "the sender's end" no_sender
  # Words of README.Debian.
  eventually "word of a backend that is missing" says label '/backend/kestra does not exist'
  lpstat -o label | grep -q "^$job " || fail "removing the package loses the job"

  install_again
  says label disabled || fail "the queue goes on by itself now: README.Debian is out of date"
  cupsenable label
  switch_on
  eventually "the end of the job" sh -c "lpstat -W completed -o label | grep -q '^$job '"
  switch_off || fail "the printer found faults: $(cat /tests/said)"
  all_came "a job over removal and installation"
  nothing_is_left
}
