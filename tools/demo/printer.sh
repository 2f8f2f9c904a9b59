#!/bin/bash
# Prints two documents through a print system of this demo's own to a printer without paper.
#
# The print system's folders are fixed, so this runs where they are private: in namespaces, with
# which all processes, files and mounts of the demo end, but for the pictures.
set -euo pipefail
PATH=$PATH:/usr/sbin:/sbin

fail() {
  echo "demo: $1" >&2
  exit 1
}

# enter BUILD OUT: runs this script again in namespaces, with the places in them.
enter() {
  local rights=() refused
  mkdir -p "$2"
  find "$2" -mindepth 1 -delete # what the last demo left
  # Who is not root is root of the mounts of a namespace, if the machine lets everybody make one.
  [ "$(id -u)" -eq 0 ] || rights=(--map-root-user)
  rights+=(--mount --pid --fork --kill-child --mount-proc)
  refused=$(unshare "${rights[@]}" true 2>&1) || fail "no folders of its own for a print system can
be made here ($refused); try it as root"
  exec unshare "${rights[@]}" "$0" furnish "$1" "$2" "$(id -u)" "$(id -g)"
}

# furnish BUILD OUT USER GROUP: private folders, then the demo as the user that began it.
furnish() {
  local place=/var/spool/demo folder file
  umask 022
  mount -t tmpfs -o mode=0755 tmpfs /var/spool
  mkdir -p $place/{out,etc,ppd,state,cache,log,home,machine/{etc,var/lib}} /var/spool/cups/tmp
  mkdir -p $place/bin/{filter,backend,monitor,daemon,notifier}
  ln -s /var/spool $place/machine/var/spool
  mount --bind "$2" $place/out
  for folder in filter backend daemon notifier; do
    for file in "/usr/lib/cups/$folder"/*; do
      case $file in *kestra*) ;; *) ln -s "$file" $place/bin/$folder/ ;; esac
    done
  done
  install -m 0755 "$1/rastertokestra" "$1/kestrafit" "$1/kestrasize" $place/bin/filter/
  install -m 0744 "$1/kestra" $place/bin/backend/
  install -m 0755 "$1/kestra-monitor" $place/bin/monitor/kestra
  cp "$1/kestra-paper" "$1/kestra-proof" "$1/ppd/kestra4.ppd" "$(dirname "$0")"/{label,parcels}.ps \
    "$0" $place/
  # Jobs write their log into this folder; the sources may lie in it, so it is hidden last.
  mount -t tmpfs -o mode=1777 tmpfs /tmp
  cd $place
  [ "$3" -eq 0 ] || exec unshare --user "--map-user=$3" "--map-group=$4" ./printer.sh show
  exec ./printer.sh show
}

# start_printer: a printer without paper, which expects what kestra-proof says will come.
start_printer() {
  local document
  for document in label parcels; do
    ps2pdf -dDEVICEWIDTHPOINTS=288 -dDEVICEHEIGHTPOINTS=432 $document.ps
    ./kestra-proof --ppd kestra4.ppd -o HalftoneType=Burkes --quiet --keep proof-$document \
      --output-dir proof-$document $document.pdf
    ./kestra-paper --digest proof-$document/page_*.dat >>wanted
  done
  ./kestra-paper tcp:0 --ready port --expect wanted --speed 300 --output out --log labels \
    2>verdict &
  printer=$!
  await "the printer" test -s port
}

start_print_system() {
  printf '%s\n' "ServerRoot $PWD/etc" 'RequestRoot /var/spool/cups' 'TempDir /var/spool/cups/tmp' \
    "StateDir $PWD/state" "CacheDir $PWD/cache" "ServerBin $PWD/bin" 'DataDir /usr/share/cups' \
    "ErrorLog $PWD/log/error" "AccessLog $PWD/log/access" "PageLog $PWD/log/page" \
    'SystemGroup root' "SetEnv KESTRA_DELIVERY_ROOT $PWD/machine" >files.conf
  printf '%s\n' "Listen $PWD/sock" 'Browsing No' 'DefaultAuthType None' '<Location />' 'Allow all' \
    '</Location>' '<Policy default>' '<Limit All>' 'Allow all' '</Limit>' '</Policy>' >cupsd.conf
  export CUPS_SERVER=$PWD/sock HOME=$PWD/home
  /usr/sbin/cupsd -f -c "$PWD/cupsd.conf" -s "$PWD/files.conf" >log/start 2>&1 &
  await "the print system" sh -c 'lpstat -r 2>/dev/null | grep -q "is running"'
}

# await WHAT COMMAND...: until the command succeeds, at most a minute.
await() {
  local what=$1 tries=0
  shift
  until "$@"; do
    [ $((tries += 1)) -lt 600 ] || {
      tail -n 15 log/* >&2
      fail "$what does not come"
    }
    sleep 0.1
  done
}

are_printed() { [ "$(lpstat -W completed -o label | wc -l)" -eq 2 ]; }

# field NAME: its value in a line of the printer's log.
field() { sed -n "s/.*\"$1\":\"\{0,1\}\([^,\"}]*\).*/\1/p" <<<"$line"; }

show() {
  local line document state status=0
  trap 'exit 130' INT TERM
  start_printer
  start_print_system
  lpadmin -p label -E -v "kestra:socket://127.0.0.1:$(cat port)" -P kestra4.ppd 2>log/lpadmin
  echo "The queue \"label\" prints to $(lpstat -v label | sed 's/.*: //')"
  for document in label parcels; do
    lp -d label -o HalftoneType=Burkes -t $document $document.pdf
  done
  await "the end of the jobs" are_printed
  kill "$printer"
  wait "$printer" || status=$?
  echo "The printer says:"
  grep '"event":"label"' labels | while read -r line; do
    case $(field whole) in true) state=whole ;; *) state=torn ;; esac
    echo "  label $(field number) came $state, $(field width) x $(field height) dots: $(field png)"
  done
  sed 's/^/  /' verdict
  [ "$status" -eq 0 ] || fail "not all labels came as they should"
}

case "${1-}" in
  enter | furnish | show) "$@" ;;
  *) fail "Usage: tools/demo/printer.sh enter BUILD OUT (./demo.sh printer does it)" ;;
esac
