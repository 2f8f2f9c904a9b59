#!/bin/bash
# Prints a document without a printer: builds the filter, runs it as the print system would and
# shows what the print head would get.
#
# One command, from a fresh machine to pictures of the very dots of each page; the machine's own
# print spool is not touched.
set -euo pipefail

usage() {
  cat <<'EOF'
Usage: ./demo.sh [-m label|stencil] [-o NAME=VALUE]... [DOCUMENT]
       ./demo.sh gallery
       ./demo.sh printer

Prints DOCUMENT (PDF, PostScript, PNG, JPEG, text or CUPS raster; without one a label made for
this demo) into out/demo: page frames as the printer gets them, a PNG picture of the dots of each
page, and the filter's own images of each page before and after the halftone. The program that does
it is build/kestra-proof; it can do more: see build/kestra-proof --help.

  -m MODEL       label: 4-inch label head, 203 dpi (the default)
                 stencil: A4-wide stencil head, 300 dpi
  -o NAME=VALUE  a job option as for lp, for example HalftoneType=Tattoo, PageSize=w283h142,
                 Darkness=Dark, Resolution=300dpi, MirrorImage=True, fit-to-page, copies=2.
                 A wrong name or value is answered with the list of the right ones.
  --help         this text

  gallery        prints three pictures through every halftone and writes docs/gallery.md with its
                 pictures anew; a document of this name is ./gallery
  printer        prints three labels through a print system of its own, with queue and backend, to a
                 printer without paper, which checks every byte and leaves a PNG of each label, as
                 it came, in out/printer

Missing packages are installed first (as root, or with sudo). Exit status: 0 all pages came out,
1 something went wrong, 2 the command line made no sense.
EOF
}

root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
here=$PWD

fail() {
  echo "demo: $1" >&2
  exit "${2:-1}"
}

wrong_usage() {
  echo "demo: $1" >&2
  echo "Try: ./demo.sh --help" >&2
  exit 2
}

model=label document='' options=() verb=print
case "${1-}" in
  gallery | printer)
    verb=$1
    [ $# -eq 1 ] || wrong_usage "$verb takes nothing else; a document of this name is ./$verb"
    shift
    ;;
esac
while [ $# -gt 0 ]; do
  case "$1" in
    -h | --help) usage; exit 0 ;;
    -m) [ -n "${2-}" ] || wrong_usage "-m wants label or stencil"; model=$2; shift ;;
    -o)
      [ -n "${2-}" ] || wrong_usage "-o wants NAME=VALUE"
      read -r -a words <<<"$2" # as with lp, one -o may hold several options
      options+=(${words[@]+"${words[@]}"})
      shift
      ;;
    --) shift; break ;;
    -*) wrong_usage "unknown option $1" ;;
    *) [ -z "$document" ] || wrong_usage "one document at a time"; document=$1 ;;
  esac
  shift
done
if [ $# -gt 0 ]; then
  if [ -n "$document" ] || [ $# -gt 1 ]; then wrong_usage "one document at a time"; fi
  document=$1
fi
case "$model" in
  label | stencil) ;;
  *) wrong_usage "unknown model \"$model\"; there are label and stencil" ;;
esac

# is_given NAME: whether one of the options has that name.
is_given() {
  local option
  for option in ${options[@]+"${options[@]}"}; do
    option=${option%%=*}
    [ "${option,,}" != "${1,,}" ] || return 0
  done
  return 1
}

# The demo's own label brings the halftone and the size that suit it.
if [ -z "$document" ]; then
  document=$root/tools/demo/label.ps
  if [ "$model" = label ]; then
    is_given HalftoneType || options+=(HalftoneType=Burkes)
  elif ! is_given PageSize && ! is_given media; then
    options+=(PageSize=Tattoo_A6 fit-to-page)
  fi
fi
[ -e "$document" ] || fail "$document: there is no such file"

seconds() { LC_ALL=C awk -v from="$1" -v to="$(date +%s.%N)" 'BEGIN { printf "%.1f", to - from }'; }
start=$(date +%s.%N)
targets=(rastertokestra kestrafit kestra-proof ppds)
needs=demo
[ "$verb" = print ] || needs=$verb
[ "$verb" != printer ] || targets+=(kestra kestra-monitor kestra-paper kestrasize)
"$root/tools/setup.sh" "$needs"
setup_time=$(seconds "$start")

# --- Build --------------------------------------------------------------------------------------
build=$root/build
mark=$(date +%s.%N)
if [ -f "$build/CMakeCache.txt" ] &&
  [ "$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$build/CMakeCache.txt")" != "$root" ]; then
  fail "$build was made for another copy of the sources; remove it and try again"
fi
mkdir -p "$build" "$root/out" 2>/dev/null || fail "$root cannot be written to; copy it to a place of your own"
for directory in "$build" "$root/out"; do
  [ -w "$directory" ] || fail "$directory belongs to somebody else; remove it and try again"
done
echo "Building (messages in build/demo-build.log)"
if ! { cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release &&
  cmake --build "$build" -j "$(nproc)" --target "${targets[@]}"; } \
  >"$build/demo-build.log" 2>&1; then
  tail -n 20 "$build/demo-build.log" >&2
  fail "the build failed; all its messages are in $build/demo-build.log"
fi
for made in rastertokestra kestrafit kestra-proof ppd/kestra4.ppd ppd/kestraa4.ppd; do
  [ -s "$build/$made" ] || fail "the build made no $made; see $build/demo-build.log"
done
build_time=$(seconds "$mark")

if [ "$verb" = gallery ]; then
  python3 "$root/tools/demo/gallery.py" "$build" || exit 1
  exit 0
fi

if [ "$verb" = printer ]; then
  mark=$(date +%s.%N)
  echo
  "$root/tools/demo/printer.sh" enter "$build" "$root/out/printer" || exit 1
  echo "The labels, as the printer got them, are in out/printer"
  echo "Time      setup $setup_time s, build $build_time s, labels $(seconds "$mark") s;" \
    "$(seconds "$start") s in all"
  exit 0
fi

# --- Print --------------------------------------------------------------------------------------
words=(--model "$model")
for option in ${options[@]+"${options[@]}"}; do words+=(-o "$option"); done
out=$root/out/demo
mark=$(date +%s.%N)
rm -rf "$out"
echo
status=0
"$build/kestra-proof" "${words[@]}" --keep "$out" --output-dir "$out" -- "$document" || status=$?
[ "$status" -ne 2 ] || exit 2
print_time=$(seconds "$mark")
shopt -s nullglob
frames=("$out"/page_*.dat)
if [ "$status" -ne 0 ] || [ "${#frames[@]}" -eq 0 ]; then
  fail "${#frames[@]} page(s) came out; what is there, logs included, is in $out"
fi

# --- Show ---------------------------------------------------------------------------------------
cd "$out"
echo
echo "Sent to the printer before each page: $(od -An -v -tx1 -N7 commands.bin)  ..."
echo "Stored for the print head, one frame per page:"
for frame in page_*.dat; do
  echo "$frame begins:$(od -An -v -tx1 -N14 "$frame")  label,$(od -An -v -tx1 -j14 -N8 "$frame")  raster"
done
"$build/kestra-proof" proof.pgc
echo
echo "All of it is in ${out#"$here"/}: pictures of the dots (*.png), frames (page_*.dat), the page"
echo "before and after the halftone (origin_*.bmp, dithered_*.bmp), filter.log"
echo "Time      setup $setup_time s, build $build_time s, pages $print_time s;" \
  "$(seconds "$start") s in all"
