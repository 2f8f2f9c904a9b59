#!/usr/bin/python3
"""Turns the samples of a run into one table of goals, and into docs/performance.md.

The page is written whole by every full run from `performance.md.in`, whose words say how to read
the figures and never repeat one: no figure on it can be older than another.
Usage: report.py WORK BUILD [DOCS]; without DOCS only the table is printed.
"""

import glob
import json
import os
import re
import subprocess
import sys
from statistics import median

from goals import PIXELS, Data, Goals, ratio
from plots import growth_picture, stations_picture

# Stages in the order of a page, and the library's loop that comes closest.
STAGES = [("CreateFromArray", None), ("Light", "OpenCV LUT"), ("Mirror", "OpenCV flip"),
          ("Rotate180", None), ("threshold", "OpenCV threshold"), ("ordered", None),
          ("generated", None), ("Floyd-Steinberg", "Pillow convert"), ("Burkes", None),
          ("Stucki", None), ("Jarvis-Judice-Ninke", None), ("Sierra", None),
          ("Stevenson-Arce", None), ("Negative", None),
          ("histogram and threshold", "Pillow histogram"), ("gamma", "OpenCV LUT"),
          ("Gaussian and unsharp", "OpenCV blur and addWeighted"), ("float diffusion", None),
          ("Tattoo chain", None), ("Tattoo_V7 chain", None),
          ("GrayToMono", "numpy packbits"), ("row records", None), ("debug image", None)]
PACKAGES = ["libcups2", "cups-filters", "libbenchmark-dev", "python3-pil", "python3-numpy",
            "python3-opencv"]


def read(path):
    """A file of the run."""
    with open(path, encoding="utf-8") as file:
        return file.read()


def load(work):
    """All samples: every round of stages and peers adds one to each name."""
    stages, peers = {}, {}
    for path in sorted(glob.glob(f"{work}/stages-*.json")):
        for row in json.loads(read(path))["benchmarks"]:
            if row.get("error_occurred"):
                sys.exit(f"report.py: {row['name']} failed: {row['error_message']}")
            stages.setdefault(row["name"], []).append(row["cpu_time"])
    for path in sorted(glob.glob(f"{work}/peers-*.json")):
        for name, nanoseconds in json.loads(read(path)).items():
            peers.setdefault(name, []).append(nanoseconds)
    return Data(stages, peers, json.loads(read(f"{work}/jobs.json")))


def table(head, rows):
    """A Markdown table whose first column holds words and whose others hold figures."""
    lines = ["| " + " | ".join(head) + " |", "|---|" + "--:|" * (len(head) - 1)]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows])


def per_pixel(samples):
    """Nanoseconds per pixel: median and, in brackets, least."""
    if not samples:
        return ""
    return f"{median(samples) / PIXELS:.3f} ({min(samples) / PIXELS:.3f})"


def times(samples):
    """Milliseconds: median and, in brackets, least."""
    return f"{median(samples):.1f} ({min(samples):.1f})" if samples else ""


def goal_table(data):
    """The one table: goal, measured, met."""
    rows = [[what, goal, measured, "yes" if met else "**no**"]
            for what, goal, measured, met in Goals(data).rows]
    return table(["what", "goal", "measured", "met"], rows)


def stage_table(data):
    """Nanoseconds per pixel of every stage in every version, beside a library's."""
    rows = [[name, *(per_pixel(data.stage(name, version=each)) for each in data.versions),
             f"{peer}: {per_pixel(data.peers[peer])}" if peer else ""] for name, peer in STAGES]
    rows += [["memcpy page", *[""] * (len(data.versions) - 1),
              per_pixel(data.stages["memcpy page"]), ""]]
    return table(["stage, ns per pixel", *data.versions, "library"], rows)


def job_table(data):
    """Milliseconds of whole processes by keyword, beside the peers'."""
    rows = []
    for keyword, series in data.jobs["keywords"].items():
        ours = data.job(series, "ours")
        floor, pclx = data.job(series, "floor"), data.job(series, "rastertopclx")
        rows.append([f"`{keyword}`", times(ours),
                     *(times(data.job(series, each)) for each in data.versions[-2::-1]),
                     times(floor), f"{ratio(ours, floor)[0]:.2f}",
                     times(data.job(series, "rastertoepson")), times(pclx),
                     f"{ratio(pclx, ours)[0]:.1f}"])
    return table(["HalftoneType, ms", data.best, *data.versions[-2::-1], "floor", "ours / floor",
                  "rastertoepson", "rastertopclx", "it / ours"], rows)


def kind_table(data):
    """What is on the page, and what that costs."""
    rows = []
    for kind, series in data.jobs["kinds"].items():
        rows.append([kind, *(times(data.job(series, keyword)) for keyword in series),
                     per_pixel(data.stage("Floyd-Steinberg", kind)),
                     per_pixel(data.stage("float diffusion", kind))])
    label = data.jobs["label"]
    keywords = [keyword for keyword in label if keyword != "rastertoepson"]
    rows.append(["photo, label", *(times(data.job(label, keyword)) for keyword in keywords),
                 "", ""])
    words = table(["page", *(f"`{keyword}`, ms" for keyword in keywords),
                   "Floyd-Steinberg, ns/px", "float diffusion, ns/px"], rows)
    epson = data.job(label, "rastertoepson")
    return words + f"\n\nThe label through `rastertoepson`: {times(epson)} ms."


