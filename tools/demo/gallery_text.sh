# shellcheck shell=bash
# The words of docs/gallery.md around the pictures and numbers that gallery.sh has made.
#
# Whoever chooses a halftone wants to know what it does to text, lines and shades on paper; each
# sentence here is one that can be seen in the pictures next to it.

# gallery.sh makes the prints and their numbers; `None` in the text is Markdown, no command.
# shellcheck disable=SC2154,SC2016

# What runs under a name, and what that is good for.
declare -A method=(
  [None]="threshold at half black"
  [FloydSteinberg]="ordered, fixed 4 x 4 pattern, 17 greys"
  [Ordered]="error diffusion after Burkes"
  [Burkes]="error diffusion after Stucki"
  [Stucki]="error diffusion after Jarvis, Judice and Ninke"
  [JarvisJudiceNinke]="error diffusion after Sierra"
  [Sierra]="error diffusion after Stevenson and Arce"
  [StevensonArce]="ordered, computed 4 x 4 pattern"
  [Tattoo]="stencil: fixed tone curve, sharpening, error diffusion"
  [Tattoo_V7]="stencil: tone curve set by the page, sharpening, error diffusion"
)
declare -A good_for=(
  [None]="Text, barcodes and drawings without shades: every edge stays sharp, but grey up to one half \
is gone (both grey words) and a photograph becomes a silhouette."
  [FloydSteinberg]="Charts and flat grey areas: each grey is one quiet, regular pattern; soft shades \
show steps and the weave, and grey letters fall apart into dots."
  [Ordered]="Photographs, the first choice: the finest grain of all, soft shades without steps, and \
small detail kept."
  [Burkes]="Photographs: as fine as Ordered, hard to tell from it; faint diagonal lines in flat dark \
areas."
  [Stucki]="Photographs with strong contrast: a livelier grain than Ordered that wanders in short \
wavy lines, visible in flat greys."
  [JarvisJudiceNinke]="Photographs: between Ordered and Stucki in grain, with few patterns that catch \
the eye."
  [Sierra]="Large pictures seen from a distance, or paper that loses single dots, as its dots stand in \
clumps; too coarse for small grey text and fine shades."
  [StevensonArce]="Charts and flat grey areas, a little darker than asked for; light greys become an \
even grid of single dots, and soft shades show steps."
  [Tattoo]="Stencils from drawings and photographs: edges get a dark line and a light rim, shades stay \
readable and come out darker, and grey text turns black or nearly so; not for barcodes of one-dot \
bars, whose gaps get specks."
  [Tattoo_V7]="Stencils where faint lines and light shades must show: these come out strong, while \
middle and dark shades draw together to one even grey; never for pure black and white (see below), \
and not for barcodes of one-dot bars."
)

# thousands NUMBER: 12,345
thousands() { sed ':a;s/\([0-9]\)\([0-9]\{3\}\)\($\|,\)/\1,\2\3/;ta' <<<"$1"; }

# picture NAME WORDS: the picture of a print, a pixel for each dot.
picture() { printf '![%s](pictures/gallery/%s.png)' "$2" "$1"; }

# picture_table PICTURE WORDS: the ten prints of one picture, two in a row.
picture_table() {
  local type column=0
  printf '| | |\n|---|---|\n'
  for type in $halftones; do
    printf '| **%s**: %s<br>' "$type" "${method[$type]}"
    picture "$1-$type" "$2, printed with $type"
    column=$((1 - column))
    if [ "$column" -eq 1 ]; then printf ' '; else printf ' |\n'; fi
  done
}

choice_table() {
  local type
  printf '| HalftoneType | what runs | good for |\n|---|---|---|\n'
  for type in $halftones; do
    printf '| `%s` | %s | %s |\n' "$type" "${method[$type]}" "${good_for[$type]}"
  done
}

count_table() {
  local type picture
  printf '| black dots | label | drawing | photo |\n|---|--:|--:|--:|\n'
  printf '| *ink that the page asks for* |'
  for picture in $pictures; do printf ' *%s* |' "$(thousands "${ink[$picture]}")"; done
  echo
  for type in $halftones; do
    printf '| `%s` |' "$type"
    for picture in $pictures; do printf ' %s |' "$(thousands "${dots[$picture-$type]}")"; done
    echo
  done
}

# What the other options and an empty page give, in dots.
option_table() {
  local type density
  printf '| black dots | drawing | negative | lines and bars | density 1 | density 2 |'
  printf ' outlines only | blank page |\n'
  printf '|---|--:|--:|--:|--:|--:|--:|--:|\n'
  for type in $halftones; do
    printf '| `%s` | %s | %s |' "$type" "$(thousands "${dots[lineart-$type]}")" \
      "$(thousands "${dots[lineart-$type-negative]}")"
    for density in 0 1 2; do
      printf ' %s |' "$(thousands "${dots[ladder-$type-density$density]}")"
    done
    printf ' %s | %s |\n' "$(thousands "${dots[outlines-$type]}")" "$(thousands "${dots[blank-$type]}")"
  done
}

