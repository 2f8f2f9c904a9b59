#!/bin/bash
# Crops the label out of pages as web shops send them and scans both codes from its dots.
#
# Whether the right part of a page was found, straight and at 1:1, is decided by what a scanner
# reads. Control: a page of which the whole is printed smaller is not read, see recipe_test.sh.
# Usage: crop_test.sh SOURCE BUILD PPD KIND LABELS
set -euo pipefail

root=$1 build=$2 ppd=$3 kind=$4 labels=$5
# shellcheck source=tests/barcodes/print.sh
. "$root/tests/barcodes/print.sh"
# shellcheck source=tests/barcodes/shop_page.sh
. "$root/tests/barcodes/shop_page.sh"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
shop_codes "$work"
shop_pdf "$work" "$kind"
for dpi in 203 300; do
  # A head of 300 dpi has the dots for these labels, too.
  "$build/kestra-proof" --quiet --ppd "$ppd" -o "PageSize=w288h432 Resolution=${dpi}dpi" \
    --crop --output-dir "$work/$dpi" "$work/$kind.pdf"
  [ "$(find "$work/$dpi" -name '*.png' | wc -l)" -eq "$labels" ]
  for number in $(seq "$labels"); do
    picture=$work/$dpi/$kind-crop-$number.png
    code128=$(read_symbol code128 "$picture")
    qr=$(read_symbol qr "$picture")
    if [ "$code128" != "$shop_code128" ] || [ "$qr" != "$shop_qr" ]; then
      echo "$kind at $dpi dpi, label $number: read \"$code128\" and \"$qr\"" >&2
      exit 1
    fi
  done
done
