#!/bin/sh
# Fails unless each of the objects uses vectors of 32 bytes, or none of them does: a fast version that
# was built like the one below it would print the same, only later.
# Usage: wide_registers.sh OBJDUMP all|none OBJECT...
set -eu
objdump=$1
wanted=$2
shift 2
[ $# -gt 0 ] || { echo "no objects were named" >&2; exit 2; }
bad=0
for object in "$@"; do
  if "$objdump" -d "$object" | grep -q '%ymm'; then found=all; else found=none; fi
  [ "$found" = "$wanted" ] || { echo "$object: vectors of 32 bytes: $found" >&2; bad=1; }
done
exit $bad