def place_table(data):
    """What the file system of the spool costs."""
    rows = []
    for place, series in data.jobs["places"].items():
        epson = data.job(series, "rastertoepson")
        keywords = [keyword for keyword in series if keyword != "rastertoepson"]
        ours = [data.job(series, keyword) for keyword in keywords]
        rows.append([place, *(f"{times(job)} = {ratio(job, epson)[0]:.2f} x" for job in ours),
                     times(epson)])
    return table(["spool", *(f"`{keyword}`, ms" for keyword in keywords), "rastertoepson"], rows)


def memory_table(data):
    """Peak memory of one page and of twenty."""
    peaks = data.jobs["memory"]
    rows = [[f"`{keyword}`", f"{peaks['1'][keyword] / 1024:.1f}",
             f"{peaks['20'][keyword] / 1024:.1f}"] for keyword in peaks["1"]]
    return table(["HalftoneType, MiB", "1 page", "20 pages"], rows)


def growth_lines(data):
    """{keyword: [(megapixels, median ms)]}"""
    lines = {}
    for pixels, series in sorted((int(p), s) for p, s in data.jobs["growth"].items()):
        for keyword in series:
            lines.setdefault(keyword, []).append(
                (pixels / 1e6, median(data.job(series, keyword))))
    return lines


def growth_table(data):
    """Milliseconds and nanoseconds per pixel of ever longer pages."""
    lines = growth_lines(data)
    rows = [[f"{megapixels:.1f}", *(f"{points[i][1]:.1f} ({points[i][1] / megapixels:.2f})"
                                    for points in lines.values())]
            for i, (megapixels, _) in enumerate(next(iter(lines.values())))]
    return table(["million pixels", *(f"`{keyword}`, ms (ns/px)" for keyword in lines)], rows)


def median_stations(data):
    """{keyword: [(station, median ms)]}"""
    result = {}
    for keyword, runs in data.jobs["stations"].items():
        result[keyword] = [(run[0][0], median(ms for _, ms in run)) for run in zip(*runs)]
    return result


def station_table(data):
    """The figures behind the bars."""
    stations = median_stations(data)
    names = [name for name, _ in next(iter(stations.values()))]
    rows = [[name, *(f"{bars[i][1]:.2f}" for bars in stations.values())]
            for i, name in enumerate(names)]
    return table(["station, ms", *(f"`{keyword}`" for keyword in stations)], rows)


def installed(package):
    """Version of an installed package."""
    done = subprocess.run(["dpkg-query", "-W", "-f", "${Version}", package], check=False,
                          capture_output=True, text=True)
    return done.stdout or "version unknown"


def machine(work, build):
    """Where and with what this run was measured."""
    processors = read("/proc/cpuinfo")
    found = re.search(r"model name\s*: (.*)", processors)
    model = found.group(1) if found else os.uname().machine
    compiler = re.search(r"CMAKE_CXX_COMPILER:\w+=(.*)", read(f"{build}/CMakeCache.txt")).group(1)
    version = subprocess.run([compiler, "--version"], check=True, capture_output=True,
                             text=True).stdout.split("\n")[0]
    system = re.search(r'PRETTY_NAME="(.*)"', read("/etc/os-release")).group(1)
    lines = [f"- Processor: {model}, {os.cpu_count()} cores as the machine sees them; load before "
             f"the run {read(f'{work}/load').split()[0]}",
             f"- System: {system}, Linux {os.uname().release}, pages and spool on "
             f"{read(f'{work}/file-system').strip()}",
             f"- Compiler: {version}, build type Release",
             "- Packages: " + ", ".join(f"{name} {installed(name)}" for name in PACKAGES)
             + f"; rastertoepson of cups {read(f'{work}/peer-version').strip()}"]
    return "\n".join(lines)


def write_page(data, work, build, docs):
    """docs/performance.md and its two pictures."""
    pictures = f"{docs}/pictures"
    with open(f"{pictures}/performance-stations.svg", "w", encoding="utf-8") as file:
        file.write(stations_picture(median_stations(data)))
    with open(f"{pictures}/performance-growth.svg", "w", encoding="utf-8") as file:
        file.write(growth_picture(growth_lines(data)))
    template = read(os.path.join(os.path.dirname(__file__), "performance.md.in"))
    with open(f"{docs}/performance.md", "w", encoding="utf-8") as file:
        file.write(template.format(
            machine=machine(work, build), goals=goal_table(data), stations=station_table(data),
            jobs=job_table(data), kinds=kind_table(data), places=place_table(data),
            stages=stage_table(data), memory=memory_table(data), growth=growth_table(data)))


def plain_columns(markdown):
    """The same table for a terminal: columns as wide as their widest cell."""
    rows = [[cell.strip(" *") for cell in line.strip("|").split("|")]
            for line in markdown.split("\n") if not line.startswith("|---")]
    widths = [max(len(row[i]) for row in rows) for i in range(len(rows[0]))]
    return "\n".join("  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip()
                     for row in rows)


def main():
    """Prints the table of goals; writes the page where a place for it is given."""
    work, build = sys.argv[1:3]
    data = load(work)
    print(plain_columns(goal_table(data)))
    if len(sys.argv) > 3:
        write_page(data, work, build, sys.argv[3])


main()
