#!/bin/bash
# Prints a web shop's A4 page with a 4 x 6 inch label in its upper left corner on a label of that
# size: with the two options of the guide a scanner reads both codes, and without them it must not.
#
# Without them the print system makes the page smaller, which no scanner of parcels forgives; were
# the codes read all the same, the first half would prove nothing.
# Usage: recipe_test.sh SOURCE BUILD PPD
set -euo pipefail

root=$1 build=$2 ppd=$3
# shellcheck source=tests/barcodes/print.sh
. "$root/tests/barcodes/print.sh"
# shellcheck source=tests/barcodes/shop_page.sh
. "$root/tests/barcodes/shop_page.sh"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# is FOUND WANTED WHAT
is() {
  [ "$1" = "$2" ] || {
    echo "$3: read \"$1\", wanted \"$2\"" >&2
    exit 1
  }
}

# scan WORDS [OPTION...]: prints with these options and reads both codes into code128 and qr.
scan() {
  local what=$1
  shift
  "$build/kestra-proof" --quiet --ppd "$ppd" -o PageSize=w288h432 "$@" --output "$work/page.png" \
    "$work/corner.pdf"
  code128=$(read_symbol code128 "$work/page.png")
  qr=$(read_symbol qr "$work/page.png")
  echo "$what: Code 128 \"$code128\", QR \"$qr\""
}

shop_codes "$work"
shop_pdf "$work" corner
scan "as the guide says" -o print-scaling=none -o position=top-left
is "$code128" "$shop_code128" "Code 128 printed 1:1"
is "$qr" "$shop_qr" "QR printed 1:1"
scan "without options"
is "$code128" '' "Code 128 made smaller"
scan "1:1 from the middle of the page" -o print-scaling=none
is "$code128$qr" '' "a page cut around its middle"
