#!/bin/bash
# demo.sh asks the print tool for what its words say, and answers with what came out.
# Usage: demo_test.sh PROJECT
set -euo pipefail
# shellcheck source=tests/scripts/stage.sh
. "$(dirname "$0")/stage.sh"
export tested=demo.sh
cp "$project/demo.sh" "$stage/"
cp "$project"/tools/demo/*.sh "$project/tools/demo/label.ps" "$stage/tools/demo/"
echo '%!PS' >"$stage/mine.ps"
stand_in tools/setup.sh
# The build: what demo.sh expects of it, and a print tool that leaves a page and its command.
made=$(sed -n 's/^for made in \(.*\); do$/\1/p' "$project/demo.sh")
[ -n "$made" ] || wrong "demo.sh does not say any more what the build makes"
stand_in cmake 'mkdir -p build/ppd && cp bin/kestra-proof build/' \
  "for made in $made; do [ -s build/\$made ] || echo . >build/\$made; done"
stand_in kestra-proof 'while [ $# -gt 1 ]; do [ "$1" != --keep ] || keep=$2; shift; done' \
  '[ -z "${keep-}" ] || [ -e "$calls/no_page.status" ] || {' \
  '  mkdir -p "$keep" && printf 1234567 >"$keep/commands.bin"' \
  '  head -c 22 /dev/zero >"$keep/page_0001_jobid_000001_0000.dat"; }'

run 0 mine.ps
asked kestra-proof "--model label"
asked kestra-proof "-- mine.ps"
run 0 -m stencil -o Darkness=Dark -o 'copies=2 HalftoneType=Tattoo' mine.ps
asked kestra-proof "--model stencil"
asked kestra-proof "-o Darkness=Dark -o copies=2 -o HalftoneType=Tattoo"
run 0 -m stencil # its own label, fitted to a page of that head
asked kestra-proof "-o PageSize=Tattoo_A6 -o fit-to-page"
run 0
asked kestra-proof "-o HalftoneType=Burkes"

stand_in python3
run 0 gallery
asked setup.sh gallery
asked python3 "$stage/tools/demo/gallery.py $stage/build"
idle kestra-proof
fails python3 # a sentence of the gallery that no longer holds
run 1 gallery
run 2 gallery mine.ps

stand_in tools/demo/printer.sh
run 0 printer
asked setup.sh printer
asked cmake "kestra kestra-monitor kestra-paper kestrasize"
asked printer.sh "enter $stage/build $stage/out/printer"
idle kestra-proof
fails printer.sh # a label that did not come
run 1 printer
run 2 printer mine.ps
idle printer.sh

run 2 -m poster mine.ps
idle kestra-proof
run 2 -m
run 2 --wrong
run 2 mine.ps other.ps
run 1 missing.ps
for status in 1 2; do # a page that failed, options that make no sense
  fails kestra-proof "$status"
  run "$status" mine.ps
done
fails kestra-proof 139
run 1 mine.ps
fails kestra-proof 0
touch "$calls/no_page.status"
run 1 mine.ps
rm "$calls/no_page.status"
fails cmake
run 1 mine.ps
idle kestra-proof
fails cmake 0
fails setup.sh
run 1 mine.ps
idle cmake
