#!/usr/bin/env python3
"""Prints three pictures through every halftone and writes docs/gallery.md from what came out.

A halftone is chosen by eye, and most names do not say what prints: the pictures are the dots of
real page frames, and the words, those of gallery.md.in, are filled in only as long as the frames
still show what they say. Usage: gallery.py BUILD, the directory with the filter.
"""

import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
from typing import NamedTuple

ROOT = pathlib.Path(__file__).resolve().parents[2]
TEMPLATE = ROOT / "tools/demo/gallery.md.in"
DOCUMENTS = ROOT / "tools/demo/gallery"

# The three pictures in the words of who cannot see them; each is a page of 400 x 400 dots.
PICTURES = {"label": "A label", "lineart": "A compass with a feather",
            "photo": "A lake between hills"}
SIDE = 400
PAGE_DOTS = SIDE * SIDE

# What a committed picture, and all of them together, may take: bytes.
PICTURE_LIMIT, GALLERY_LIMIT = 61440, 716800

# How the error begins that a document is blank: one of the pages is, on purpose.
BLANK = "nothing is drawn on any of its pages"


class Broken(Exception):
    """Why the gallery cannot be written."""


class Print(NamedTuple):
    """One print: its black dots, its page frame, the bytes that centre it on the head, its PNG."""
    dots: int
    frame: bytes
    margin: int
    picture: pathlib.Path

    def rows(self):
        """The dots of each row of the page, 8 in a byte. A row of a frame is a count of 2 bytes,
        the margin and the dots, behind 22 bytes at the start."""
        size = 2 + self.margin + SIDE // 8
        body = self.frame[22:]
        if len(body) != SIDE * size:
            raise Broken(f"a frame holds {len(body)} bytes of rows, not {SIDE} x {size}")
        return [body[at + 2 + self.margin:at + size] for at in range(0, len(body), size)]


def halftones(text):
    """What runs under each name, in the order of the table that a document has of them."""
    table = text.partition("| HalftoneType | what runs | good for |\n")[2].partition("\n\n")[0]
    return dict(re.findall(r"^\| `(\w+)` \| ([^|]+) \|", table, re.MULTILINE))


