# shellcheck shell=bash
# Draws barcode labels as PostScript pages, with bars given in millimetres.
#
# A user's program draws a barcode in millimetres and leaves the dots to the renderer; the labels
# here do the same, so bars fall between dots as they do in real life.

# shellcheck disable=SC2034  # read by the scripts that source this one
symbols='ean13 code128 code39 itf14 qr datamatrix'

# Widths of the narrowest bar, or of a square of a two-dimensional code, in millimetres.
modules='0.25 0.33 0.5'

# What zint is told, and what a scanner must read. zint adds the check digits, worked out here:
# EAN-13   590123412345:  3 x (5+3+1+3+1+9) + (4+2+4+2+0+5) = 83, and 7 makes it 90;
# ITF-14   1234567890123: 3 x (3+1+9+7+5+3+1) + (2+0+8+6+4+2) = 109, and 1 makes it 110.
declare -A zint_words=(
  [ean13]='-b EANX -d 590123412345' [code128]='-b CODE128 -d Kestra-0042'
  [code39]='-b CODE39 -d K-42.A' [itf14]='-b ITF14 -d 1234567890123'
  [qr]='-b QRCODE --secure=2 -d https://example.org/label?lot=0042'
  [datamatrix]='-b DATAMATRIX --square -d LOT-0042/2026-11')
# shellcheck disable=SC2034  # read by the scripts that source this one
declare -A wanted_text=(
  [ean13]=5901234123457 [code128]=Kestra-0042 [code39]=K-42.A [itf14]=12345678901231
  [qr]='https://example.org/label?lot=0042' [datamatrix]=LOT-0042/2026-11)

# Not empty: the bars lie across the feed, like the rungs of a ladder.
turned=''

# label_size SYMBOL: name, width and height in points of a label on which it finds room.
label_size() {
  case "$turned$1" in
    *qr | *datamatrix) echo w142h142 142.0441 141.7323 ;;
    turned*) echo w283h425 283.4646 425.1969 ;;
    *) echo w283h142 283.4646 141.7323 ;;
  esac
}

# label_pages SYMBOL EPS: PostScript with one label for each module width, the symbol in the middle.
label_pages() {
  local symbol=$1 eps=$2 module name width height right top
  local words
  read -r -a words <<<"${zint_words[$symbol]}"
  zint "${words[@]}" --notext --filetype=EPS -o "$eps" >&2
  read -r name width height < <(label_size "$symbol")
  # The drawing starts at 0 0; a module is 2 units wide.
  read -r right top < <(sed -n 's/^%%BoundingBox: 0 0 //p' "$eps")
  [ -n "$top" ]
  echo "%!PS-Adobe-3.0"
  echo "% $name: $symbol with modules of $modules mm"
  echo "<< /PageSize [$width $height] >> setpagedevice"
  for module in $modules; do
    echo "gsave $width 2 div $height 2 div translate ${turned:+90 rotate}"
    echo "$module 25.4 div 72 mul 2 div dup scale"
    echo "$right -2 div $top -2 div translate"
    grep -v '^%' "$eps"
    echo "grestore showpage"
  done
}
