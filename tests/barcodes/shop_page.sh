# shellcheck shell=bash
# Draws pages as web shops send them: an A4 page with a 4 x 6 inch label somewhere on it.
#
# The label holds a Code 128 with bars of 0.33 mm and a QR code of 0.75 mm squares inside a border;
# fold lines, cutting lines and words lie beside it, as they do in real life.

# shellcheck disable=SC2034  # read by the scripts that source this one
shop_code128=JD014600006281230045
shop_qr='https://example.org/label?lot=0042'

# symbol EPS MILLIMETRES X Y: a code of zint's with its lower left corner at X Y points. A module is
# 2 units wide.
symbol() {
  echo "gsave $3 $4 translate $2 25.4 div 72 mul 2 div dup scale"
  grep -v '^%' "$1"
  echo grestore
}

# shop_codes DIR: the two codes, as DIR/code128.eps and DIR/qr.eps.
shop_codes() {
  zint -b CODE128 -d "$shop_code128" --notext --filetype=EPS -o "$1/code128.eps"
  zint -b QRCODE --secure=2 -d "$shop_qr" --filetype=EPS -o "$1/qr.eps"
}

# shop_label DIR X Y [ANGLE]: the label, 288 x 432 points, turned about its lower left corner at X Y.
shop_label() {
  echo "gsave $2 $3 translate ${4-0} rotate"
  echo '1 setlinewidth 4 4 280 424 rectstroke'
  echo '/Helvetica-Bold findfont 18 scalefont setfont'
  echo '24 390 moveto (To: A. Person) show 24 365 moveto (5 Some Street) show'
  symbol "$1/code128.eps" 0.33 24 60
  symbol "$1/qr.eps" 0.75 150 220
  echo grestore
}

# words X Y TEXT: a line of small print.
words() { echo "/Helvetica findfont 9 scalefont setfont $1 $2 moveto ($3) show"; }

# dashes X0 Y0 X1 Y1: a line to cut or fold along.
dashes() { echo "gsave [6 4] 0 setdash 0.5 setlinewidth $1 $2 moveto $3 $4 lineto stroke grestore"; }

# shop_page DIR KIND: PostScript with one A4 page.
#   corner    upright in the upper left corner, fold line and advertising below
#   inset     the same 20 points off the corner, without anything else
#   centre    in the middle of the page, words above and below
#   turned    lying in the upper half, above a fold line over the whole width
#   landscape upright on a landscape page, beside a cutting line
#   halves    two labels, one lying in each half
#   cut       a cutting line close around it, crossing the whole page
shop_page() {
  local dir=$1 kind=$2 width=595.28 height=841.89
  [ "$kind" != landscape ] || { width=841.89 height=595.28; }
  echo '%!PS-Adobe-3.0'
  echo "<< /PageSize [$width $height] >> setpagedevice"
  case "$kind" in
    corner)
      shop_label "$dir" 0 409.89
      dashes 0 400 595 400
      words 40 380 'Fold here'
      echo '0.2 setgray 60 100 300 150 rectfill 0 setgray'
      ;;
    inset) shop_label "$dir" 20 389.89 ;;
    centre)
      shop_label "$dir" 150 200
      words 150 660 'Thank you for your order number 4711'
      words 60 100 'Put the label on the parcel so that the codes stay flat. Keep this page.'
      ;;
    turned)
      shop_label "$dir" 500 500 90
      dashes 0 440 595 440
      words 60 400 'Receipt: keep it until the parcel has come. Fold along the line above.'
      ;;
    landscape)
      shop_label "$dir" 20 100
      dashes 330 0 330 595
      words 360 500 'Cut here, put the right half into the parcel'
      ;;
    halves)
      shop_label "$dir" 500 500 90
      dashes 0 421 595 421
      shop_label "$dir" 500 80 90
      ;;
    cut)
      shop_label "$dir" 100 300
      dashes 0 297 595 297
      dashes 0 735 595 735
      dashes 97 0 97 842
      dashes 391 0 391 842
      words 400 500 'Cut along the lines'
      ;;
    *)
      echo "no page of this kind: $kind" >&2
      return 1
      ;;
  esac
  echo showpage
}

# shop_pdf DIR KIND: the page as DIR/KIND.pdf.
shop_pdf() {
  shop_page "$1" "$2" >"$1/$2.ps"
  gs -q -dBATCH -dNOPAUSE -dAutoRotatePages=/None -sDEVICE=pdfwrite -sOutputFile="$1/$2.pdf" "$1/$2.ps"
}
