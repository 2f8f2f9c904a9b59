#!/usr/bin/python3
"""Times whole print jobs against peers, in strict alternation, and looks at their memory.

A machine that others use is faster in one minute than in the next; programs that take turns see the
same weather, so that the ratio of their medians holds. Prints nothing; writes JSON of all samples.
"""

import argparse
import json
import os
import shutil
import subprocess
import sys
import time

KEYWORDS = ["None", "FloydSteinberg", "Ordered", "Burkes", "Stucki", "JarvisJudiceNinke", "Sierra",
            "StevensonArce", "Tattoo", "Tattoo_V7"]
SOME_KEYWORDS = ["None", "Ordered", "Tattoo"]
PAIRS = 5
KINDS = ["photo", "text", "lineart", "noise", "flat", "blank", "ink"]

# Log line that ends a station of the page, and the station's name in the picture.
STATIONS = [
    ("PAGE: ", "start, settings"),
    ("printImage: Start processing image", "read the page"),
    ("printImage: Memory for processing result allocated", "first debug image"),
    ("PageProcess: Successfully created PaletteImage", "page image"),
    ("PageProcess: negativePrint_", "halftone"),
    ("printImage: Processed image information", "result buffer"),
    ("printImage: Starting to print", "second debug image"),
    ("KCLSendPaperInfo: settings->pageWidth", "packing"),
    ("DumpPageToFile: dumped", "records, frame"),
]
LAST_STATION = "end"


class Bench:
    """Places and programs of one run."""

    def __init__(self, arguments):
        self.build = os.path.abspath(arguments.build)
        self.work = os.path.abspath(arguments.work)
        self.epson = arguments.epson
        self.epson_ppd = arguments.epson_ppd
        self.pclx_ppd = arguments.pclx_ppd
        self.disk = os.path.join(self.work, "job")
        self.memory = os.path.join(arguments.memory, "job") if arguments.memory else None
        self.spool = self.disk
        self.versions = self.kernel_versions()

    def kernel_versions(self):
        """Versions of the inner loops that this processor has, the slowest first."""
        names = subprocess.run([f"{self.build}/bench/kestra_bench", "--benchmark_list_tests"],
                               check=True, capture_output=True, text=True, cwd=self.work).stdout
        return [name.split("/")[2] for name in names.split("\n")
                if name.startswith("threshold/photo/")]

    def raster(self, kind, width=2480, height=3508, dpi=300, pages=1):
        """Path of a raster file, made where it is not there yet."""
        path = f"{self.work}/{kind}-{width}x{height}-{pages}.ras"
        if not os.path.exists(path):
            subprocess.run([f"{self.build}/bench/kestra_make_raster", kind, str(width), str(height),
                            str(dpi), str(pages), path], check=True)
        return path

    def ours(self, keyword, raster, version=None, ppd="kestraa4", size="A4", dpi=300):
        """Our filter as a job: arguments and environment."""
        options = f"HalftoneType={keyword} PageSize={size} Resolution={dpi}dpi"
        environment = {"PPD": f"{self.build}/ppd/{ppd}.ppd", "PRINTER": "bench"}
        if version:
            environment["KESTRA_KERNELS"] = version
        program = f"{self.build}/filter/rastertokestra_relative"
        return [program, "1", "user", "title", "1", options, raster], environment

    def floor(self, raster):
        """What a filter must do without looking at a pixel."""
        _, environment = self.ours("None", raster)
        options = "HalftoneType=None PageSize=A4 Resolution=300dpi"
        return [f"{self.build}/bench/kestra_floor", "1", "user", "title", "1", options,
                raster], environment

    def peer(self, program, ppd, raster):
        """Another filter as a job."""
        return [program, "1", "user", "title", "1", "", raster], {"PPD": ppd}

    def fresh_spool(self):
        """Files of the job before are removed, so that every run finds the same empty place."""
        shutil.rmtree(self.spool, ignore_errors=True)
        os.makedirs(f"{self.spool}/var/spool/cups/tmp")
        os.makedirs(f"{self.spool}/tmp")

    def frames(self):
        """Page frames that the last run left."""
        folder = f"{self.spool}/var/spool/cups/tmp/kcv6data"
        names = os.listdir(folder) if os.path.isdir(folder) else []
        return sum(name.startswith("page_") for name in names)

    def run(self, job, pages=1):
        """One run: [wall ms, processor ms, peak KiB]. A failed job is no measurement."""
        command, environment = job
        self.fresh_spool()
        line = subprocess.run([f"{self.build}/bench/kestra_run_once"] + command, check=True,
                              env=environment, cwd=self.spool, capture_output=True, text=True)
        wall, processor, peak, status = line.stdout.split()
        leaves_frames = os.path.basename(command[0]).startswith(("rastertokestra", "kestra_floor"))
        if int(status) != 0 or (leaves_frames and self.frames() != pages):
            sys.exit(f"jobs.py: status {status}, {self.frames()} frames from {command}")
        return [float(wall), float(processor), int(peak)]

    def alternate(self, jobs, runs, pages=1, pair=()):
        """A B C A B C ...: one unmeasured turn, then `runs` measured ones.

        The `pair` of jobs whose times lie close together takes turns `PAIRS` times in each, as a
        median of nine is off by more than what tells them apart.
        """
        samples = {name: [] for name in jobs}
        others = [name for name in jobs if name not in pair]
        for turn in range(runs + 1):
            for name in [*pair] * PAIRS + others:
                sample = self.run(jobs[name], pages)
                if turn > 0:
                    samples[name].append(sample)
        return samples

    def places(self, jobs, runs):
        """The same jobs with their spool on the disk and, where there is room, in memory."""
        samples = {"disk": self.alternate(jobs, runs)}
        if self.memory:
            self.spool = self.memory
            samples["memory"] = self.alternate(jobs, runs)
            self.spool = self.disk
        return samples

    def stations(self, keyword, raster):
        """Milliseconds of each station of one page, by the arrival of the job's log lines."""
        command, environment = self.ours(keyword, raster)
        self.fresh_spool()
        marks = []
        waiting = list(STATIONS)
        with subprocess.Popen(command, env=environment, cwd=self.spool, stdin=subprocess.DEVNULL,
                              stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                              bufsize=0) as child:
            last = time.perf_counter()
            rest = b""
            # Asks again and again: who sleeps until a line comes wakes up a station late.
            os.set_blocking(child.stderr.fileno(), False)
            while True:
                try:
                    chunk = os.read(child.stderr.fileno(), 65536)
                except BlockingIOError:
                    continue
                if not chunk:
                    break
                now = time.perf_counter()
                *lines, rest = (rest + chunk).split(b"\n")
                for line in lines:
                    if waiting and waiting[0][0].encode() in line:
                        marks.append([waiting.pop(0)[1], 1e3 * (now - last)])
                        last = now
            child.wait()
            marks.append([LAST_STATION, 1e3 * (time.perf_counter() - last)])
        if waiting:
            sys.exit(f"jobs.py: the log of a {keyword} page has no line {waiting[0][0]}")
        return marks


