# shellcheck shell=bash
# Prints three pictures through every halftone and writes docs/gallery.md from what came out.
#
# A halftone is chosen by eye, and most names do not say what prints: the pictures are the dots of
# real page frames, and the text is written only as long as the frames still show what it says.

classic_halftones='None FloydSteinberg Ordered Burkes Stucki JarvisJudiceNinke Sierra StevensonArce'
stencil_halftones='Tattoo Tattoo_V7'
halftones="$classic_halftones $stencil_halftones"

# The three pictures, and their size: 400 x 400 dots at 203 dpi.
pictures='label lineart photo'
picture_size=w142h142 picture_dots=160000

# What a committed picture, and all of them together, may take: bytes.
picture_limit=61440 gallery_limit=716800

# shellcheck source=tools/demo/gallery_text.sh
. "$(dirname "${BASH_SOURCE[0]}")/gallery_text.sh"

# Black dots of each print, by the print's name.
declare -A dots

# Ink that a page asks for, in dots: the sum of its greys.
declare -A ink

# narrow_ppd PPD OUT: the printer as if its head were as wide as the 400 dots of the pictures, so
# that frames come without the margin which centres a label on the head; the dots are the same.
narrow_ppd() {
  sed 's/^\*MaxMediaWidth:.*/*MaxMediaWidth: "142.05"/' "$1" >"$2"
  grep -q '^\*MaxMediaWidth: "142.05"' "$2"
}

# proof WORDS: kestra-proof, its words in the variable `words`; shows them where it fails. That a
# document is blank is no failure here: one of the pictures is, on purpose.
proof() {
  if ! words=$("$build/kestra-proof" "$@" 2>&1) &&
    ! grep -q 'nothing is drawn on any of its pages' <<<"$words"; then
    echo "$words" >&2
    echo "demo: kestra-proof failed with $*" >&2
    return 1
  fi
}

# gallery_page NAME DOCUMENT SIZE DOTS WORK PPD: leaves WORK/pages.ras, a page of DOTS grey pixels,
# and sets ink[NAME].
gallery_page() {
  local words=''
  mkdir -p "$5"
  rm -rf "$5/page"
  proof --ppd "$6" -o "PageSize=$3" --keep "$5/page" --output "$5/page.png" "$2" || return 1
  mv "$5/page/pages.ras" "$5/pages.ras"
  # The pixels stand at the end, a byte each; 255 is ink.
  ink[$1]=$(tail -c "$4" "$5/pages.ras" | od -An -v -tu1 -w400 |
    awk '{ for (i = 1; i <= NF; ++i) sum += $i } END { printf "%d", sum / 255 + 0.5 }')
}

# gallery_print NAME WORK PPD OPTIONS: prints WORK/pages.ras into WORK/NAME.dat and WORK/NAME.png
# and sets dots[NAME].
gallery_print() {
  local name=$1 work=$2 ppd=$3 options=$4 words='' frames
  rm -rf "$work/job"
  proof --verbose --ppd "$ppd" -o "$options" --keep "$work/job" --output "$work/$name.png" \
    "$work/pages.ras" || return 1
  frames=("$work"/job/page_*.dat)
  if [ "${#frames[@]}" -ne 1 ] || [ ! -s "${frames[0]}" ]; then
    echo "demo: $options gave no single page" >&2
    return 1
  fi
  mv "${frames[0]}" "$work/$name.dat"
  dots[$name]=$(sed -n 's/^ *black dots: *\([0-9]*\), .*/\1/p' <<<"$words")
  if [ -z "${dots[$name]}" ] || ! grep -q 'every row holds as many black dots' <<<"$words"; then
    echo "demo: the frame of $name does not agree with itself: $words" >&2
    return 1
  fi
}

# claim TEXT COMMAND...: fails where a sentence of the gallery no longer holds.
claim() {
  local text=$1
  shift
  if ! "$@"; then
    echo "demo: the gallery says \"$text\"; that is not what came out (${*})" >&2
    return 1
  fi
}

# is_negative FRAME FRAME: each dot of one page is a gap of the other. A row of 400 dots is a count
# of 2 bytes and 50 bytes of dots, behind 22 bytes at the start of the frame.
is_negative() {
  paste <(tail -c +23 "$1" | od -An -v -tu1 -w1) <(tail -c +23 "$2" | od -An -v -tu1 -w1) |
    awk '(NR - 1) % 52 >= 2 && $1 + $2 != 255 { wrong = 1 } END { exit wrong || NR != 400 * 52 }'
}

# print_everything ROOT WORK PPD: all pictures, with all options that the text speaks of.
print_everything() {
  local root=$1 work=$2 ppd=$3 picture type density document
  local pages="$root/tools/demo/gallery"
  sed 's|^/shades true def|/shades false def|' "$pages/lineart.ps" >"$work/outlines.ps"
  for picture in $pictures outlines blank; do
    document=$pages/$picture.ps
    [ "$picture" != outlines ] || document=$work/outlines.ps
    gallery_page "$picture" "$document" "$picture_size" "$picture_dots" "$work/$picture" "$ppd"
    for type in $halftones; do
      gallery_print "$picture-$type" "$work/$picture" "$ppd" "HalftoneType=$type"
      [ "$picture" != blank ] || continue
      gallery_print "$picture-$type-negative" "$work/$picture" "$ppd" \
        "HalftoneType=$type NegativeImage=True"
      for density in 1 2; do
        gallery_print "$picture-$type-density$density" "$work/$picture" "$ppd" \
          "HalftoneType=$type VBarcodeDensity=$density"
      done
    done
  done
  gallery_print photo-None-negative-density1 "$work/photo" "$ppd" \
    "HalftoneType=None NegativeImage=True VBarcodeDensity=1"
  gallery_page ladder "$pages/ladder.ps" w142h85 96000 "$work/ladder" "$ppd"
  for type in $halftones; do
    for density in 0 1 2; do
      gallery_print "ladder-$type-density$density" "$work/ladder" "$ppd" \
        "HalftoneType=$type VBarcodeDensity=$density"
    done
  done
}

