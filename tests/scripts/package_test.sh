#!/bin/bash
# package.sh gives the packer the date of the newest change: the same sources make the same package.
# Usage: package_test.sh PROJECT
set -euo pipefail
# shellcheck source=tests/scripts/stage.sh
. "$(dirname "$0")/stage.sh"
command -v dpkg >/dev/null || { echo "skipped: no dpkg"; exit 0; }
export tested=package.sh
cp "$project/package.sh" "$stage/"
programs=$(sed -n '/^programs=(/,/)$/p' "$project/package.sh" | tr -d '()' | tr '\n' ' ')
programs=${programs#programs=}
[ -n "$programs" ] || wrong "package.sh does not say any more what is packed"
stand_in tools/setup.sh
stand_in dpkg-parsechangelog 'echo 1234567890'
build=build-package-$(dpkg --print-architecture)
stand_in cmake "mkdir -p $build/ppd && echo . >$build/ppd/kestra4.ppd" \
  "for made in $programs; do install -m 755 /dev/null $build/\$made; done"
stand_in cpack 'while [ $# -gt 1 ]; do [ "$1" != -B ] || out=$2; shift; done' \
  'mkdir -p "$out" && echo "${SOURCE_DATE_EPOCH-now}" >"$out/made.deb"'

run 0
[ "$(cat "$stage/out/packages/made.deb")" = 1234567890 ] || wrong "the package gets another date"
asked dpkg-parsechangelog "-l packaging/debian/changelog -S Timestamp"
asked cmake "-DCMAKE_BUILD_TYPE=Release"
for part in setup.sh cmake cpack; do
  fails "$part"
  run 1
  fails "$part" 0
done
run 2 sparc
idle setup.sh