def measure(bench, quick):
    """All series of a run."""
    photo = bench.raster("photo")
    epson = bench.peer(bench.epson, bench.epson_ppd, photo)
    pclx = bench.peer("/usr/lib/cups/filter/rastertopclx", bench.pclx_ppd, photo)
    result = {"versions": bench.versions, "keywords": {}, "kinds": {}, "label": {}, "memory": {},
              "growth": {}, "stations": {}}

    for keyword in SOME_KEYWORDS if quick else KEYWORDS:
        jobs = {"ours": bench.ours(keyword, photo), "floor": bench.floor(photo),
                "rastertoepson": epson, "rastertopclx": pclx}
        for version in bench.versions[:-1]:
            jobs[version] = bench.ours(keyword, photo, version)
        result["keywords"][keyword] = bench.alternate(jobs, 3 if quick else 9,
                                                      pair=("ours", "floor"))

    for kind in ["blank"] if quick else KINDS:
        jobs = {keyword: bench.ours(keyword, bench.raster(kind)) for keyword in SOME_KEYWORDS}
        result["kinds"][kind] = bench.alternate(jobs, 3 if quick else 9)

    label = bench.raster("photo", 812, 1218, 203)
    jobs = {keyword: bench.ours(keyword, label, None, "kestra4", "w288h432", 203)
            for keyword in SOME_KEYWORDS}
    jobs["rastertoepson"] = bench.peer(bench.epson, bench.epson_ppd, label)
    result["label"] = bench.alternate(jobs, 3 if quick else 9)

    jobs = {keyword: bench.ours(keyword, photo) for keyword in SOME_KEYWORDS}
    jobs["rastertoepson"] = epson
    result["places"] = bench.places(jobs, 3 if quick else 9)

    for pages in [1, 20]:
        raster = bench.raster("photo", pages=pages)
        jobs = {keyword: bench.ours(keyword, raster)
                for keyword in ["None", "Tattoo"] + ([] if quick else ["Ordered", "Tattoo_V7"])}
        result["memory"][pages] = {
            keyword: max(bench.run(job, pages)[2] for _ in range(1 if quick else 2))
            for keyword, job in jobs.items()}
        if pages > 1:
            os.remove(raster)

    # As wide as the head and ever longer: 2480 dots x 403 rows are 1.0 million pixels.
    for megapixels in [1, 16] if quick else [1, 4, 16, 50, 100]:
        height = round(megapixels * 1e6 / 2480)
        raster = bench.raster("photo", height=height)
        jobs = {keyword: bench.ours(keyword, raster) for keyword in ["Ordered", "Tattoo"]}
        result["growth"][2480 * height] = bench.alternate(jobs, 2 if quick else 9)
        os.remove(raster)

    for keyword in SOME_KEYWORDS:
        bench.stations(keyword, photo)
        result["stations"][keyword] = [bench.stations(keyword, photo)
                                       for _ in range(3 if quick else 9)]
    return result


def main():
    """Reads the arguments, measures, writes the samples."""
    parser = argparse.ArgumentParser()
    for name in ["build", "work", "epson", "epson-ppd", "pclx-ppd", "out"]:
        parser.add_argument(f"--{name}", required=True)
    parser.add_argument("--memory", default="")
    parser.add_argument("--quick", action="store_true")
    arguments = parser.parse_args()
    result = measure(Bench(arguments), arguments.quick)
    with open(arguments.out, "w", encoding="utf-8") as file:
        json.dump(result, file)


main()
