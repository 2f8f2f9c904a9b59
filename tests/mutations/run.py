#!/usr/bin/env python3
"""Builds the project with one small fault at a time and says which faults no test notices.

A rule that can be broken without a failing test is a rule that some later change will break.

Usage: run.py WORK_DIRECTORY|--check [PATTERN]

Tries every fault of tests/mutations/list.txt, or those whose line matches PATTERN (a regular
expression), in copies of the project below WORK_DIRECTORY. Names the faults that survive; fails
where too many do. What became of each fault stands in WORK_DIRECTORY/results.txt. JOBS=N works in N
copies at a time.

--check tries nothing: it fails where a line's text is not in its file exactly once.
"""

import collections
import filecmp
import fnmatch
import os
import pathlib
import re
import resource
import shutil
import subprocess
import sys
import tempfile
import threading
from concurrent.futures import ThreadPoolExecutor, as_completed
from typing import NamedTuple

ROOT = pathlib.Path(__file__).resolve().parents[2]
LEAST = 95  # per cent of the faults that must be noticed


class Program(NamedTuple):
    """A test program: its place in a build; the seconds after which it hangs; in how many parts it
    runs side by side, where it waits more than it computes; the tests that are run of it."""
    place: str
    limit: int
    parts: int = 1
    tests: str = "*-"


PROGRAMS = {
    "unit": Program("tests/unit/kestra_unit_tests", 60),
    "stencil": Program("tests/stencil/kestra_stencil_tests", 120),
    "kernels": Program("tests/kernels/kestra_kernel_tests", 60),
    "choice": Program("tests/kernels/kestra_choice_tests", 10),
    "digests": Program("tests/digests/kestra_digests_tests", 180),
    "tools": Program("tests/tools/tools_test", 120, 2),
    "paper": Program("tests/paper/paper_test", 60, 6),
    "core": Program("tests/delivery/core/kestra_delivery_core_tests", 60, 4),
    "sinks": Program("tests/delivery/sinks/kestra_delivery_sinks_tests", 60, 8),
    "backend": Program("tests/delivery/backend/delivery_backend_test", 60, 4),
    "delivery": Program("tests/delivery/tool/delivery_tool_test", 60, 4),
    "fit": Program("tests/fit/kestra_fit_tests", 60),
    "size": Program("tests/size/size_test", 60),
    "driver": Program("tests/driver/driver_test", 120),
    "scripts": Program("", 60),  # they are their own programs
    # Of the slow ones the tests that look at bytes.
    "blackbox": Program("tests/blackbox/kestra_blackbox_tests", 1200, 1,
                        "-LongJob*:ParallelJobs*:CancelledJob*:NoMemory*:*CutStream*"),
}

# The programs that may notice a fault in a file, the likeliest and quickest first; the first
# pattern that fits counts, and its star stands for slashes as well.
NOTICE = {
    "delivery/core/device_uri*": "sinks backend delivery",
    "delivery/core/*": "core delivery backend",
    "delivery/sinks/*": "sinks backend delivery",
    "delivery/backend/*": "backend",
    "delivery/monitor/*": "backend",
    "delivery/tool/*": "delivery",
    "tools/paper/*": "paper",
    "tools/fit/*": "fit tools",
    "tools/size/*": "size tools",
    "tools/*": "tools",
    "driver/*": "driver",
    "*.sh": "scripts",
    "packaging/*": "scripts",
    "imaging/kernels/*": "kernels choice unit stencil digests blackbox",
    "imaging/tattoo/*": "stencil unit kernels digests blackbox",
    "printer/anti_wrinkle.cpp": "stencil unit kernels digests blackbox",
    "printer/page_processing.cpp": "stencil unit kernels digests blackbox",
    "filter/*": "unit digests blackbox",
    "*": "unit stencil kernels digests blackbox",
}


class Broken(Exception):
    """Why no fault can be tried."""


class Fault(NamedTuple):
    """A line of the list: in which file which text becomes what, and what would print then."""
    file: str
    old: str
    new: str
    meaning: str

    def is_stale(self):
        """Whether the file does not hold the text exactly once."""
        path = ROOT / self.file
        return not path.is_file() or read(path).count(self.old) != 1

    def programs(self):
        """The names of the programs that may notice it."""
        return next(names.split() for pattern, names in NOTICE.items()
                    if fnmatch.fnmatchcase(self.file, pattern))


