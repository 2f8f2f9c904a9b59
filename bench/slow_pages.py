#!/usr/bin/python3
"""Stands in for a renderer that takes two seconds for page 2; in front of the filter in a queue.

Notes down when each page is rendered, that is when its last dot leaves for the filter.
"""

import os
import struct
import sys
import time

NOTES = "/tmp/slow-pages"
HEADER = 1796  # bytes
SECONDS = 2


def feed(out):
    with open(0, "rb") as raster, open(NOTES, "a", encoding="utf-8") as notes:
        out.write(raster.read(4))
        page = 0
        while len(header := raster.read(HEADER)) == HEADER:
            rows, = struct.unpack_from("<I", header, 376)
            row, = struct.unpack_from("<I", header, 392)  # bytes
            page += 1
            dots = raster.read(rows * row)
            if page == 2:
                time.sleep(SECONDS)
            print(f"{time.time():.6f}", file=notes, flush=True)
            out.write(header + dots)
            out.flush()


def main():
    reading, writing = os.pipe()
    if os.fork() == 0:
        os.close(reading)
        with os.fdopen(writing, "wb") as out:
            feed(out)
        os._exit(0)
    os.dup2(reading, 0)
    os.close(reading)
    os.close(writing)
    here = os.path.dirname(os.path.abspath(__file__))
    os.execv(f"{here}/rastertokestra", sys.argv)


main()
