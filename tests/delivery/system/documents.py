"""Documents of numbered labels, every page different, as PDF and as the filter's own raster.

Digits are seven bars each: a page needs no font, and a person can read the printer's picture.
"""

import struct

# top, upper right, lower right, bottom, lower left, upper left, middle
_BARS = {"0": "1111110", "1": "0110000", "2": "1101101", "3": "1111001", "4": "0110011",
         "5": "1011011", "6": "1011111", "7": "1110000", "8": "1111111", "9": "1111011"}


def _digit(digit, x, y, w, h, t):
    """Bars (x, y, width, height) of a digit whose lower left corner is x, y; t is their breadth."""
    half = h // 2
    places = [(x, y + h - t, w, t), (x + w - t, y + half, t, h - half), (x + w - t, y, t, half),
              (x, y, w, t), (x, y, t, half), (x, y + half, t, h - half),
              (x, y + half - t // 2, w, t)]
    return [bar for bar, on in zip(places, _BARS[digit]) if on == "1"]


def _label(text, width, height):
    """Bars of all digits of `text`, as large as the label allows; origin at the lower left."""
    margin = min(width, height) // 8
    cell = (width - 2 * margin) // max(4, len(text))
    high = min(height - 2 * margin, cell * 2)
    bars = []
    for place, digit in enumerate(text):
        bars += _digit(digit, margin + place * cell, margin, cell * 3 // 4, high, max(2, cell // 8))
    return bars


def pdf(labels, first=1, width=288, height=432):
    """A PDF of `labels` pages, `width` x `height` points, that show first, first + 1, ..."""
    pages = []
    for number in range(first, first + labels):
        bars = _label(f"{number:04d}", width, height)
        pages.append("".join("%d %d %d %d re\n" % bar for bar in bars) + "f\n")
    objects = ["<< /Type /Catalog /Pages 2 0 R >>",
               "<< /Type /Pages /Count %d /Kids [%s] >>" % (
                   labels, " ".join(f"{3 + 2 * i} 0 R" for i in range(labels)))]
    for i, text in enumerate(pages):
        objects.append(f"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 {width} {height}] "
                       f"/Resources << >> /Contents {4 + 2 * i} 0 R >>")
        objects.append(f"<< /Length {len(text)} >>\nstream\n{text}endstream")
    out, places = "%PDF-1.4\n", []
    for number, text in enumerate(objects, 1):
        places.append(len(out))
        out += f"{number} 0 obj\n{text}\nendobj\n"
    start = len(out)
    out += f"xref\n0 {len(objects) + 1}\n0000000000 65535 f \n"
    out += "".join(f"{place:010d} 00000 n \n" for place in places)
    out += f"trailer\n<< /Size {len(objects) + 1} /Root 1 0 R >>\nstartxref\n{start}\n%%EOF\n"
    return out.encode()


def _raster_header(width, height, dpi, size_name):
    header = bytearray(1796)

    def put(offset, *values):
        struct.pack_into(f"<{len(values)}I", header, offset, *values)

    put(276, dpi, dpi)
    put(340, 1)  # copies
    put(352, round(width * 72 / dpi), round(height * 72 / dpi))
    put(372, width, height)
    put(384, 8, 8, width, 0, 3)  # bits per colour and pixel, bytes per line, chunked, black
    put(420, 1)
    struct.pack_into("<2f", header, 428, width * 72 / dpi, height * 72 / dpi)
    header[1732:1732 + len(size_name)] = size_name.encode()
    return bytes(header)


def raster(labels, first=1, width=400, height=240, dpi=203, size_name="w142h85", times=1):
    """A raster document (8 bits, 255 is ink) that the filter reads without any program before it.

    The default is the label of 50 x 30 mm; `width` must be a multiple of 4, as every page size of
    the printer descriptions gives. Each label shows its number `times` times, one below the other,
    each `height` rows high.
    """
    out = [b"3SaR"]
    header = _raster_header(width, height * times, dpi, size_name)
    for number in range(first, first + labels):
        rows = [bytearray(width) for _ in range(height)]
        for x, y, w, h in _label(f"{number:04d}", width, height):
            for row in range(height - y - h, height - y):
                rows[row][x:x + w] = b"\xff" * w
        out.append(header)
        out.extend(rows * times)
    return b"".join(out)
