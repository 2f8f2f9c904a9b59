#!/bin/bash
# Prints a table of the bar widths that scan: each symbol, resolution and halftone, and the barcode
# option where it does something. With `turned` the bars lie across the feed.
#
# For whoever wants to know what a stencil halftone makes of a barcode; nothing is promised of it.
# Usage: table.sh BUILD [WIDTHS [turned]], for example: table.sh build "0.125 0.25"
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build=$(cd "$1" && pwd)
# shellcheck source=tests/barcodes/label.sh
. "$root/tests/barcodes/label.sh"
# shellcheck source=tests/barcodes/print.sh
. "$root/tests/barcodes/print.sh"
modules=${2-$modules}
turned=${3-}
ppd=$build/ppd/kestra4.ppd

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# scanned SYMBOL DPI OPTIONS: the bar widths that scan.
scanned() {
  local number=0 module widths=''
  print_pages "$build/kestra-proof" "$work/$1-$2" "$ppd" \
    "$(page_options "$1" "$2") $3"
  for module in $modules; do
    number=$((number + 1))
    if [ "$(read_symbol "$1" "$work/$1-$2/print/$number.png")" = "${wanted_text[$1]}" ]; then
      widths+=" $module"
    fi
  done
  if [ "$widths" = " $modules" ]; then echo all; else echo "${widths:- none}" | cut -c 2-; fi
}

# One line for each resolution and choice of halftone and barcode option.
classic='None FloydSteinberg Ordered Burkes Stucki JarvisJudiceNinke Sierra StevensonArce'
choices=()
for halftone in $classic; do choices+=("HalftoneType=$halftone"); done
for halftone in Tattoo Tattoo_V7; do
  for density in 0 1 2; do choices+=("HalftoneType=$halftone VBarcodeDensity=$density"); done
done

echo "Bars of $modules mm${turned:+, across the feed}"
echo
printf '| dpi | options |'
for symbol in $symbols; do printf ' %s |' "$symbol"; done
printf '\n|---|---|'
for symbol in $symbols; do printf '%s' "---|"; done
echo
for dpi in 203 300; do
  for symbol in $symbols; do make_pages "$symbol" "$dpi" "$work/$symbol-$dpi" "$ppd" "$build/kestra-proof"; done
  for options in "${choices[@]}"; do
    printf '| %s | %s |' "$dpi" "$options"
    for symbol in $symbols; do printf ' %s |' "$(scanned "$symbol" "$dpi" "$options")"; done
    echo
  done
done
