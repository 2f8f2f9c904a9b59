"""Draws the two pictures of docs/performance.md as small SVG files, without any library.

A bar shows at a glance which station of a page is worth work; a straight line that a long page
costs no more per pixel than a short one.
"""

COLORS = ["#4e79a7", "#a0cbe8", "#f28e2b", "#ffbe7d", "#59a14f", "#8cd17d", "#b6992d", "#e15759",
          "#79706e", "#bab0ac"]
WIDTH = 860


def svg(height, parts):
    """A picture on white, so that it can be read on dark pages as well."""
    head = (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" '
            'font-family="sans-serif" font-size="13">')
    ground = f'<rect width="{WIDTH}" height="{height}" fill="#fff"/>'
    return "\n".join([head, ground, *parts, "</svg>"]) + "\n"


def text(x, y, words, anchor="start"):
    """Words at a place."""
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}">{words}</text>'


def step_of(largest):
    """A round distance of marks on an axis, at most ten of them up to the largest value."""
    steps = [factor * 10**power for power in range(7) for factor in (1, 2, 5)]
    return next((step for step in steps if largest / step <= 10), steps[-1])


def stations_picture(stations):
    """Stacked bars, one for each keyword: {keyword: [(station, milliseconds)]}."""
    left, top, bar, right = 90, 20, 34, 70
    longest = max(sum(ms for _, ms in bars) for bars in stations.values())
    scale = (WIDTH - left - right) / longest
    parts = []
    names = [name for name, _ in next(iter(stations.values()))]
    for row, (keyword, bars) in enumerate(stations.items()):
        y = top + row * (bar + 14)
        x = float(left)
        parts.append(text(left - 8, y + bar / 2 + 5, keyword, "end"))
        for (_, ms), color in zip(bars, COLORS):
            parts.append(f'<rect x="{x:.1f}" y="{y}" width="{ms * scale:.1f}" height="{bar}" '
                         f'fill="{color}"/>')
            x += ms * scale
        parts.append(text(x + 6, y + bar / 2 + 5, f"{sum(ms for _, ms in bars):.1f} ms"))
    y = top + len(stations) * (bar + 14) + 14
    for number, (name, color) in enumerate(zip(names, COLORS)):
        x = 30 + number % 5 * 165
        line = y + number // 5 * 22
        parts.append(f'<rect x="{x}" y="{line}" width="12" height="12" fill="{color}"/>')
        parts.append(text(x + 17, line + 11, name))
    return svg(y + 50, parts)


def growth_picture(lines):
    """Milliseconds over millions of pixels: {keyword: [(megapixels, milliseconds)]}."""
    left, top, right, bottom, height = 70, 20, 90, 45, 380
    most_pixels = max(x for points in lines.values() for x, _ in points)
    most_time = max(y for points in lines.values() for _, y in points)
    wide, high = WIDTH - left - right, height - top - bottom

    def place(x, y):
        return left + x / most_pixels * wide, top + high - y / most_time * high

    parts = []
    step = step_of(most_time)
    value = 0
    while value <= most_time:
        _, y = place(0, value)
        parts.append(f'<path d="M{left} {y:.1f}H{left + wide}" stroke="#ddd"/>')
        parts.append(text(left - 6, y + 4, str(value), "end"))
        value += step
    for value in range(0, int(most_pixels) + 1, 20):
        x, _ = place(value, 0)
        parts.append(text(x, top + high + 18, str(value), "middle"))
    parts.append(text(left + wide / 2, height - 6, "million pixels", "middle"))
    parts.append(text(left - 6, top - 6, "ms", "end"))
    for (keyword, points), color in zip(lines.items(), [COLORS[0], COLORS[7]]):
        spots = [place(x, y) for x, y in points]
        path = "L".join(f"{x:.1f} {y:.1f}" for x, y in spots)
        parts.append(f'<path d="M{path}" fill="none" stroke="{color}" stroke-width="2"/>')
        parts += [f'<circle cx="{x:.1f}" cy="{y:.1f}" r="4" fill="{color}"/>' for x, y in spots]
        parts.append(text(spots[-1][0] + 8, spots[-1][1] + 4, keyword))
    return svg(height, parts)
