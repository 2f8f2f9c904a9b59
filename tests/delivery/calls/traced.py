"""Runs a program of delivery's with calls of the system that fail.

A disk without room, a system without memory, a signal in a bad moment cannot be had when a test
needs them: strace puts their errors in the place of a call's own result.
"""
import collections
import os
import re
import shutil
import subprocess
import sys
import unittest

PATIENCE = 120  # seconds; every run ends long before

Run = collections.namedtuple("Run", "status errors")
Call = collections.namedtuple("Call", "process name words")


def can_trace():
    """Whether strace is here and may look into a program."""
    if shutil.which("strace") is None:
        return False
    probe = ["strace", "-f", "-qq", "-o", "/dev/null", "-e", "inject=chdir:error=EIO:when=1", "true"]
    return subprocess.run(probe, capture_output=True, check=False).returncode == 0


def main():
    """Runs a file of tests; skipped where strace cannot look into programs."""
    if not can_trace():
        print("strace cannot look into programs here", file=sys.stderr)
        sys.exit(77)
    os.umask(0o022)
    unittest.main(verbosity=2)


def run(words, faults=(), log=os.devnull, **how):
    """Runs a program to its end. `faults`: expressions as strace takes them behind "inject="."""
    trace = ["strace", "-f", "-y", "-qq", "-o", log] if faults or log != os.devnull else []
    for fault in faults:
        trace += ["-e", "inject=" + fault]
    if faults and log == os.devnull:
        trace += ["-e", "trace=" + ",".join(one.split(":")[0] for one in faults)]
    done = subprocess.run(trace + words, stderr=subprocess.PIPE, timeout=PATIENCE, check=False, **how)
    return Run(done.returncode, done.stderr.decode(errors="replace"))


def calls(log):
    """The calls of a run, in their order."""
    with open(log, encoding="utf-8", errors="replace") as lines:
        for line in lines:
            found = re.match(r"(\d+) +(?:<\.\.\. )?(\w+)(\(.*)", line)
            if found and " resumed>" not in line:
                yield Call(*found.groups())


def places(log, name):
    """The numbers of a run's calls of this name that are the program's own: strace counts them for
    each process by itself, and the first process begins with those that load its libraries."""
    count = collections.Counter()
    loaded = None  # calls of the first process until then
    ours = set()
    first = None
    for call in calls(log):
        first = first or call.process
        if call.process == first and loaded is None:
            count[call.process] += call.name == name
            if call.name == "munmap" or call.name == "close_range":
                loaded = True
            continue
        if call.name != name or ".profraw" in call.words:
            continue
        count[call.process] += 1
        ours.add(count[call.process])
    return sorted(ours)
