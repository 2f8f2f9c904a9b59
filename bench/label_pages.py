"""Shipping labels of 4 x 6 inches as a PDF: address, small text, a barcode, every page different.

What people print on such a queue; a page of few bars would be drawn in no time and flatter both
sides.
"""

import random

WIDTH, HEIGHT = 288, 432  # points
_DOT = 72 / 203
_BODY = ("Moonrise Print Works", "The Falconry", "7 Old Mill Lane, Hilltop", "Handle with care",
         "Two copies of this label belong to the parcel")


def _page(number, rng):
    def text(font, size, x, y, words):
        return f"BT /{font} {size} Tf {x} {y} Td ({words}) Tj ET"

    parts = [text("F1", 25, 12, 392, f"PARCEL {number:05d}"),
             text("F2", 8, 12, 378, "labels on thermal paper, dot by dot")]
    parts += [text("F2", 12, 12, 350 - 16 * line, words) for line, words in enumerate(_BODY)]
    for line in range(12):
        words = " ".join(str(rng.randrange(10**6, 10**7)) for _ in range(6))
        parts.append(text("F2", 6, 12, 262 - 8 * line, words))
    # Bars of 1 to 4 modules of 3 dots, as long as there is room.
    x, bars = 90, []
    while x < 722:
        black, white = 3 * rng.randint(1, 4), 3 * rng.randint(1, 4)
        bars.append(f"{x * _DOT:.3f} 28 {black * _DOT:.3f} 90 re")
        x += black + white
    parts += [" ".join(bars) + " f", text("F1", 12, 70, 12, f"NUMBER {number:09d}"),
              f"2 2 {WIDTH - 4} {HEIGHT - 4} re S"]
    return "\n".join(parts)


def pdf(labels, first=1):
    """A PDF of `labels` pages with the numbers first, first + 1, ..."""
    rng = random.Random(first)
    kids = " ".join(f"{5 + 2 * i} 0 R" for i in range(labels))
    objects = ["<< /Type /Catalog /Pages 2 0 R >>",
               f"<< /Type /Pages /Count {labels} /Kids [{kids}] >>",
               "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica-Bold >>",
               "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"]
    for i in range(labels):
        content = _page(first + i, rng)
        objects.append(f"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 {WIDTH} {HEIGHT}] /Resources "
                       f"<< /Font << /F1 3 0 R /F2 4 0 R >> >> /Contents {6 + 2 * i} 0 R >>")
        objects.append(f"<< /Length {len(content)} >>\nstream\n{content}\nendstream")
    out, places, at = ["%PDF-1.4\n"], [], 9
    for number, one in enumerate(objects, 1):
        places.append(at)
        out.append(f"{number} 0 obj\n{one}\nendobj\n")
        at += len(out[-1])
    out.append(f"xref\n0 {len(objects) + 1}\n0000000000 65535 f \n")
    out += [f"{place:010d} 00000 n \n" for place in places]
    out.append(f"trailer\n<< /Size {len(objects) + 1} /Root 1 0 R >>\nstartxref\n{at}\n%%EOF\n")
    return "".join(out).encode()