# check_claims WORK: what the text says of all pictures, against their frames.
check_claims() {
  local work=$1 picture type density
  for type in $classic_halftones; do
    for picture in $pictures outlines; do
      claim "negative is solid black" [ "${dots[$picture-$type-negative]}" -eq "$picture_dots" ]
      for density in 1 2; do
        claim "the barcode option changes nothing" cmp -s "$work/$picture/$picture-$type.dat" \
          "$work/$picture/$picture-$type-density$density.dat"
      done
    done
    for density in 1 2; do
      claim "the barcode option changes nothing" cmp -s "$work/ladder/ladder-$type-density0.dat" \
        "$work/ladder/ladder-$type-density$density.dat"
    done
    claim "black and white art is the same in all eight" \
      cmp -s "$work/outlines/outlines-None.dat" "$work/outlines/outlines-$type.dat"
    claim "every black pixel is a dot" [ "${dots[outlines-$type]}" -eq "${ink[outlines]}" ]
    claim "a blank page stays blank" [ "${dots[blank-$type]}" -eq 0 ]
  done
  for type in $stencil_halftones; do
    for picture in $pictures outlines; do
      claim "negative is a true negative" is_negative "$work/$picture/$picture-$type.dat" \
        "$work/$picture/$picture-$type-negative.dat"
    done
    claim "a blank page gets stray dots" [ "${dots[blank-$type]}" -gt 0 ]
    for picture in $pictures; do
      for density in 1 2; do
        claim "the barcode option takes dots away" \
          [ "${dots[$picture-$type-density$density]}" -lt "${dots[$picture-$type]}" ]
      done
    done
  done
  claim "both give a blank page the same dots" \
    cmp -s "$work/blank/blank-Tattoo.dat" "$work/blank/blank-Tattoo_V7.dat"
  for density in 1 2; do
    claim "long lines are broken up" \
      [ "${dots[ladder-Tattoo-density$density]}" -lt $((${dots[ladder-Tattoo-density0]} * 3 / 4)) ]
  done
  claim "outlines come out blank" [ "${dots[outlines-Tattoo_V7]}" -eq 0 ]
  claim "lines and bars come out blank" [ "${dots[ladder-Tattoo_V7-density0]}" -eq 0 ]
  claim "Tattoo prints outlines almost whole" \
    [ "${dots[outlines-Tattoo]}" -gt $((ink[outlines] - 50)) ]
  claim "negative and barcode option together make gaps" \
    [ "${dots[photo-None-negative-density1]}" -lt "$picture_dots" ]
}

# gallery ROOT BUILD WORK: everything, into ROOT/docs; nothing there is touched before all is right.
gallery() {
  local root=$1 build=$2 work=$3 new=$3/new file bytes total=0 count=0
  local ppd=$work/label-head.ppd
  narrow_ppd "$build/ppd/kestra4.ppd" "$ppd"
  echo "Printing the pictures"
  print_everything "$root" "$work" "$ppd"
  check_claims "$work"
  # The first picture of the README: the demo's own label.
  mkdir -p "$new"
  gallery_page label-page "$root/tools/demo/label.ps" w288h432 $((812 * 1218)) "$work/demo-label" \
    "$build/ppd/kestra4.ppd"
  gallery_print label "$work/demo-label" "$build/ppd/kestra4.ppd" HalftoneType=Burkes

  gallery_text >"$work/gallery.md"
  # The pictures that the text shows, and no others.
  while read -r file; do cp "$work/${file%%-*}/$file" "$new/$file"; done \
    < <(grep -o '(pictures/gallery/[^)]*' "$work/gallery.md" | sed 's|.*/||' | sort -u)
  for file in "$new"/*.png "$work/demo-label/label.png"; do
    bytes=$(wc -c <"$file")
    [ "$bytes" -le "$picture_limit" ] || claim "a picture takes at most $picture_limit bytes" false
    [ "$file" = "$work/demo-label/label.png" ] || { total=$((total + bytes)) count=$((count + 1)); }
  done
  claim "all pictures take at most $gallery_limit bytes" [ "$total" -le "$gallery_limit" ]
  rm -rf "$root/docs/pictures/gallery"
  mkdir -p "$root/docs/pictures/gallery"
  cp "$new"/*.png "$root/docs/pictures/gallery/"
  cp "$work/demo-label/label.png" "$root/docs/pictures/label.png"
  cp "$work/gallery.md" "$root/docs/gallery.md"
  echo "Wrote docs/gallery.md, docs/pictures/label.png and $count pictures of $total bytes in" \
    "docs/pictures/gallery"
}