# gallery_text: the whole of docs/gallery.md.
gallery_text() {
  cat <<EOF
# Choose a halftone: three pictures in all ten

Written by \`./demo.sh gallery\`, which prints the pictures below with the filter and refuses to write
this page when the frames no longer show what it says of options and empty pages. One pixel is one
dot of a 203 dpi head; a picture is 50 mm wide. Only the white margin that centres such a label on a
4-inch head is left out. Look at them at full size: a viewer that scales them shows patterns that are
not on the paper.

**The name you pick is not the method that runs.** The names are fixed; this is what comes out:

$(choice_table)

In short: text and barcodes \`None\`, photographs \`Ordered\`, stencils \`Tattoo\`. Text and barcodes
in pure black print alike with the first eight, so a label with a photograph loses nothing with
\`Ordered\`.

How dark each one prints, on pages of $(thousands "$picture_dots") dots:

$(count_table)

## A small label

Text from 12 to 5 points, grey text, Code 39 with bars of 2 and 6 dots and of 1 and 3 dots.

$(picture_table label "A label")

## A drawing for a stencil

Outlines of 0.2 to 1 mm, solid black, and soft shades.

$(picture_table lineart "A compass with a feather")

## A photograph

A landscape computed pixel by pixel, with all shades.

$(picture_table photo "A lake between hills")

## Negative, barcode option, empty page

What each halftone prints with these: the drawing without and with \`NegativeImage\`; the page of lines
and bars below with \`VBarcodeDensity\` 0, 1 and 2; the drawing without its shades; nothing at all.

$(option_table)

### NegativeImage

With \`Tattoo\` and \`Tattoo_V7\` the page is a true negative: each dot becomes a gap and each gap a
dot. With the other eight the whole page is solid black, whatever is on it. For a negative with these,
invert the picture before you send it.

| | |
|---|---|
| **Tattoo, NegativeImage=True**<br>$(picture lineart-Tattoo-negative "The compass as a negative") | \
**Ordered, NegativeImage=True**<br>$(picture lineart-Ordered-negative "A solid black page") |

### VBarcodeDensity

The barcode option looks for solid stretches, and finds them in pages of the two tattoo halftones
only. With the other eight 1 and 2 change no dot of these pictures. (One exception nobody needs:
together with \`NegativeImage\` they can cut gaps into the black page; the photograph with \`None\` loses
$(thousands $((picture_dots - ${dots[photo-None-negative-density1]}))) dots by \`VBarcodeDensity=1\`.)

With the tattoo halftones both values cut gaps of 4 dots into lines across the page that are longer
than 320 dots (40 mm). 1 also widens narrow gaps between the bars of a barcode on its side, where a
row is less than half black; 2 frays the lower edges of solid areas and widens narrow gaps everywhere,
text included. Both take dots from pictures, too: with \`Tattoo\` the photograph goes from
$(thousands "${dots[photo-Tattoo]}") dots to $(thousands "${dots[photo-Tattoo-density1]}") and \
$(thousands "${dots[photo-Tattoo-density2]}").

| | |
|---|---|
| **Tattoo, VBarcodeDensity=0**<br>$(picture ladder-Tattoo-density0 "Solid lines and bars") | \
**Tattoo, VBarcodeDensity=1**<br>$(picture ladder-Tattoo-density1 "Dashed lines, thinner bars") |
| **Tattoo, VBarcodeDensity=2**<br>$(picture ladder-Tattoo-density2 "Dashed lines with frayed edges") | |

### Pure black and white with Tattoo_V7

A page without any grey can come out **blank** with \`Tattoo_V7\`, as do the outlines of the compass
without its shades, and the lines and bars above. Such a page often sets the point from which a pixel
counts as ink to its highest value, and the tone curve that is set by the same number then takes full
ink for none. Pick \`None\` for pure black and white: it prints every black pixel and nothing else, as
all first eight do. \`Tattoo\` prints such a page as well, $(thousands "${dots[outlines-Tattoo]}") \
of the $(thousands "${ink[outlines]}") dots of these outlines.

| | |
|---|---|
| **Tattoo_V7**, outlines only<br>$(picture outlines-Tattoo_V7 "A blank page") | \
**None**, outlines only<br>$(picture outlines-None "The outlines of the compass") |

### Empty pages with the tattoo halftones

A page with nothing on it gets stray dots from both: ${dots[blank-Tattoo]} on this one. Leave empty
pages out of the job (\`-o page-ranges=\`), or print them with any of the other eight, which leave them
blank.

$(picture blank-Tattoo "Rows of stray dots on an empty page")
EOF
}
