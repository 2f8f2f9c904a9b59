#!/bin/sh
# Fails when a folder with sources has no README.md, or one of more than ten lines: a newcomer reads
# what a room is for before the code in it.
# Usage: readmes_are_short.sh ROOT
set -eu
cd "$1"
bad=0
for folder in $(find filter printer imaging delivery driver tools tests packaging bench -type f \
  \( -name '*.h' -o -name '*.cpp' -o -name '*.drv' -o -name '*.sh' \) -exec dirname {} \; | sort -u) \
  docs; do
  if [ ! -f "$folder/README.md" ]; then
    echo "$folder has no README.md" >&2
    bad=1
  elif [ "$(wc -l <"$folder/README.md")" -gt 10 ]; then
    echo "$folder/README.md has more than ten lines" >&2
    bad=1
  fi
done
exit $bad
