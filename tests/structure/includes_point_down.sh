#!/bin/sh
# Fails when a folder includes a folder that it must not know: images know nothing of printers,
# printers nothing of jobs, so that each floor can be understood and changed without those above it.
# Usage: includes_point_down.sh ROOT
set -eu
root=$1

# Folder that includes, then the folders and files that it may include besides itself. The first row
# whose folder fits a file counts.
rules='
filter/base
imaging/kernels
imaging/paletteimage imaging/kernels filter/base
imaging/tattoo imaging/kernels filter/base
printer imaging/kernels imaging/paletteimage imaging/tattoo filter/base
filter filter/base printer imaging/kernels imaging/paletteimage imaging/tattoo
delivery/core filter/base
delivery/sinks delivery/core filter/base
delivery/backend delivery/core delivery/sinks filter/base
delivery/monitor delivery/backend delivery/core delivery/sinks filter/base
delivery/tool delivery/core delivery/sinks filter/base
tools/base filter/base
tools/frame filter/base/result.h
tools/fit filter/base
tools/size filter/base
tools/render filter filter/base tools/fit tools/size
tools/crop tools/render filter/base
tools/testlabel tools/base tools/render filter/base
tools/proof tools/base tools/crop tools/fit tools/frame tools/render filter/base
tools/paper tools/base tools/proof filter/base
tools
'

allowed() { # FILE INCLUDED: whether the rules let it
  folder_of_include=$(dirname "$2")
  printf '%s\n' "$rules" | while read -r folder others; do
    [ -n "$folder" ] || continue
    case "$1" in "$folder"/*) ;; *) continue ;; esac
    for other in "$folder" $others; do
      case "$other" in "$folder_of_include" | "$2") echo yes; break ;; esac
    done
    break
  done | grep -q yes
}

cd "$root"
bad=0
for file in $(find filter printer imaging delivery tools -name '*.h' -o -name '*.cpp' | sort); do
  for included in $(sed -n 's/^#include "\(.*\)".*/\1/p' "$file"); do
    if ! allowed "$file" "$included"; then
      echo "$file includes $included, which lies above it" >&2
      bad=1
    fi
  done
done
exit $bad
