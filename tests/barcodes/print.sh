# shellcheck shell=bash
# Prints labels as the print system would and turns the page frames into pictures of the dots.
#
# A scanner must see what comes out of the print head, not what went into the filter.

# page_options SYMBOL DPI: size and resolution of its labels, as job options.
page_options() {
  local size
  read -r size _ < <(label_size "$1")
  echo "PageSize=$size Resolution=${2}dpi"
}

# make_pages SYMBOL DPI WORK PPD PROOF: renders the labels of a symbol to WORK/pages.ras.
make_pages() {
  local symbol=$1 dpi=$2 work=$3 ppd=$4 proof=$5
  mkdir -p "$work"
  label_pages "$symbol" "$work/symbol.eps" >"$work/label.ps" || return 1
  "$proof" --quiet --ppd "$ppd" -o "$(page_options "$symbol" "$dpi")" --keep "$work/kept" \
    --output-dir "$work" "$work/label.ps" || return 1
  mv "$work/kept/pages.ras" "$work/pages.ras"
  rm -rf "$work/kept"
}

# print_pages PROOF WORK PPD OPTIONS: sends WORK/pages.ras through the filter and leaves
# WORK/print/1.png, 2.png ..., a picture for each page.
print_pages() {
  local proof=$1 work=$2 ppd=$3 options=$4 picture
  rm -rf "$work/print"
  mkdir -p "$work/print"
  "$proof" --quiet --ppd "$ppd" -o "$options" --output-dir "$work/print" "$work/pages.ras" \
    2>"$work/print/warnings" || return 1
  for picture in "$work"/print/pages-*.png; do mv "$picture" "${picture/pages-/}"; done
}

# read_symbol SYMBOL PICTURE: what a scanner reads, or nothing.
read_symbol() {
  local kind
  case "$1" in
    datamatrix)
      dmtxread -N1 "$2" || true
      return
      ;;
    ean13) kind=ean13 ;;
    code128) kind=code128 ;;
    code39) kind=code39 ;;
    itf14) kind=i25 ;;
    qr) kind=qrcode ;;
  esac
  # Only the kind that was printed counts: a short stretch of bars can also be read as another.
  zbarimg -q --raw --nodbus -Sdisable "-S$kind.enable" "$2" 2>/dev/null || true
}
