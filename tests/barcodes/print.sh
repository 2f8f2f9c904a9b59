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

# make_pages SYMBOL DPI WORK PPD: renders the labels of a symbol to WORK/pages.ras.
make_pages() {
  local symbol=$1 dpi=$2 work=$3 ppd=$4
  mkdir -p "$work"
  label_pages "$symbol" "$work/symbol.eps" >"$work/label.ps" || return 1
  render ps "$work/label.ps" "$work" "$ppd" 1 "$(page_options "$symbol" "$dpi")"
}

# print_pages FILTER PROOF DPI WORK PPD OPTIONS: sends WORK/pages.ras through the filter, in a
# directory of its own, and leaves WORK/print/1.png, 2.png ..., a picture for each page.
print_pages() {
  local filter=$1 proof=$2 dpi=$3 work=$4 ppd=$5 options=$6 place=$4/print frame number=0
  rm -rf "$place"
  mkdir -p "$place/tmp" "$place/var/spool/cups/tmp"
  if ! (cd "$place" && env -i PATH="$PATH" PPD="$ppd" PRINTER=scan TMPDIR="$place/tmp" \
    "$filter" 1 user label 1 "$options") <"$work/pages.ras" >"$place/commands" 2>"$place/log"; then
    grep -a '^ERROR\|^CRIT' "$place/log" >&2
    echo "the filter failed with $options" >&2
    return 1
  fi
  # A job without a counter file numbers its pages 1, 2, 3.
  for frame in "$place"/var/spool/cups/tmp/kcv6data/page_*.dat; do
    number=$((number + 1))
    "$proof" --dpi "$dpi" -o "$place/$number.png" "$frame" >/dev/null || return 1
  done
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
