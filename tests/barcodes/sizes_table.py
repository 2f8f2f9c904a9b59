#!/usr/bin/env python3
"""Prints labels of ten sizes sold in shops, asked for in five ways, and reads their barcodes back.

A size has many names on its way through print systems; a label must come out as wide as it is,
straight, and readable, whichever of them is used. Prints a table, and fails where a label is not.
With `control` the printer description lacks what brings that about, and the table must show it.
Usage: sizes_table.py BUILD [control]; as root, or where namespaces are granted (else 77).
"""

import glob
import os
import re
import struct
import subprocess
import sys
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "delivery", "system"))
import machine  # noqa: E402
import rig  # noqa: E402

DPI = 203
# As they stand on the box, in millimetres. The last is none of the printer description's.
SIZES = ((30, 20), (40, 30), (50, 30), (57, 32), (62, 29), (76, 51), (80, 60), (100, 100),
         (102, 152), (90, 45))
# What zint is told, and what a scanner must read. EAN-13 ends in a check digit, of
# 590123412345: 5+0+2+4+2+4 = 17 and 3 x (9+1+3+1+3+5) = 66 are 83, and 7 makes it 90.
CODES = (("Code 128", "code128", ["-b", "CODE128", "-d", "K42"], "K42"),
         ("EAN-13", "ean13", ["-b", "EANX", "-d", "590123412345"], "5901234123457"),
         ("QR", "qrcode", ["-b", "QRCODE", "-d", "LABEL 42"], "LABEL 42"))
WAYS = ("PageSize", "media", "IPP custom", "driverless queue", "PNG")


def run(*words):
    return subprocess.run(words, check=True, capture_output=True, text=True).stdout


def module(width, kind):
    """Width of a code's narrowest bar in mm: what is usual on such a label."""
    return 0.5 if kind == "qrcode" else 0.25 if width <= 40 else 0.33


def pages_of(work, width, height, unit=0):
    """PostScript with a label for each code.

    A line down the left side, 0.6 to 1 mm from the edge, shows whether rows are straight. unit: what
    bars are whole numbers of, in points; 0 for none.
    """
    points = [side / 25.4 * 72 for side in (width, height)]
    pages = ["%!PS-Adobe-3.0", f"<< /PageSize [{points[0]:.4f} {points[1]:.4f}] >> setpagedevice"]

    def whole(length):
        return round(length / unit) * unit if unit else length

    for _, kind, words, _ in CODES:
        run("zint", *words, "--notext", "--filetype=EPS", "-o", f"{work}/code.eps")
        with open(f"{work}/code.eps", encoding="latin-1") as file:
            eps = file.read()
        right, top = map(float, re.search(r"%%BoundingBox: 0 0 (\S+) (\S+)", eps).groups())
        body = "\n".join(line for line in eps.splitlines() if not line.startswith("%"))
        # zint draws a module 2 units wide. A bar code keeps 4 mm off the upper and lower edge.
        scale = whole(module(width, kind) / 25.4 * 72) / 2
        high = scale if kind == "qrcode" else (height - 8) / 25.4 * 72 / top
        pages.append(f"72 25.4 div dup scale 0.6 0 0.4 {height} rectfill 25.4 72 div dup scale "
                     f"gsave {whole((points[0] - right * scale) / 2)} "
                     f"{whole((points[1] - top * high) / 2)} translate {scale} {high} scale\n"
                     f"{body}\ngrestore showpage")
    return "\n".join(pages)


def draw(work, width, height):
    """A PDF with a label for each code, bars in millimetres, as a word processor makes it; and a PNG
    of each with bars of whole dots at the printer's resolution, as a label program saves it."""
    name = f"{work}/{width}x{height}"
    for device, dpi, ending, unit in (("pdfwrite", 720, ".pdf", 0),
                                      ("pnggray", DPI, "-%d.png", 72 / DPI)):
        with open(f"{name}.ps", "w", encoding="latin-1") as out:
            out.write(pages_of(work, width, height, unit))
        run("gs", "-q", "-dBATCH", "-dNOPAUSE", "-dSAFER", f"-r{dpi}", f"-sDEVICE={device}",
            f"-sOutputFile={name}{ending}", f"{name}.ps")
    return f"{name}.pdf", [f"{name}-{page}.png" for page in (1, 2, 3)]