def read(path):
    """A file as it is, ends of lines included; what a broken program says need not be text."""
    with open(path, encoding="utf-8", errors="surrogateescape", newline="") as file:
        return file.read()


def write(path, text):
    with open(path, "w", encoding="utf-8", errors="surrogateescape", newline="") as file:
        file.write(text)


class Copy:
    """A copy of the project with a build of its own, for one fault after the other."""

    def __init__(self, work, number):
        self.work = work
        self.path = work / f"copy{number}"
        self.build_log = work / f"copy{number}.build.log"
        self.test_log = work / f"copy{number}.test.log"

    def prepare(self):
        """Makes the copy ready to build; in one that is there, what differs is renewed."""
        names = subprocess.run(["git", "ls-files", "-z", "--cached", "--others",
                                "--exclude-standard"], cwd=ROOT, check=True, capture_output=True,
                               text=True).stdout
        for name in filter(None, names.split("\0")):
            source, target = ROOT / name, self.path / name
            if not source.is_file():
                continue
            if not target.is_file() or not filecmp.cmp(source, target, shallow=False):
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(source, target)
        if not self.logged("cmake", "-G", "Ninja", "-S", self.path, "-B", self.path / "build",
                           "-DKESTRA_TESTS=ON", "-DCMAKE_BUILD_TYPE=None",
                           "-DCMAKE_CXX_FLAGS=-O1"):
            raise Broken(f"{self.path} cannot be configured:\n{read(self.build_log)}")

    def logged(self, *command):
        """Whether a step of the build succeeds."""
        with open(self.build_log, "wb") as log:
            return subprocess.run(command, stdout=log, stderr=log, check=False).returncode == 0

    def build(self, name):
        place = PROGRAMS[name].place
        return not place or self.logged("cmake", "--build", self.path / "build", "-j", "1",
                                        "--target", os.path.basename(place))

    def run_tests(self, name, parts, tests):
        """The status of a program's tests, run until the first fails or the time is up."""
        program = self.path / "build" / PROGRAMS[name].place
        command = [program, "--gtest_fail_fast", "--gtest_brief=1", f"--gtest_filter={tests}"]
        folder = program.parent
        if name == "scripts":
            command, folder = ["ctest", "-L", "scripts", "--no-tests=error"], self.path / "build"
        running = []
        logs = [self.test_log.with_suffix(f".part{part}") for part in range(parts)]
        for part, path in enumerate(logs):
            shard = {"GTEST_TOTAL_SHARDS": str(parts), "GTEST_SHARD_INDEX": str(part)}
            with open(path, "wb") as log:
                running.append(subprocess.Popen(
                    ["timeout", "-k", "10", str(PROGRAMS[name].limit), *command], cwd=folder,
                    env={**os.environ, **shard}, stdout=log, stderr=log))
        status = 0
        with ThreadPoolExecutor(parts) as waiting:
            for ended in as_completed([waiting.submit(part.wait) for part in running]):
                if status == 0 and ended.result() != 0:
                    status = ended.result()
                    for part in running:
                        part.terminate()
        write(self.test_log, "".join(map(read, logs)))
        return status

    def failing_test(self, name):
        """The test that fails, None where all pass. One that passes when it is run again, alone,
        failed because the machine was busy: the others are run again without it."""
        program = PROGRAMS[name]
        tests = program.tests
        while True:
            status = self.run_tests(name, program.parts, tests)
            if status == 0:
                return None
            failed = re.search(r"^\[ *FAILED *\] ([^ ,\n]+)", read(self.test_log), re.MULTILINE)
            if not failed:  # a program crashed or hung
                return f"status {status}"
            if self.run_tests(name, 1, failed[1]) != 0:
                return failed[1]
            with open(self.work / "busy.txt", "a", encoding="utf-8") as busy:
                busy.write(f"{name}: {failed[1]} failed once\n")
            tests += f":{failed[1]}"

    def check_without_fault(self, names):
        """All tests that will be run must pass, or they prove nothing."""
        for name in names:
            if not self.build(name) or self.failing_test(name):
                raise Broken(f"{name} fails without any fault: {self.build_log}, {self.test_log}")

    def what_notices(self, names):
        for name in names:
            if not self.build(name):
                return "noticed: compiler"
            test = self.failing_test(name)
            if test:
                return f"noticed: {name}, {test}"
        return "survived"

    def try_fault(self, fault):
        """What became of a fault."""
        path = self.path / fault.file
        text = read(path)
        write(path, text.replace(fault.old, fault.new))
        try:
            return self.what_notices(fault.programs())
        finally:
            write(path, text)


