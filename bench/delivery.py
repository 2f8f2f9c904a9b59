#!/usr/bin/python3
"""Measures delivery against the print system's own programs and prints a table of goals.

Runs in namespaces of its own, with a print system of its own: nothing of this machine's is touched.
"""

import argparse
import os
import platform
import re
import subprocess
import sys
import textwrap
import time

import delivery_stage
import machine
from delivery_limits import Limits
from delivery_times import Times

START, END = "<!-- figures -->", "<!-- /figures -->"
MET = {True: "yes", False: "**no**", None: "-"}


def table(rows):
    lines = ["| figure | print system's own | wanted | measured | met |", "|---|---|---|---|:-:|"]
    lines += [f"| {row.figure} | {row.peers} | {row.wanted} | {row.measured} | {MET[row.met]} |"
              for row in rows]
    return "\n".join(lines)


def version(package):
    return subprocess.run(["dpkg-query", "-W", "-f", "${Version}", package], capture_output=True,
                          text=True, check=False).stdout


def conditions(stage, rounds, load, note):
    """In what weather it was measured."""
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        names = re.findall(r"model name\s*: (.*)", file.read())
    busy = ("each measurement began on a quiet machine" if stage.noisy == 0 else
            f"{stage.noisy} measurements began while the machine had other work")
    text = (f"Medians of {rounds} rounds, least and most in brackets; ours and the others took "
            f"turns, and what counts is how they compare. Labels of 4 x 6 inches at 203 dpi from a "
            f"PDF. {names[0] if names else 'Processor'}, {os.cpu_count()} cores; Linux "
            f"{platform.release()}, cups-daemon {version('cups-daemon')}, cups-filters "
            f"{version('cups-filters')}; load before the run {load}; {busy}. {note}")
    return textwrap.fill(text, 100)


def write_docs(path, text):
    with open(path, encoding="utf-8") as file:
        page = file.read()
    start, end = page.find(START), page.find(END)
    if start < 0 or end < start:
        sys.exit(f"delivery.py: {path} has no {START} ... {END}")
    page = page[:start + len(START)] + "\n" + text + "\n" + page[end:]
    with open(path, "w", encoding="utf-8") as out:
        out.write(page)


def main():
    words = argparse.ArgumentParser()
    words.add_argument("--build", required=True, help="build directory with filter and delivery")
    words.add_argument("--stock", required=True, help="a folder like /usr/lib/cups with backends")
    words.add_argument("--work", required=True, help="an empty folder on a disk")
    words.add_argument("--rounds", type=int, default=9)
    words.add_argument("--patience", type=float, default=10,
                       help="seconds to wait for a quiet moment before each round")
    words.add_argument("--quick", action="store_true", help="leave out what takes minutes")
    words.add_argument("--only", default="", help="names of figures, with commas")
    words.add_argument("--note", default="", help="a sentence on the conditions, for the page")
    words.add_argument("--docs", help="page whose table is written")
    arguments = words.parse_args()
    for name in ("build", "stock", "work", "docs"):
        if getattr(arguments, name):
            setattr(arguments, name, os.path.abspath(getattr(arguments, name)))

    refused = machine.enter([arguments.build, arguments.stock, delivery_stage.ROOT])
    if refused:
        sys.exit(f"delivery.py: {refused}")
    with open("/proc/loadavg", encoding="utf-8") as file:
        load = file.read().split()[0]
    stage = delivery_stage.Stage(arguments.build, arguments.stock, arguments.work,
                                 arguments.patience)
    how = stage, arguments.rounds, not arguments.quick
    rows = []
    for measure in Times(*how).all() + Limits(*how).all():
        if arguments.only and measure.__name__ not in arguments.only.split(","):
            continue
        start = time.monotonic()
        found = measure()
        rows += found
        print(table(found), file=sys.stderr)
        print(f"{measure.__name__}: {time.monotonic() - start:.0f} s", file=sys.stderr,
              flush=True)
    stage.stop()
    text = conditions(stage, arguments.rounds, load, arguments.note) + "\n\n" + table(rows)
    print(text)
    if arguments.docs:
        write_docs(arguments.docs, text)


main()
