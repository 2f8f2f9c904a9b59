# shellcheck shell=bash
# Runs the filter as the print system does, with a spool and a /tmp of its own.
#
# The filter writes to fixed places; the machine's own spool must not see a page of the demo, so
# those places are replaced for this one process, or a build that writes below its current
# directory is taken where the machine does not allow that.

# What runs inside the namespace: $1 is the private directory. It holds the filter and the printer
# description as well, because the real /tmp, where they may be, is hidden from here on.
# shellcheck disable=SC2016  # expanded by the inner shell
inside='
  set -eu
  private=$1
  shift
  mount --bind "$private/spool" /var/spool
  mount --bind "$private/tmp" /tmp
  [ "$#" -gt 0 ] || exit 0
  cd /
  umask 077
  queue=$1
  shift
  (exec -a "$queue" /var/spool/demo/rastertokestra "$@")
'

# namespace_command: the words that start a private mount namespace, one per line.
namespace_command() {
  if [ "$(id -u)" -eq 0 ]; then
    printf '%s\n' unshare -m
  else
    printf '%s\n' unshare -r -m
  fi
}

# run_filter BUILD WORK PPD TYPE COPIES OPTIONS: prints WORK/pages.ras; a document of TYPE raster is
# given as a file, any other comes from a pipe. Writes WORK/commands.bin (what the printer gets) and
# WORK/filter.log, sets `spool_tmp` to the directory with the filter's files and `isolation` to
# a word on how it ran. Fails as the filter does.
# shellcheck disable=SC2034  # demo.sh reads the two results
run_filter() {
  local build=$1 work=$2 ppd=$3 type=$4 copies=$5 options=$6
  local raster=$work/pages.ras private=$work/private queue=demo namespace
  local environment=(env -i PATH=/usr/lib/cups/filter:/usr/bin:/bin:/usr/sbin:/sbin
    PRINTER="$queue" PRINTER_INFO=Demo CONTENT_TYPE=application/pdf
    FINAL_CONTENT_TYPE=application/vnd.cups-raster CHARSET=utf-8 LANG=en.UTF-8 USER=root)
  local job=(1 demo label "$copies" "$options")
  mapfile -t namespace < <(namespace_command)
  mkdir -p "$private/spool/cups/tmp" "$private/spool/demo" "$private/tmp"

  if "${namespace[@]}" bash -c "$inside" bash "$private" 2>/dev/null; then
    isolation="in a private mount namespace"
    spool_tmp=$private/spool/cups/tmp
    cp "$build/rastertokestra" "$private/spool/demo/rastertokestra"
    cp "$ppd" "$private/spool/demo/printer.ppd"
    if [ "$type" = raster ]; then
      cp "$raster" "$private/spool/cups/d00001-001"
      job+=(/var/spool/cups/d00001-001)
      raster=/dev/null
    fi
    "${environment[@]}" PPD=/var/spool/demo/printer.ppd TMPDIR=/var/spool/cups/tmp \
      "${namespace[@]}" bash -c "$inside" bash "$private" "$queue" "${job[@]}" \
      <"$raster" >"$work/commands.bin" 2>"$work/filter.log"
  else
    isolation="in a private directory (this machine allows no private mount namespace)"
    mkdir -p "$private/relative/var/spool/cups/tmp" "$private/relative/tmp"
    spool_tmp=$private/relative/var/spool/cups/tmp
    if [ "$type" = raster ]; then
      job+=("$raster")
      raster=/dev/null
    fi
    (
      cd "$private/relative" || exit 1
      umask 077
      # shellcheck disable=SC2016  # expanded by the inner shell
      "${environment[@]}" PPD="$ppd" TMPDIR="$private/relative/tmp" \
        bash -c 'program=$1; shift; queue=$1; shift; exec -a "$queue" "$program" "$@"' bash \
        "$build/filter/rastertokestra_relative" "$queue" "${job[@]}"
    ) <"$raster" >"$work/commands.bin" 2>"$work/filter.log"
  fi
}