class Gallery:
    """The prints of all pages, by name, and the ink that each page asks for."""

    def __init__(self, build, work):
        self.proof = build / "kestra-proof"
        self.ppd = build / "ppd/kestra4.ppd"
        self.work = work
        self.template = TEMPLATE.read_text(encoding="utf-8")
        self.methods = halftones(self.template)
        self.prints = {}
        self.ink = {}

    def print_document(self, document, options, kept, picture):
        """Prints a document of one page; what the print leaves is in the new folder `kept`."""
        words = [self.proof, "--json", "--ppd", self.ppd, "--keep", kept, "--output", picture]
        words += [word for option in options for word in ("-o", option)]
        ended = subprocess.run([*words, document], capture_output=True, text=True, check=False)
        try:
            told = json.loads(ended.stdout)["documents"][0]
            wrong = told["errors"]
        except (ValueError, LookupError):
            wrong = [f"status {ended.returncode}"]
        if (wrong or ended.returncode) and not (len(wrong) == 1 and wrong[0].startswith(BLANK)):
            raise Broken(f"kestra-proof failed with {options} of {document}: {wrong}\n"
                         f"{ended.stderr}")
        frames = list(kept.glob("page_*.dat"))
        if len(told["pages"]) != 1 or len(frames) != 1:
            raise Broken(f"{document} with {options} gave no single page")
        page = told["pages"][0]
        if page["wrong_counts"]:
            raise Broken(f"{page['wrong_counts']} rows of {document} with {options} hold other "
                         "black dots than they say")
        return Print(page["black_dots"], frames[0].read_bytes(), page["margin_dots"] // 8, picture)

    def page(self, name, document, size="w142h142", dots=PAGE_DOTS):
        """Draws a document as a page of grey pixels and measures the ink that it asks for."""
        kept = self.work / name
        self.print_document(document, [f"PageSize={size}"], kept, self.work / f"{name}.png")
        # The pixels stand at the end, a byte each; 255 is ink.
        pixels = (kept / "pages.ras").read_bytes()[-dots:]
        self.ink[name] = int(sum(pixels) / 255 + 0.5)

    def print_page(self, page, halftone, suffix="", *options):
        """Prints a page of grey pixels; the print is named after page, halftone and suffix."""
        name = f"{page}-{halftone}{suffix}"
        self.prints[name] = self.print_document(
            self.work / page / "pages.ras", [f"HalftoneType={halftone}", *options],
            self.work / f"{name}.job", self.work / f"{name}.png")

    def print_everything(self):
        """All pictures, with all options that the text speaks of."""
        outlines = self.work / "outlines.ps"
        drawing = (DOCUMENTS / "lineart.ps").read_text(encoding="utf-8")
        outlines.write_text(drawing.replace("\n/shades true def", "\n/shades false def"),
                            encoding="utf-8")
        for picture in (*PICTURES, "outlines", "blank"):
            self.page(picture,
                      outlines if picture == "outlines" else DOCUMENTS / f"{picture}.ps")
        self.page("ladder", DOCUMENTS / "ladder.ps", "w142h85", 96000)
        for halftone in self.methods:
            self.print_page("blank", halftone)
            for picture in (*PICTURES, "outlines"):
                self.print_page(picture, halftone)
                self.print_page(picture, halftone, "-negative", "NegativeImage=True")
                for density in (1, 2):
                    self.print_page(picture, halftone, f"-density{density}",
                                    f"VBarcodeDensity={density}")
            for density in (0, 1, 2):
                self.print_page("ladder", halftone, f"-density{density}",
                                f"VBarcodeDensity={density}")
        self.print_page("photo", "None", "-negative-density1", "NegativeImage=True",
                        "VBarcodeDensity=1")

    def claim(self, sentence, holds, shown):
        """Fails where a sentence of the text is not what the print called `shown` came out as."""
        if sentence not in " ".join(self.template.split()):
            raise Broken(f'the gallery does not say any more: "{sentence}"')
        if not holds:
            raise Broken(f'the gallery says "{sentence}"; that is not what came out ({shown})')

    def check_claims(self):
        """What the text says, against the frames."""
        dots = self.dots()
        frame = {name: made.frame for name, made in self.prints.items()}
        *classic, tattoo, tattoo_v7 = self.methods
        drawn = (*PICTURES, "outlines")
        for halftone in classic:
            for picture in drawn:
                name = f"{picture}-{halftone}"
                self.claim("With the other eight the whole page is solid black, whatever is on it",
                           dots[f"{name}-negative"] == PAGE_DOTS, name)
                for density in (1, 2):
                    self.claim("With the other eight 1 and 2 change no dot of these pictures",
                               frame[f"{name}-density{density}"] == frame[name], name)
            name = f"ladder-{halftone}-density"
            self.claim("With the other eight 1 and 2 change no dot of these pictures",
                       frame[f"{name}0"] == frame[f"{name}1"] == frame[f"{name}2"], name)
            name = f"outlines-{halftone}"
            self.claim("in pure black print alike with the first eight",
                       frame[name] == frame["outlines-None"], name)
            self.claim("it prints every black pixel and nothing else, as all first eight do",
                       dots[name] == self.ink["outlines"], name)
            self.claim("any of the other eight, which leave them blank",
                       dots[f"blank-{halftone}"] == 0, f"blank-{halftone}")
        for halftone in (tattoo, tattoo_v7):
            for picture in drawn:
                name = f"{picture}-{halftone}"
                self.claim("each dot becomes a gap and each gap a dot",
                           is_negative(self.prints[name], self.prints[f"{name}-negative"]), name)
            for picture in PICTURES:
                name = f"{picture}-{halftone}"
                for density in (1, 2):
                    self.claim("Both take dots from pictures, too",
                               dots[f"{name}-density{density}"] < dots[name], name)
            name = f"blank-{halftone}"
            self.claim("A page with nothing on it gets stray dots from both",
                       dots[name] > 0 and frame[name] == frame["blank-Tattoo"], name)
        for density in (1, 2):
            name = f"ladder-Tattoo-density{density}"
            self.claim("both values cut gaps of 4 dots into lines across the page",
                       dots[name] < dots["ladder-Tattoo-density0"] * 3 // 4, name)
        for name in ("outlines-Tattoo_V7", "ladder-Tattoo_V7-density0"):
            self.claim("can come out **blank** with `Tattoo_V7`, as do the outlines of the compass "
                       "without its shades, and the lines and bars above", dots[name] == 0, name)
        self.claim("`Tattoo` prints such a page as well",
                   dots["outlines-Tattoo"] > self.ink["outlines"] - 50, "outlines-Tattoo")
        self.claim("together with `NegativeImage` they can cut gaps into the black page",
                   dots["photo-None-negative-density1"] < PAGE_DOTS, "photo-None-negative-density1")

    def dots(self):
        """The black dots of each print, by its name."""
        return {name: made.dots for name, made in self.prints.items()}

    def count_row(self, halftone, *names):
        """A row of a table: the black dots of these prints."""
        return f"| `{halftone}` |" + "".join(f" {self.prints[name].dots:,} |" for name in names)

    def picture_rows(self, picture):
        """The ten prints of one picture, two in a row."""
        cells = [f"**{halftone}**: {runs}<br>![{PICTURES[picture]}, printed with {halftone}]"
                 f"(pictures/gallery/{picture}-{halftone}.png)"
                 for halftone, runs in self.methods.items()]
        return "\n".join(f"| {left} | {right} |" for left, right in zip(cells[::2], cells[1::2]))

    def text(self):
        """The whole of docs/gallery.md."""
        dots = self.dots()
        return self.template.format(
            page_dots=PAGE_DOTS, dots=dots, ink=self.ink,
            lost=PAGE_DOTS - dots["photo-None-negative-density1"],
            pictures={picture: self.picture_rows(picture) for picture in PICTURES},
            count_rows="\n".join(
                self.count_row(name, *(f"{picture}-{name}" for picture in PICTURES))
                for name in self.methods),
            option_rows="\n".join(
                self.count_row(name, f"lineart-{name}", f"lineart-{name}-negative",
                               *(f"ladder-{name}-density{density}" for density in (0, 1, 2)),
                               f"outlines-{name}", f"blank-{name}")
                for name in self.methods))


def is_negative(page, negative):
    """Whether each dot of one page is a gap of the other."""
    return all(left ^ right == 255 for rows in zip(page.rows(), negative.rows())
               for left, right in zip(*rows))


def write(gallery, label):
    """Everything into docs; nothing there is touched before all is known to be right."""
    text = gallery.text()
    # The pictures that the text shows, and no others.
    shown = sorted(set(re.findall(r"\(pictures/gallery/([^)]*)\.png", text)))
    pictures = [gallery.prints[name].picture for name in shown]
    sizes = [picture.stat().st_size for picture in pictures]
    if max(*sizes, label.picture.stat().st_size) > PICTURE_LIMIT or sum(sizes) > GALLERY_LIMIT:
        raise Broken(f"a picture takes more than {PICTURE_LIMIT} bytes, or all more than "
                     f"{GALLERY_LIMIT}: {dict(zip(shown, sizes))}")
    folder = ROOT / "docs/pictures/gallery"
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    for picture in pictures:
        shutil.copy(picture, folder)
    shutil.copy(label.picture, folder.parent)
    (ROOT / "docs/gallery.md").write_text(text, encoding="utf-8")
    print(f"Wrote docs/gallery.md, docs/pictures/label.png and {len(pictures)} pictures of "
          f"{sum(sizes)} bytes in docs/pictures/gallery")


def main():
    with tempfile.TemporaryDirectory() as place:
        gallery = Gallery(pathlib.Path(sys.argv[1]), pathlib.Path(place))
        print("Printing the pictures", flush=True)
        try:
            gallery.print_everything()
            gallery.check_claims()
            # The first picture of the README: the demo's own label.
            label = gallery.print_document(
                ROOT / "tools/demo/label.ps", ["PageSize=w288h432", "HalftoneType=Burkes"],
                gallery.work / "demo-label", gallery.work / "label.png")
            write(gallery, label)
        except Broken as why:
            sys.exit(f"demo: {why}")


if __name__ == "__main__":
    main()
