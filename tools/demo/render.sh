# shellcheck shell=bash
# Turns a document into a raster stream with the programs that the print system would use.
#
# The filter must get the very page that a real job would give it, so the chain, the printer
# description and the environment are those of a job.

filter_dir=${CUPS_FILTER_DIR:-/usr/lib/cups/filter}

# document_type FILE: pdf, ps, image, raster, text, or a sentence on why it cannot be printed, on
# standard output; fails in the last case.
document_type() {
  local start
  if [ ! -e "$1" ]; then echo "there is no such file" && return 1; fi
  if [ -d "$1" ]; then echo "is a directory, give a file" && return 1; fi
  if [ ! -f "$1" ]; then echo "is no ordinary file" && return 1; fi
  if [ ! -r "$1" ]; then echo "cannot be read, check its permissions" && return 1; fi
  if [ ! -s "$1" ]; then echo "is empty" && return 1; fi
  start=$(od -An -v -tx1 -N16 "$1" | tr -d ' \n')
  case "$start" in
    25504446*) echo pdf ;;                                  # %PDF
    2521*) echo ps ;;                                       # %!
    04252150532d* | 1b252d3132333435*) echo ps ;;           # printer-style starts of PostScript
    89504e470d0a1a0a* | ffd8ff*) echo image ;;              # PNG, JPEG
    5261533250776752*) echo "is a PWG raster file, whose greys are the other way round" && return 1 ;;
    52615374* | 74536152* | 52615332* | 32536152* | 52615333* | 33536152*) echo raster ;;
    *)
      if is_text "$1"; then
        echo text
      else
        echo "is of no known type; PDF, PostScript, PNG, JPEG, text and CUPS raster can be printed"
        return 1
      fi
      ;;
  esac
}

# is_text FILE: valid UTF-8 without control characters other than line ends, tabs and form feeds.
is_text() {
  iconv -f UTF-8 -t UTF-8 "$1" >/dev/null 2>&1 || return 1
  [ "$(LC_ALL=C tr -d '\011-\015\040-\377' <"$1" | head -c 1 | wc -c)" -eq 0 ]
}

# step LOG WHAT COMMAND...: runs a command with its messages in LOG; on failure shows the last of
# them and fails.
step() {
  local log=$1 what=$2
  shift 2
  if ! "$@" 2>"$log"; then
    grep -v '^DEBUG' "$log" | tail -n 5 >&2
    echo "demo: $what failed; its messages are above" >&2
    return 1
  fi
}

postscript_to_pdf() {
  local crop=()
  if head -c 64 "$1" | grep -aq EPSF; then crop=(-dEPSCrop); fi
  gs -q -dBATCH -dNOPAUSE -dSAFER -dAutoRotatePages=/None -sDEVICE=pdfwrite ${crop[@]+"${crop[@]}"} \
    -sOutputFile="$2" "$1" >&2
}

# render TYPE FILE WORK PPD COPIES OPTIONS: leaves WORK/pages.ras (and WORK/document.pdf).
render() {
  local type=$1 file=$2 work=$3 ppd=$4 copies=$5 options=$6
  local job=(1 demo "$(basename "$file")")
  local environment=(env PPD="$ppd" PRINTER=demo CHARSET=utf-8 LANG=en_US.UTF-8 TMPDIR="$work"
    HOME="$work" CONTENT_TYPE=application/pdf FINAL_CONTENT_TYPE=application/vnd.cups-raster)
  case "$type" in
    pdf) cp "$file" "$work/document.pdf" ;;
    ps)
      step "$work/render.log" "reading the PostScript" postscript_to_pdf "$file" \
        "$work/document.pdf" || return 1
      ;;
    image | text)
      # The copies are made once, below.
      step "$work/render.log" "reading the $type" "${environment[@]}" "$filter_dir/${type}topdf" \
        "${job[@]}" 1 "$options" "$file" >"$work/document.pdf" || return 1
      ;;
    raster)
      cp "$file" "$work/pages.ras"
      return 0
      ;;
  esac
  step "$work/render.log" "placing the pages" "${environment[@]}" "$filter_dir/pdftopdf" \
    "${job[@]}" "$copies" "$options" "$work/document.pdf" >"$work/pages.pdf" || return 1
  step "$work/render.log" "drawing the pages" "${environment[@]}" "$filter_dir/gstoraster" \
    "${job[@]}" "$copies" "$options" <"$work/pages.pdf" >"$work/pages.ras" || return 1
  # A raster stream starts with 4 bytes that say what it is; a page has far more behind them.
  if [ "$(wc -c <"$work/pages.ras")" -le 4 ]; then
    grep -v '^DEBUG' "$work/render.log" | tail -n 5 >&2
    echo "demo: the document gave no pages; is it whole, and does page-ranges name pages it has?" >&2
    return 1
  fi
}
