#!/usr/bin/env python3
"""Each sentence that the gallery checks is refused when a print shows something else, and the table
of halftones is told alike wherever it stands.

Who picks a halftone by a sentence or a table that is no longer true wastes paper.
Usage: gallery_test.py PROJECT
"""

import pathlib
import re
import sys
import unittest

PROJECT = pathlib.Path(sys.argv.pop())
sys.dont_write_bytecode = True  # nothing is left beside the sources
sys.path.insert(0, str(PROJECT / "tools/demo"))
from gallery import Broken, Gallery, Print, halftones  # noqa: E402

README = (PROJECT / "README.md").read_text(encoding="utf-8")
INK = 1000  # of the outlines
BOTH, OTHER = b"\xA5", b"\x5A"  # a row's dots and their negative


def frame(dots, margin=3):
    """A page frame of 400 rows: count, margin, 400 dots."""
    return bytes(22) + (bytes(2 + margin) + dots * 50) * 400


def true_prints(halftone):
    """Prints of one halftone, small figures for which all that the text says holds."""
    stencil = halftone.startswith("Tattoo")
    for page in ("label", "lineart", "photo", "outlines", "ladder", "blank"):
        dots = INK if page == "outlines" or stencil else 0 if page == "blank" else 5000
        if halftone == "Tattoo_V7" and page in ("outlines", "ladder"):
            dots = 0
        for suffix in ("", "-negative", "-density0", "-density1", "-density2"):
            made, shown = dots, BOTH
            if suffix == "-negative":
                made, shown = (160000 - dots, OTHER) if stencil else (160000, b"\xFF")
            elif suffix in ("-density1", "-density2") and stencil:
                made = dots // 2
            yield f"{page}-{halftone}{suffix}", Print(made, frame(shown), 3, None)


def gallery_of_true_prints():
    """A gallery that may be written."""
    gallery = Gallery(pathlib.Path("build"), pathlib.Path("work"))
    for halftone in gallery.methods:
        gallery.prints.update(true_prints(halftone))
    gallery.prints["photo-None-negative-density1"] = Print(159999, b"", 3, None)
    gallery.ink = {"label": 1, "lineart": 2, "photo": 3, "outlines": INK}
    return gallery


class Claims(unittest.TestCase):
    """What is wrong in one print is told with the sentence that it belies."""

    def refused(self, name, sentence, **changed):
        gallery = gallery_of_true_prints()
        gallery.prints[name] = gallery.prints[name]._replace(**changed)
        page, halftone = name.split("-")[:2]
        with self.assertRaisesRegex(Broken, re.escape(sentence) + f".*{page}-{halftone}"):
            gallery.check_claims()

    def test_true_prints_pass(self):
        gallery_of_true_prints().check_claims()

    def test_a_print_that_belies_a_sentence_is_refused(self):
        changed = frame(b"\xA4")
        for name, sentence, change in [
                ("label-Stucki-negative", "the whole page is solid black", {"dots": 159999}),
                ("photo-Sierra-density2", "1 and 2 change no dot", {"frame": changed}),
                ("ladder-Burkes-density1", "1 and 2 change no dot", {"frame": changed}),
                ("outlines-None", "prints every black pixel", {"dots": INK - 1}),
                ("blank-Ordered", "which leave them blank", {"dots": 1}),
                ("photo-Tattoo-negative", "each dot becomes a gap", {"frame": changed}),
                ("lineart-Tattoo_V7-density1", "Both take dots from", {"dots": INK}),
                ("blank-Tattoo", "gets stray dots from both", {"dots": 0}),
                ("blank-Tattoo_V7", "gets stray dots from both", {"frame": changed}),
                ("ladder-Tattoo-density2", "cut gaps of 4 dots", {"dots": INK * 3 // 4}),
                ("outlines-Tattoo_V7", "can come out **blank**", {"dots": 1}),
                ("ladder-Tattoo_V7-density0", "can come out **blank**", {"dots": 1}),
                ("outlines-Tattoo", "`Tattoo` prints such a page as well", {"dots": INK - 50}),
                ("photo-None-negative-density1", "can cut gaps into the black page",
                 {"dots": 160000})]:
            with self.subTest(print=name):
                self.refused(name, sentence, **change)

    def test_outlines_that_differ_between_the_first_eight_are_refused(self):
        gallery = gallery_of_true_prints()
        for suffix in ("", "-density1", "-density2"):
            name = f"outlines-Sierra{suffix}"
            gallery.prints[name] = gallery.prints[name]._replace(frame=frame(b"\xA4"))
        with self.assertRaisesRegex(Broken, "print alike with the first eight"):
            gallery.check_claims()

    def test_a_sentence_that_the_text_has_lost_is_named(self):
        gallery = gallery_of_true_prints()
        gallery.template = gallery.template.replace("solid black, whatever", "black, whatever")
        with self.assertRaisesRegex(Broken, "does not say any more: .*solid black, whatever"):
            gallery.check_claims()


class Tables(unittest.TestCase):
    """The ten halftones and what runs under their names."""

    def setUp(self):
        self.gallery = Gallery(pathlib.Path("build"), pathlib.Path("work"))

    def test_readme_and_gallery_tell_the_same_methods_in_the_same_order(self):
        def methods(table):  # the words that part one from another; all stencils are sharpened
            word = r"[A-Z]\w+|threshold|ordered|diffusion|stencil|computed|page"
            return [(name, set(re.findall(word, runs.partition(", sharp")[0])))
                    for name, runs in table.items()]
        self.assertEqual(len(self.gallery.methods), 10)
        self.assertEqual(methods(halftones(README)), methods(self.gallery.methods))

    def test_the_gallery_holds_the_words_of_its_template(self):
        words = re.split(r"\{[^}]*\}", self.gallery.template)
        text = (PROJECT / "docs/gallery.md").read_text(encoding="utf-8")
        self.assertRegex(text, r"(?s)\A" + ".*?".join(map(re.escape, words)) + r"\Z")


unittest.main()