def faults_of_the_list(pattern):
    lines = read(ROOT / "tests/mutations/list.txt").splitlines()
    return [Fault(*line.split(" | ", 3)) for line in lines
            if line and not line.startswith("#") and re.search(pattern, line)]


def prepare_environment(work, folder):
    """For all that is built and run: builds of nearly the same share what is compiled once, a crash
    leaves no image of its memory, and what a test that is broken off leaves behind lies in a folder
    that goes, where jobs of other users may write."""
    if not os.environ.get("CMAKE_CXX_COMPILER_LAUNCHER") and shutil.which("ccache"):
        os.environ.update(CMAKE_CXX_COMPILER_LAUNCHER="ccache", CCACHE_BASEDIR=str(work),
                          CCACHE_NOHASHDIR="1")
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    os.chmod(folder, 0o1777)
    os.environ["TMPDIR"] = folder


def try_all(faults, work, jobs):
    """One line for each fault: what became of it, file, text, what would print."""
    needed = sorted({name for fault in faults for name in fault.programs()})
    first = Copy(work, 0)
    first.prepare()
    for name in needed:  # the other copies find it compiled
        if not first.build(name):
            raise Broken(read(first.build_log))
    left = collections.deque(faults)
    results = []
    telling = threading.Lock()

    def worker(number):
        """Takes faults while there are any, in a copy of its own."""
        copy = Copy(work, number)
        if number == 0:
            copy.check_without_fault(needed)
        else:
            copy.prepare()
        while True:
            try:
                fault = left.popleft()
            except IndexError:
                return
            line = "\t".join([copy.try_fault(fault), fault.file, fault.old, fault.meaning])
            with telling:
                results.append(line)
                write(work / "results.txt", "\n".join(sorted(results)) + "\n")
                print(line, flush=True)

    with ThreadPoolExecutor(jobs) as workers:
        try:
            for ended in as_completed([workers.submit(worker, n) for n in range(jobs)]):
                ended.result()
        except KeyboardInterrupt:  # nobody waits for tests that go on
            shutil.rmtree(os.environ["TMPDIR"], ignore_errors=True)
            os._exit(130)
        finally:
            left.clear()  # where one worker gives up, the others end with the fault that they have
    return sorted(results)


def verdict(results):
    """Tells what was noticed and what not; whether it is enough."""
    noticed = [line for line in results if line.startswith("noticed")]
    survived = [line for line in results if line.startswith("survived")]
    same = [line for line in survived if line.split("\t")[3].startswith("same:")]
    total = len(results) - len(same)
    print(f"\n{len(noticed)} of {total} faults noticed; {len(same)} more change no result")
    for name, count in sorted(collections.Counter(
            re.match("noticed: [a-z]*", line)[0] for line in noticed).items()):
        print(f"{count:7} {name}")
    print("\n".join(survived))
    return len(noticed) * 100 >= total * LEAST


def main():
    if not 2 <= len(sys.argv) <= 3 or (sys.argv[1][:1] == "-" and sys.argv[1] != "--check"):
        print(__doc__, file=sys.stderr)
        return 2
    pattern = sys.argv[2] if len(sys.argv) == 3 else ""
    faults = faults_of_the_list(pattern)
    if not faults:
        print(f"mutations: no fault matches {pattern}", file=sys.stderr)
        return 2
    stale = [fault for fault in faults if fault.is_stale()]
    for fault in stale:
        print("stale, the text is not there exactly once:", " | ".join(fault), file=sys.stderr)
    if stale or sys.argv[1] == "--check":
        return 1 if stale else 0
    work = pathlib.Path(sys.argv[1]).resolve()
    work.mkdir(parents=True, exist_ok=True)
    for name in ("busy.txt", "results.txt"):
        (work / name).unlink(missing_ok=True)
    jobs = int(os.environ.get("JOBS") or os.cpu_count())
    print(f"{len(faults)} faults, {jobs} at a time", flush=True)
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as folder:
        prepare_environment(work, folder)
        try:
            return 0 if verdict(try_all(faults, work, jobs)) else 1
        except Broken as why:
            print(f"mutations: {why}", file=sys.stderr)
            return 1


sys.exit(main())
