#!/bin/bash
# Scans the QR code of test labels from the dots that print them, at both resolutions.
#
# Its modules are whole dots; were it drawn wrong, nobody could tell a bad heat from a bad code.
# Usage: testlabel_test.sh SOURCE BUILD PPD
set -euo pipefail

root=$1 build=$2 ppd=$3
# shellcheck source=tests/barcodes/print.sh
. "$root/tests/barcodes/print.sh"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for size in w142h85 w283h425; do
  for dpi in 203 300; do
    options=(--ppd "$ppd" -o "PageSize=$size" -o "Resolution=${dpi}dpi")
    "$build/kestra-testlabel" "${options[@]}" --output "$work/$size-$dpi.pdf"
    "$build/kestra-proof" --quiet "${options[@]}" --output "$work/page.png" --force \
      "$work/$size-$dpi.pdf"
    text=$(read_symbol qr "$work/page.png")
    [ "$text" = 'KESTRA TEST LABEL' ] || {
      echo "$size at $dpi dpi: read \"$text\"" >&2
      exit 1
    }
  done
done
