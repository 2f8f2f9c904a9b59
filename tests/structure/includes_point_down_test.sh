#!/bin/sh
# Proves that the check of includes notices what it is there for: a forbidden include in a tree of
# its own must fail, an allowed one must pass.
# Usage: includes_point_down_test.sh CHECK
set -eu
check=$1
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
for floor in filter printer imaging delivery tools; do mkdir "$tree/$floor"; done

expect() { # STATUS FILE INCLUDED
  mkdir -p "$tree/$(dirname "$2")"
  printf '#include "%s"\n' "$3" >"$tree/$2"
  status=0
  sh "$check" "$tree" 2>/dev/null || status=$?
  rm "$tree/$2"
  if [ "$status" -ne "$1" ]; then
    echo "$2 including $3: status $status, wanted $1" >&2
    exit 1
  fi
}
expect 0 printer/a.cpp filter/base/log.h
expect 0 printer/a.cpp imaging/tattoo/grey.h
expect 0 filter/a.cpp printer/wren_printer.h
expect 1 printer/a.cpp filter/header_log.h
expect 1 imaging/paletteimage/a.h printer/wren_printer.h
expect 1 imaging/tattoo/a.h imaging/paletteimage/palette_image.h
expect 0 imaging/paletteimage/a.h filter/base/page_block.h
expect 1 imaging/kernels/a.h filter/base/page_block.h
expect 1 filter/base/a.cpp filter/raster_input.h
expect 1 filter/a.cpp tests/plain/job.h
expect 0 tools/render/a.cpp filter/job.h
expect 0 tools/proof/a.cpp tools/render/chain.h
expect 1 tools/frame/a.cpp filter/base/file.h
expect 0 tools/frame/a.cpp filter/base/result.h
expect 1 tools/render/a.cpp tools/proof/sheet.h
expect 1 tools/proof/a.cpp filter/job.h
expect 1 filter/a.cpp tools/frame/frame_reader.h
expect 0 tools/render/a.cpp tools/size/job_size.h
expect 1 tools/size/a.cpp tools/render/chain.h
expect 0 tools/paper/a.cpp tools/base/json.h
expect 1 tools/base/a.cpp tools/proof/sheet.h
expect 1 tools/paper/a.cpp tools/frame/frame_reader.h
expect 1 tools/paper/a.cpp delivery/core/sender.h
expect 1 tools/paper/a.cpp printer/page_frame.h
