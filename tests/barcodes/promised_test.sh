#!/bin/bash
# Prints one kind of barcode through the eight halftones that promise to keep it, and scans it.
#
# A label whose barcode cannot be read is waste paper; pure black and white must come through these
# halftones dot for dot, so every bar width is scanned on what the print head would get.
# Usage: promised_test.sh SOURCE BUILD PPD SYMBOL DPI [HALFTONES]
set -euo pipefail

root=$1 build=$2 ppd=$3 symbol=$4 dpi=$5
# shellcheck source=tests/barcodes/label.sh
. "$root/tests/barcodes/label.sh"
# shellcheck source=tests/barcodes/print.sh
. "$root/tests/barcodes/print.sh"

promised=${6-None FloydSteinberg Ordered Burkes Stucki JarvisJudiceNinke Sierra StevensonArce}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0

# wrong TEXT: tells of a failure and goes on, so that one run shows all of them.
wrong() {
  echo "$symbol at $dpi dpi: $1" >&2
  failed=1
}

make_pages "$symbol" "$dpi" "$work" "$ppd" "$build/kestra-proof"
scanned=0
for halftone in $promised; do
  print_pages "$build/kestra-proof" "$work" "$ppd" \
    "$(page_options "$symbol" "$dpi") HalftoneType=$halftone"
  mkdir -p "$work/first"
  number=0
  for module in $modules; do
    number=$((number + 1))
    picture=$work/print/$number.png
    text=$(read_symbol "$symbol" "$picture")
    [ "$text" = "${wanted_text[$symbol]}" ] ||
      wrong "$halftone, modules of $module mm: read \"$text\", printed \"${wanted_text[$symbol]}\""
    # All eight print the same dots.
    [ -e "$work/first/$number.png" ] || cp "$picture" "$work/first/$number.png"
    cmp -s "$picture" "$work/first/$number.png" ||
      wrong "$halftone, modules of $module mm: other dots than ${promised%% *} prints"
    scanned=$((scanned + 1))
  done
done
echo "$symbol at $dpi dpi: $scanned scanned"
exit "$failed"