def pixels(path):
    """Rows of a PNG without interlacing, one sample per pixel: lists of whether a dot is black."""
    with open(path, "rb") as file:
        data = file.read()
    width, _, bits, kind = struct.unpack(">IIBB", data[16:26])
    packed, at, palette = b"", 8, []
    while at < len(data):
        size, = struct.unpack(">I", data[at:at + 4])
        name, body = data[at + 4:at + 8], data[at + 8:at + 8 + size]
        if name == b"IDAT":
            packed += body
        if name == b"PLTE":
            palette = [sum(body[i:i + 3]) for i in range(0, size, 3)]
        at += 12 + size
    if kind not in (0, 3):
        raise rig.Failure(f"{path}: a PNG of kind {kind}")
    plain, stride = zlib.decompress(packed), (width * bits + 7) // 8
    step, rows, above = max(bits // 8, 1), [], bytes(stride)
    for start in range(0, len(plain), stride + 1):
        way, row = plain[start], bytearray(plain[start + 1:start + 1 + stride])
        for i in range(stride):
            left, corner = (row[i - step], above[i - step]) if i >= step else (0, 0)
            paeth = min((abs(above[i] - corner), 0, left), (abs(left - corner), 1, above[i]),
                        (abs(left + above[i] - 2 * corner), 2, corner))[2]
            row[i] = (row[i] + (0, left, above[i], (left + above[i]) // 2, paeth)[way]) & 255
        above = bytes(row)
        samples = [row[x * bits // 8] >> (8 - bits - x * bits % 8) & ((1 << bits) - 1)
                   for x in range(width)]
        half = 382 if palette else (1 << bits) // 2
        rows.append([(palette[one] if palette else one) < half for one in samples])
    return rows


def is_straight(rows):
    """Whether the line down the left side begins in the same column in every row, give or take one."""
    starts = [row.index(True) if True in row else -9 for row in rows[2:-2]]
    return max(starts) - min(starts) <= 1


def scanned(path, kind):
    done = subprocess.run(["zbarimg", "-q", "--raw", "--nodbus", "-Sdisable", f"-S{kind}.enable",
                           path], capture_output=True, text=True, check=False)
    return done.stdout.strip()


class Table:
    def __init__(self, build, is_control):
        self.build = build
        self.is_control = is_control
        self.text = ""
        self.work = "/tmp/sizes"
        os.makedirs(self.work)
        self.system = rig.PrintSystem(build)
        if is_control:
            self.system.install("filter", "kestrafit", b'#!/bin/sh\nexec cat $6\n')
            with open(self.system.ppd(), encoding="utf-8") as file:
                lines = [line for line in file if "kestrasize" not in line]
            with open(self.system.ppd(), "w", encoding="utf-8") as file:
                file.writelines(lines)
        self.system.start()
        self.system.queue("label", "file:///dev/null", words=("-o", "printer-is-shared=true"))
        shared = self.system.socket.replace("/", "%2F")
        self.system.run("lpadmin", "-p", "remote", "-E", "-v", f"ipp://{shared}/printers/label",
                        "-m", "everywhere")
        # The server asks the shared queue in its own time, and reads the description that it made.
        rig.eventually(lambda: os.path.exists(f"{self.system.place}/etc/ppd/remote.ppd")
                       and "media-supported" in self.system.printer("remote"))
        self.bad = 0

    def printed(self, queue, files, options):
        """The pictures of a job's labels."""
        number = self.system.lp(queue, *files, options=options)
        done = self.system.wait(number)
        if queue == "remote":
            number += 1
            done = self.system.wait(number)
        if done.state != rig.COMPLETED:
            raise rig.Failure(f"{queue} {options}: {done}")
        frames = sorted(glob.glob(f"{rig.FRAMES}/page_*_jobid_{number:06d}_*.dat"))
        out = f"{self.work}/{number}"
        run(f"{self.build}/kestra-proof", "--quiet", "--output-dir", out, *frames)
        return [f"{out}/{os.path.basename(frame)[:-4]}.png" for frame in frames]

    def line(self, size, way, pdf, pngs):
        name = f"{size[0]}x{size[1]}mm"
        queue, files, options = {
            "PageSize": ("label", [pdf], {"PageSize": name}),
            "media": ("label", [pdf], {"media": name}),
            "IPP custom": ("label", [pdf], {"media": f"custom_{name}_{name}"}),
            "driverless queue": ("remote", [pdf], {"media": name}),
            "PNG": ("label", pngs, {"PageSize": name}),
        }[way]
        pictures = self.printed(queue, files, options)
        if len(pictures) != len(CODES):
            raise rig.Failure(f"{size} {way}: {len(pictures)} labels")
        all_rows = [pixels(picture) for picture in pictures]
        widths = sorted({len(rows[0]) for rows in all_rows})
        # Some dots are lost where the printer description cuts to a multiple of 4.
        right_width = all(abs(width - size[0] / 25.4 * DPI) < 8 for width in widths)
        straight = all(is_straight(rows) for rows in all_rows)
        reads = [scanned(picture, code[1]) for code, picture in zip(CODES, pictures)]
        good = [read == code[3] for code, read in zip(CODES, reads)]
        if not (right_width and straight and all(good)):
            self.bad += 1
        cells = [", ".join(map(str, widths)) + ("" if right_width else " **wrong**"),
                 "straight" if straight else "**skewed**"]
        cells += [f"`{read}`" if one else f"**{read or 'unread'}**" for one, read in zip(good, reads)]
        self.say(f"| {size[0]} x {size[1]} mm | {way} | " + " | ".join(cells) + " |")

    def say(self, text):
        self.text += text + "\n"
        print(text, flush=True)

    def write(self):
        self.say("| label | asked for by | width in dots | rows | Code 128 | EAN-13 | QR |\n"
                 "|---|---|---|---|---|---|---|")
        for size in SIZES[-1:] if self.is_control else SIZES:
            pdf, pngs = draw(self.work, *size)
            for way in WAYS:
                self.line(size, way, pdf, pngs)
        self.system.stop()
        if not self.is_control:
            return self.bad
        return sum(sign not in self.text for sign in ("**wrong**", "**skewed**", "**unread**"))


def main():
    build = os.path.abspath(sys.argv[1])
    refused = machine.enter([build, HERE])
    if refused:
        print(f"left out: {refused}", file=sys.stderr)
        return 77
    bad = Table(build, sys.argv[2:] == ["control"]).write()
    if bad:
        print(f"{bad} lines, or signs of a fault, are not as they should be", file=sys.stderr)
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
