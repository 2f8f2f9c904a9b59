#!/usr/bin/env python3
"""Tells from what a verb of test.sh said which tests failed, and the end of what each of them said.

What failed stands somewhere in ten thousand lines; whoever sees only the last hundred needs it there.
Usage: what_failed.py LOG LINES: about LINES lines in all, at least 8 for each test.
"""

import re
import sys

MOST = 40  # lines of one test, or of a verb in which no test failed

FAILED = re.compile(r"/\d+ Test +#\d+: .*\*\*\*(?!Skipped)")
LISTED = re.compile(r"\s+\d+ - .*\((?!Skipped|Disabled)")
NEXT = re.compile(r" *(\d+/\d+ Test +#\d+:|Start +\d+:|\d+% tests passed)")


def listing(lines):
    """The list of failed tests at the end of each run."""
    return [line for line in lines if LISTED.match(line)]


def failures(lines):
    """One list of lines for each failed test: how it ended, then what it said."""
    found, inside = [], False
    for line in lines:
        if FAILED.search(line):
            found.append([line])
            inside = True
        elif NEXT.match(line):
            inside = False
        elif inside:
            found[-1].append(line)
    return found


def main():
    with open(sys.argv[1], encoding="utf-8", errors="replace") as log:
        lines = log.read().splitlines()
    listed, failed = listing(lines), failures(lines)
    if not failed:
        print("\n".join(lines[-MOST:]))
        return
    share = min(MOST, max(8, (int(sys.argv[2]) - len(listed)) // len(failed)))
    for said in failed:
        print(said[0])
        print("\n".join([line for line in said[1:] if line][-share + 1:]))
    print("The following tests failed:")
    print("\n".join(listed))


main()
