#!/usr/bin/env python3
"""Fails when a document or a test's list does not name every choice of the printer descriptions.

Who looks an option up must find all its choices, and no others; a list in a test that lacks one
tests less than it says.
Usage: documents_name_choices.py SOURCE PPD...
"""

import pathlib
import re
import sys

# Where choices that are words are named, besides the option's row in README and manual page. Of a
# document each name is in `backquotes`, of a source in "quotes".
NAMED_IN = {
    "docs/guide.md": ["PaperType", "Darkness"],
    "docs/protocol.md": ["PaperType", "Darkness"],
    "docs/gallery.md": ["HalftoneType"],
    "packaging/man/kestra-delivery.8": ["Darkness"],
    "tests/blackbox/job_case.cpp": ["HalftoneType"],
    "tests/blackbox/tattoo_test.cpp": ["PaperType"],
    "tests/blackbox/settings_test.cpp": ["Darkness"],
    "tests/digests/combinations.cpp": ["PaperType"],
    "tests/fuzz/job_fuzz.cpp": ["PaperType", "Darkness"],
}
# Only noted in the job's log: their choices are told nowhere.
NOTED = {"MediaMethod", "Origin"}
SIZES = {"PageSize", "PageRegion"}


def choices_of(ppd):
    """Each option of a description with its choices, in their order."""
    options = {}
    for keyword, choice in re.findall(r"^\*(\w+) ([\w.-]+)/[^\n]*:", ppd, re.MULTILINE):
        if f"*OpenUI *{keyword}/" in ppd and keyword not in SIZES:
            options.setdefault(keyword, [])
            if choice not in options[keyword]:
                options[keyword].append(choice)
    return options


def words_of(choices):
    """Those that are no numbers."""
    return [choice for choice in choices if not re.fullmatch(r"-?\d+", choice)]


def numbers_in(text):
    """The numbers of "-20, 0 to 10 in steps of 5, 20"; without steps every whole number."""
    found = []
    text = " ".join(re.sub(r"\([^)]*\)", "", text).replace(" or ", ", ").split())
    for part in re.split("[,:]", text):
        part = part.strip(" .")
        run = re.fullmatch(r"(-?\d+) to (-?\d+)(?: in steps of (\d+))?", part)
        if run:
            low, high, step = int(run[1]), int(run[2]), int(run[3] or 1)
            found += [str(number) for number in range(low, high + 1, step)]
        elif re.fullmatch(r"-?\d+", part):
            found.append(part)
    return found


def told(text, choices):
    """Which choices a row of a table or an entry of a manual page names."""
    if words_of(choices):
        return re.findall(r"[A-Za-z0-9_]+", text)
    return numbers_in(text)


def entry_faults(place, text, keyword, choices):
    """One sentence for each choice that an entry does not name."""
    if text is None:
        return [f"{place} has no entry for {keyword}"]
    if keyword in NOTED:
        return []
    names = told(text, choices)
    missing = [f"{place}: the entry of {keyword} lacks {choice}"
               for choice in choices if choice not in names]
    extra = [] if words_of(choices) else [
        f"{place}: the entry of {keyword} has {name}, which is no choice"
        for name in names if name not in choices]
    return missing + extra


def row_of(readme, keyword):
    """The second cell of the option's row in README; for the halftones their own table."""
    for line in readme.splitlines():
        cells = line.split("|")
        if len(cells) > 3 and re.search(f"`{keyword}`", cells[1]):
            if "see below" in cells[2]:
                return " ".join(re.findall(r"^\| `(\w+)` \|", readme, re.MULTILINE))
            return cells[2]
    return None


def entry_of(manual, keyword):
    """The text below the option in a manual page, without its commands."""
    for entry in re.split(r"^\.TP$", manual, flags=re.MULTILINE)[1:]:
        head, _, text = entry.strip().partition("\n")
        if re.search(rf"\b{keyword}\b", head):
            return re.sub(r'^\.[A-Z]+ |"', "", text, flags=re.MULTILINE).replace("\\-", "-") \
                .replace("\n", " ")
    return None


def faults(options, read):
    """All faults; `read` gives the text of a file of the sources."""
    found = []
    readme, manual = read("README.md"), read("packaging/man/rastertokestra.8")
    for keyword, choices in options.items():
        found += entry_faults("README.md", row_of(readme, keyword), keyword, choices)
        found += entry_faults("packaging/man/rastertokestra.8", entry_of(manual, keyword), keyword,
                              choices)
        if keyword not in NOTED and f"`{keyword}" not in read("docs/guide.md"):
            found.append(f"docs/guide.md does not name {keyword}")
    for place, keywords in NAMED_IN.items():
        text = read(place)
        for keyword in keywords:
            for choice in words_of(options[keyword]):
                if not re.search(rf"(?<![\w]){choice}(?![\w])", text):
                    found.append(f"{place} lacks {keyword} {choice}")
    return found


def main():
    source = pathlib.Path(sys.argv[1])
    options = {}
    for ppd in sys.argv[2:]:
        options.update(choices_of(pathlib.Path(ppd).read_text(encoding="utf-8")))

    def read(name):
        return (source / name).read_text(encoding="utf-8")
    found = faults(options, read)
    if len(options) < 12:
        found.append(f"the descriptions have {len(options)} options: they were read wrongly")
    # Each option with one choice more must be noticed in each of its places.
    for keyword in set(options) - NOTED:
        more = "77" if not words_of(options[keyword]) else "Seventh"
        noticed = " ".join(faults({**options, keyword: options[keyword] + [more]}, read))
        places = ["README.md", "packaging/man/rastertokestra.8"]
        places += [place for place, keywords in NAMED_IN.items() if keyword in keywords]
        found += [f"nobody would notice {keyword} {more} missing in {place}"
                  for place in places if place not in noticed]
    print("\n".join(found), file=sys.stderr)
    sys.exit(1 if found else 0)


main()
