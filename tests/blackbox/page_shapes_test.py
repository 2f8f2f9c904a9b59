#!/usr/bin/env python3
"""Pages of every shape, from one column to one row, through each halftone: how much memory they take.

Why: a page of a few megabytes as a file may be half a thousand million dots wide and one row high.
What is kept for each column must not be more than what the page itself takes.

Usage: page_shapes_test.py FILTER PPD [MILLIONS]. Each shape has about so many million dots, 16 where
none are named; the filter's paths are relative ones.
"""

import os
import struct
import subprocess
import sys
import tempfile
import time

HALFTONES = ["None", "FloydSteinberg", "Ordered", "Burkes", "Stucki", "JarvisJudiceNinke", "Sierra",
             "StevensonArce", "Tattoo", "Tattoo_V7"]
HEIGHTS = [1, 2, 3, 4, 15, 16, 40, 4000]  # and one column
ODD_HEIGHTS = [2, 16]
ROOM = 12 << 20  # bytes besides the pages: the program, its libraries, its PPD


def padded(width):
    """Bytes of a row of an image."""
    return (width + 3) // 4 * 4


def header(width, height, line):
    """A page header as the print system writes it: 8 bits a pixel, K, `line` bytes a row."""
    fields = bytearray(1796)
    struct.pack_into("<2I", fields, 276, 300, 300)
    struct.pack_into("<I", fields, 340, 1)
    struct.pack_into("<2I", fields, 352, 595, 842)
    struct.pack_into("<2I", fields, 372, width, height)
    struct.pack_into("<5I", fields, 384, 8, 8, line, 0, 3)
    return fields


def row(width, shift):
    """A compressed row: runs of greys, of at most 128 dots."""
    runs = bytearray()
    while width > 0:
        run = min(128, width)
        runs += bytes([run - 1, (len(runs) * 29 + shift * 83 + 40) % 256])
        width -= run
    return runs


def write_page(path, width, height, line):
    """A page of rows that come 256 times each."""
    with open(path, "wb") as stream:
        stream.write(b"2SaR" + header(width, height, line))
        for top in range(0, height, 256):
            stream.write(bytes([min(256, height - top) - 1]) + row(line, top % 7))


def shapes_of(dots):
    """Width, height and bytes of a row, from one row to one column.

    Widths of four, as pages have them, in rows as images have them, and others in both kinds of
    rows: such pixels are in the way twice before they are in an image.
    """
    whole = [(dots // height // 4 * 4, height) for height in HEIGHTS] + [(1, dots // 4)]
    odd = [(dots // height // 4 * 4 + 1, height) for height in ODD_HEIGHTS]
    return ([(width, height, width) for width, height in whole + odd] +
            [(width, height, padded(width)) for width, height in odd])


def run(program, ppd, halftone, page, folder):
    """Exit status, peak memory in bytes and processor seconds of a job."""
    os.makedirs(f"{folder}/var/spool/cups/tmp", exist_ok=True)
    os.makedirs(f"{folder}/tmp", exist_ok=True)
    with subprocess.Popen([program, "1", "user", "title", "1", f"HalftoneType={halftone}", page],
                          cwd=folder, env={"PPD": ppd, "PRINTER": "shapes"},
                          stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as job:
        _, status, used = os.wait4(job.pid, 0)
        job.returncode = os.waitstatus_to_exitcode(status)
    return job.returncode, used.ru_maxrss * 1024, used.ru_utime + used.ru_stime


def frames(folder):
    """Frame files of a job, which are then taken away with all else that it left."""
    found = [name for _, _, names in os.walk(folder) for name in names if name.startswith("page_")]
    for place, _, names in os.walk(folder):
        for name in names:
            os.remove(os.path.join(place, name))
    return found


def main():
    program, ppd = (os.path.abspath(path) for path in sys.argv[1:3])
    dots = 1_000_000 * int(sys.argv[3] if len(sys.argv) > 3 else 16)
    bad = 0
    with tempfile.TemporaryDirectory() as work:
        page = f"{work}/page.ras"
        for width, height, line in shapes_of(dots):
            write_page(page, width, height, line)
            size = padded(width) * height
            for halftone in HALFTONES:
                began = time.monotonic()
                status, peak, spent = run(program, ppd, halftone, page, f"{work}/job")
                printed = len(frames(f"{work}/job"))
                limit = (6 if halftone.startswith("Tattoo") else 4) * size + ROOM
                # Less than eight dots are no byte of a frame: such a page makes none.
                whole = status == 0 and printed == (1 if width >= 8 else 0)
                verdict = "ok" if whole and peak <= limit else "BAD"
                bad += verdict != "ok"
                print(f"{width} x {height}, {line} bytes a row, {halftone}: status {status}, {printed} frame, "
                      f"{peak / size:.2f} x page, at most {limit / size:.2f}, {spent:.2f} s "
                      f"({time.monotonic() - began:.2f} s in all) {verdict}", flush=True)
    sys.exit(1 if bad else 0)


main()
