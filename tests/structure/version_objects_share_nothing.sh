#!/bin/sh
# Fails when the objects of a version of the kernels define a symbol that a linker may take from any of several
# objects: a function compiled for new processors could then run on an old one.
# Usage: version_objects_share_nothing.sh NM OBJECT...
set -eu
nm=$1
shift
[ $# -gt 0 ] || { echo "no objects were named" >&2; exit 2; }
bad=0
for object in "$@"; do
  # W and V are weak definitions, u is one for the whole process. Weak references (w, v) take nothing
  # from here, and DW.ref names only point to the language's own handler of exceptions.
  shared=$("$nm" "$object" | awk '$2 ~ /^[WVu]$/ && $3 !~ /^DW\.ref\./ { print $3 }')
  for symbol in $shared; do
    echo "$object: $symbol could be shared with other objects" >&2
    bad=1
  done
done
exit $bad
