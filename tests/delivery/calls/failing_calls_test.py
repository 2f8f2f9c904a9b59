#!/usr/bin/env python3
"""Whatever call of the system fails under a job: no label is lost, none comes twice unannounced.

Of each call that a start makes the first, one in the middle and the last fail, each in a start of
its own; then the job is started again, as the print system does.
"""
import concurrent.futures
import subprocess
import tempfile
import unittest

import job
import traced

# What a worn disk, a full one, a machine short of everything answers.
FAILURES = {
    "openat": "EMFILE", "socket": "EMFILE", "socketpair": "EMFILE", "pipe2": "EMFILE",
    "clone": "EAGAIN", "dup2": "EMFILE", "dup3": "EMFILE",
    "newfstatat": "EACCES", "mkdir": "ENOSPC", "inotify_init1": "EMFILE",
    "inotify_add_watch": "ENOSPC", "setgroups": "EPERM", "setresgid": "EPERM",
    "setresuid": "EPERM", "fallocate": "ENOSPC", "fdatasync": "EIO", "fsync": "EIO",
    "ftruncate": "EIO", "link": "EXDEV", "unlink": "EIO", "getdents64": "EIO",
    "getsockopt": "ENOBUFS", "ioctl": "ENOTTY", "getsockname": "ENOBUFS", "signalfd4": "EMFILE",
    "write": "ENOSPC", "read": "EIO", "pread64": "EIO", "sendto": "ECONNRESET",
    "recvfrom": "ECONNRESET", "sendmsg": "EPIPE", "recvmsg": "EIO", "poll": "ENOMEM",
    "fchown": "EPERM", "fchmod": "EPERM", "setpgid": "EPERM", "prctl": "EINVAL",
    "getresuid": "EFAULT", "getresgid": "EFAULT", "sendfile": "EIO", "setuid": "EAGAIN",
    "setgid": "EPERM", "shutdown": "ENOTCONN",
}


# Between a sender and its starter, on this machine, nothing of the first gets lost; the last two
# would fail anew in each program that is started, for ever.
SURE = ("sendto", "recvfrom", "sendmsg", "recvmsg", "read", "poll", "dup2", "pread64")


def startings(place, uri, faults):
    """Starts the job with these faults, then without until it is over; what it said each time."""
    runs = [place.start("kestra", uri, faults=faults)]
    while runs[-1].status != 0 and len(runs) < 6:
        runs.append(place.start("kestra", uri))
    return runs


def few(numbers):
    """The first, the one in the middle, the last."""
    return sorted({numbers[0], numbers[len(numbers) // 2], numbers[-1]})


class FailingCallsTest(unittest.TestCase):
    """One job of two labels."""

    def cases(self, way_of, spared):
        """Calls of a start without faults: the name, and which of its calls."""
        with job.Place() as place, tempfile.NamedTemporaryFile() as log, way_of(place) as way:
            clean = place.start("kestra", way.uri, log=log.name)
            self.assertEqual(clean.status, 0, clean.errors)
            self.assertEqual(way.labels(), [1, 2])
            found = {name: traced.places(log.name, name) for name in FAILURES if name not in spared}
        return [(name, one) for name, numbers in found.items() if numbers for one in few(numbers)]

    def survive(self, way_of, name, number):
        """One fault; what is wrong with what came, or nothing."""
        fault = f"{name}:error={FAILURES[name]}:when={number}"
        with job.Place() as place, way_of(place) as way:
            try:
                runs = startings(place, way.uri, [fault])
            except subprocess.TimeoutExpired:
                return "it never ends: " + fault
            came = way.labels()
        errors = "\n".join(one.errors for one in runs)
        told = f"{fault}: {[one.status for one in runs]}, labels {came}\n{errors}"
        if came is None:
            return "something that is no label: " + told
        if runs[-1].status != 0:
            return "the job does not end: " + told
        twice = {one for one in came if came.count(one) > 1}
        if set(came) != {1, 2} or (came != [1, 2] and not twice):
            return "lost or out of order: " + told
        if not twice <= job.announced(errors):
            return "twice without a word: " + told
        return None

    def sweep(self, way_of, spared=()):
        """Every case by itself."""
        cases = self.cases(way_of, spared)
        self.assertGreater(len(cases), 50)
        with concurrent.futures.ThreadPoolExecutor(4) as pool:
            found = pool.map(lambda case: self.survive(way_of, *case), cases)
            problems = [one for one in found if one]
        self.assertEqual(problems, [], "\n\n".join(problems))

    def test_over_a_connection_no_label_is_lost_and_none_comes_twice_without_a_word(self):
        self.sweep(Network)

    def test_over_a_program_of_the_print_system_neither(self):
        self.sweep(Program, SURE)


class Network:
    """A printer on the network."""

    def __init__(self, _place):
        self.printer = job.Printer()
        self.uri = "kestra:" + self.printer.uri()
        self.is_over = False

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if not self.is_over:
            self.printer.close()

    def labels(self):
        """What came whole, in its order; the printer is gone then."""
        self.is_over = True
        self.printer.close()
        return job.labels(self.printer.connections)


class Program:
    """A program of the print system that takes one label a run, and that root alone may start."""

    def __init__(self, place):
        self.out = place.root / "out"
        self.out.mkdir()
        place.program("lpd", f"exec cat >{self.out}/$(date +%s%N)\n")
        self.uri = "kestra:lpd://localhost/label"

    def __enter__(self):
        return self

    def __exit__(self, *_):
        pass

    def labels(self):
        """What came whole, run by run."""
        return job.labels([one.read_bytes() for one in sorted(self.out.iterdir())])


if __name__ == "__main__":
    traced.main()
