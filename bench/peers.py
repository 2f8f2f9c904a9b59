#!/usr/bin/python3
"""Times what well-known image libraries need for the same loops on the same page, on one thread.

A figure of our own means little on an unknown machine; its ratio to a library that everybody can
install does. Usage: peers.py RASTER MIN_SECONDS, prints {name: nanoseconds of processor time}.
"""

import json
import sys
import time

import cv2
import numpy
from PIL import Image

RASTER_HEADER = 4 + 1796  # sync word and page header of an uncompressed raster file
WIDTH, HEIGHT = 2480, 3508


def nanoseconds(work, min_seconds):
    """Mean processor time of one call, over at least so many seconds, after one unmeasured call."""
    work()
    calls = 0
    start = time.process_time_ns()
    while True:
        work()
        calls += 1
        spent = time.process_time_ns() - start
        if spent >= min_seconds * 1e9:
            return spent / calls


def unsharp(page):
    """Gaussian of 11 taps and sigma 3, then 4 * page - 3 * blur: the stencil chain's sharpening."""
    blur = cv2.GaussianBlur(page, (11, 11), 3, borderType=cv2.BORDER_REPLICATE)
    return cv2.addWeighted(page, 4.0, blur, -3.0, 0.0)


def main():
    """Reads the page and prints the times."""
    with open(sys.argv[1], "rb") as file:
        pixels = file.read()[RASTER_HEADER:]
    if len(pixels) != WIDTH * HEIGHT:
        sys.exit(f"peers.py: {sys.argv[1]} is not one page of {WIDTH} x {HEIGHT} bytes")
    cv2.setNumThreads(1)
    page = numpy.frombuffer(pixels, dtype=numpy.uint8).reshape(HEIGHT, WIDTH)
    image = Image.frombytes("L", (WIDTH, HEIGHT), pixels)
    table = numpy.arange(255, -1, -1, dtype=numpy.uint8)
    works = {
        "Pillow convert": lambda: image.convert("1"),
        "Pillow histogram": image.histogram,
        "numpy packbits": lambda: numpy.packbits(page, axis=1),
        "OpenCV threshold": lambda: cv2.threshold(page, 128, 255, cv2.THRESH_BINARY),
        "OpenCV LUT": lambda: cv2.LUT(page, table),
        "OpenCV blur and addWeighted": lambda: unsharp(page),
        "OpenCV flip": lambda: cv2.flip(page, 1),
    }
    print(json.dumps({name: nanoseconds(work, float(sys.argv[2])) for name, work in works.items()}))


main()
