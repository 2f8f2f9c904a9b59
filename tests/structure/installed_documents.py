#!/usr/bin/env python3
"""Fails when an installed document links to what is not installed, or shows a command that cannot be
run where it is installed.

Who reads the guide in /usr/share/doc has no sources beside it.
Usage: installed_documents.py ROOT FOLDER: the documents below FOLDER; /usr/... is looked for in ROOT
"""

import gzip
import pathlib
import re
import sys

LINK = re.compile(r"\]\(([^)\s]+)\)|(?:href|src)=\"([^\"]+)\"")
HEADING = re.compile(r"^#+ +(.*)$", re.MULTILINE)
FENCE = re.compile(r"^```.*?\n(.*?)^```", re.MULTILINE | re.DOTALL)
INSTALLED = re.compile(r"/usr/share/doc/rastertokestra[\w./-]*[\w]")
OF_THE_SOURCES = re.compile(r"(?<![\w./])(?:\./\w+\.sh|(?:tools|tests|bench|driver|docs)/[\w./-]+)")
SAID = "in the folder of the sources"


def anchors(text):
    """What the headings of a document are called in links."""
    names = set()
    for heading in HEADING.findall(FENCE.sub("", text)):
        words = re.sub(r"[^\w\- ]", "", heading.strip().lower())
        names.add(words.replace(" ", "-"))
    return names


def link_faults(path, text):
    """One sentence for each link of a document that leads nowhere."""
    for found in LINK.finditer(FENCE.sub("", text)):
        link = (found.group(1) or found.group(2)).strip("<>")
        if re.match(r"[a-z]+:", link):
            continue
        name, _, anchor = link.partition("#")
        target = path.parent / name if name else path
        if not target.exists():
            yield f"{path}: {link} is not there"
        elif anchor and anchor not in anchors(target.read_text(encoding="utf-8")):
            yield f"{path}: {link}: there is no such heading"


def command_faults(path, text):
    """One sentence for each command to type that needs the sources, where nothing says so before."""
    for block in FENCE.finditer(text):
        for word in OF_THE_SOURCES.findall(block.group(1)):
            before = " ".join(text[:block.start()].split())
            if SAID not in before:
                yield f"{path}: {word} is in the sources alone; say \"{SAID}\" before"


def faults(root, folder):
    """All faults of the documents, and of what manual pages say of them."""
    found = []
    for path in sorted(folder.rglob("*.md")):
        text = path.read_text(encoding="utf-8")
        found += link_faults(path, text)
        found += command_faults(path, text)
        found += place_faults(root, path, text)
    for path in sorted((folder.parent.parent / "man").rglob("*.gz")):
        found += place_faults(root, path, gzip.decompress(path.read_bytes()).decode("utf-8"))
    return found


def place_faults(root, path, text):
    """One sentence for each place in the folder of documents that is named and not there."""
    for place in INSTALLED.findall(text.replace("\\-", "-")):
        if not (root / place[1:]).exists():
            yield f"{path}: {place} is not installed"


def main():
    root, folder = (pathlib.Path(each) for each in sys.argv[1:])
    found = faults(root, folder)
    if not (folder / "docs/guide.md").exists():
        found.append(f"{folder} has no guide")
    print("\n".join(found), file=sys.stderr)
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()
