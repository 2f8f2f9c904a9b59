#!/usr/bin/python3
"""Times print jobs with and without kestrafit in front of the filter, in strict alternation.

What the stage costs a job is a ratio: the same pages by the same way, through the filter alone and
through both. Prints one table. Usage: fit_stage.py BUILD WORK [RUNS]
"""

import os
import shutil
import subprocess
import sys
import time
from statistics import median

JOB = ["1", "user", "title", "1"]


class Stage:
    """Programs and places of one run."""

    def __init__(self, build, work):
        self.build, self.spool = build, f"{work}/fit-job"
        self.environment = {"PPD": f"{build}/ppd/kestraa4.ppd", "PRINTER": "bench"}

    def raster(self, width, height, dpi):
        """Path of a page as a raster file."""
        path = f"{self.spool}-{width}x{height}.ras"
        subprocess.run([f"{self.build}/bench/kestra_make_raster", "photo", str(width), str(height),
                        str(dpi), "1", path], check=True)
        return path

    def run(self, raster, by_pipe, staged):
        """Milliseconds of one job, and processor milliseconds of all its programs."""
        shutil.rmtree(self.spool, ignore_errors=True)
        os.makedirs(f"{self.spool}/var/spool/cups/tmp")
        os.makedirs(f"{self.spool}/tmp")
        programs = [f"{self.build}/kestrafit"] if staged else []
        programs.append(f"{self.build}/filter/rastertokestra_relative")
        before = os.times()
        start = time.perf_counter()
        running = []
        source = None
        if by_pipe:
            running.append(subprocess.Popen(["/bin/cat", raster], stdout=subprocess.PIPE))
            source = running[-1].stdout
        for program in programs:
            last = program == programs[-1]
            words = [program, *JOB, "HalftoneType=None"]
            if source is None:
                words.append(raster)
            running.append(subprocess.Popen(
                words, stdin=source or subprocess.DEVNULL, cwd=self.spool, env=self.environment,
                stdout=subprocess.DEVNULL if last else subprocess.PIPE, stderr=subprocess.DEVNULL))
            if source:
                source.close()
            source = running[-1].stdout
        if any(one.wait() != 0 for one in running):
            sys.exit("fit_stage.py: a program failed")
        wall = 1e3 * (time.perf_counter() - start)
        after = os.times()
        folder = f"{self.spool}/var/spool/cups/tmp/kcv6data"
        if sum(name.startswith("page_") for name in os.listdir(folder)) != 1:
            sys.exit("fit_stage.py: the job printed no page")
        processor = 1e3 * (after.children_user + after.children_system
                           - before.children_user - before.children_system)
        return wall, processor

    def row(self, what, raster, by_pipe, runs):
        """A row of the table: filter alone, both, their ratio, and what the stage adds."""
        alone, both = [], []
        for turn in range(runs + 1):
            for samples, staged in ((alone, False), (both, True)):
                sample = self.run(raster, by_pipe, staged)
                if turn > 0:
                    samples.append(sample)
        wall = [median(one[0] for one in samples) for samples in (alone, both)]
        processor = [sum(one[1] for one in samples) / runs for samples in (alone, both)]
        return (f"| {what} | {wall[0]:.1f} | {wall[1]:.1f} | {wall[1] / wall[0]:.2f} | "
                f"{processor[1] - processor[0]:.1f} |")


def main():
    """All rows."""
    build, work = (os.path.abspath(path) for path in sys.argv[1:3])
    runs = int(sys.argv[3]) if len(sys.argv) > 3 else 41
    stage = Stage(build, work)
    pages = [("label, 812 x 1218", stage.raster(812, 1218, 203)),
             ("label, 811 x 1218", stage.raster(811, 1218, 203)),
             ("A4 sheet, 2476 x 3508", stage.raster(2476, 3508, 300)),
             ("A4 sheet, 2475 x 3508", stage.raster(2475, 3508, 300))]
    print("| page | filter alone, ms | with kestrafit, ms | ratio | processor, ms more |\n"
          "|---|--:|--:|--:|--:|")
    for name, raster in pages:
        for way, by_pipe in (("pipe", True), ("file", False)):
            print(stage.row(f"{name}, {way}", raster, by_pipe, runs))


if __name__ == "__main__":
    main()
