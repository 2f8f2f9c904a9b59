#!/usr/bin/env python3
"""Installs the documents of a build into a folder of its own and checks them there; then that each
kind of fault is noticed.

Usage: installed_documents_test.py CMAKE BUILD
"""

import pathlib
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True  # nothing is left beside the sources
from installed_documents import faults  # noqa: E402

PLACE = "usr/share/doc/rastertokestra"


def install(cmake, build, root):
    """Installs the documents of a build below ROOT/usr."""
    subprocess.run([cmake, "--install", build, "--component", "documents", "--prefix", root / "usr"],
                   check=True, stdout=subprocess.DEVNULL)


def notices(text, words):
    """Whether a document with this text gives one fault with these words."""
    with tempfile.TemporaryDirectory() as place:
        root = pathlib.Path(place)
        (root / PLACE).mkdir(parents=True)
        (root / PLACE / "a.md").write_text("# One two\n" + text, encoding="utf-8")
        found = faults(root, root / PLACE)
        return (len(found) == 1 and words in found[0]) if words else not found


def main():
    cmake, build = sys.argv[1:]
    with tempfile.TemporaryDirectory() as place:
        root = pathlib.Path(place)
        install(cmake, build, root)
        found = faults(root, root / PLACE)
        for name in ("README.md", "docs/guide.md", "examples/ladder.ps"):
            if not (root / PLACE / name).exists():
                found.append(f"{name} is not installed")
    for text, words in (
            ("[x](a.md#one-two) <img src=\"a.md\"> [y](https://b/c)", ""),
            ("[x](b.md)", "b.md is not there"),
            ("<img src=\"b.png\">", "b.png is not there"),
            ("[x](#two)", "no such heading"),
            ("[x](../a)", "../a is not there"),
            ("```sh\n./demo.sh\n```", "./demo.sh is in the sources alone"),
            ("```\nlp tools/a.ps\n```", "tools/a.ps is in the sources alone"),
            ("in the folder of\nthe sources\n```sh\n./demo.sh\n```", ""),
            ("`/usr/share/doc/rastertokestra/nothing`", "nothing is not installed")):
        if not notices(text, words):
            found.append(f"the check does not say \"{words}\" of: {text}")
    print("\n".join(found), file=sys.stderr)
    sys.exit(1 if found else 0)


main()
