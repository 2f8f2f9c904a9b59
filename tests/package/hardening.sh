#!/bin/bash
# Fails when a program lacks one of the protections that a damaged memory is to meet.
#
# The filter reads strangers' documents under the print system; a build that lost a protection
# prints just as well, so that only a look at the program itself tells.
set -euo pipefail

[ $# -gt 0 ] || { echo "Usage: tests/package/hardening.sh PROGRAM..." >&2; exit 2; }

# has PROGRAM OPTION PATTERN: whether readelf OPTION prints a line that fits.
has() {
  local text
  text=$(LC_ALL=C readelf --wide "$2" "$1")
  grep -qE "$3" <<<"$text"
}

# wants PROGRAM NAME OPTION PATTERN: says which protection is missing.
wants() {
  has "$1" "$3" "$4" || {
    echo "$1: no $2" >&2
    bad=1
  }
}

bad=0
for program in "$@"; do
  [ -r "$program" ] || { echo "$program cannot be read" >&2; exit 1; }
  wants "$program" "position-independent code (DYN)" --file-header '^ *Type: +DYN '
  wants "$program" "position-independent executable (PIE)" --dynamic '\(FLAGS_1\).* PIE( |$)'
  wants "$program" "read-only relocations (GNU_RELRO)" --program-headers '^ *GNU_RELRO '
  wants "$program" "binding at the start (NOW)" --dynamic '\(FLAGS(_1)?\).*NOW|\(BIND_NOW\)'
  wants "$program" "stack protector (__stack_chk_fail)" --dyn-syms ' UND __stack_chk_fail@'
  wants "$program" "checked functions (__*_chk)" --dyn-syms ' UND __[a-z]+_chk@'
  wants "$program" "stack without execution" --program-headers '^ *GNU_STACK .* RW +0x'
done
exit $bad
