#!/usr/bin/env python3
"""The power is lost at any moment of a job: no label is lost, none comes twice unannounced.

What the printer got before and after is judged by kestra-paper, connection by connection.
"""
import concurrent.futures
import os
import pathlib
import signal
import socket
import subprocess
import tempfile
import time
import unittest

import job
import traced

LABEL = len(job.LABELS[0])
# Whatever reaches the disk or the printer, and where a program waits.
CALLS = ("write", "pwrite64", "fdatasync", "fsync", "fallocate", "ftruncate", "link", "linkat",
         "rename", "unlink", "mkdir", "fchmod", "fchown", "flock", "sendto", "shutdown", "close",
         "poll")


def wanted():
    """The list of the job's labels, as kestra-paper makes it of their frames."""
    with tempfile.TemporaryDirectory() as folder:
        frames = [pathlib.Path(folder, f"label-{number}") for number in (1, 2)]
        for number, one in enumerate(frames, 1):
            one.write_bytes(job.frame(number))
        words = [job.BUILD / "kestra-paper", "--digest", *frames]
        return subprocess.run(words, capture_output=True, check=True).stdout


def judged(connections, repeats):
    """What kestra-paper has against these connections; labels cut off by a power loss and so many
    labels more than wanted are no fault. Nothing: all is well."""
    with tempfile.TemporaryDirectory() as folder:
        place = pathlib.Path(folder)
        (place / "wanted").write_bytes(wanted())
        paper = subprocess.Popen(
            [job.BUILD / "kestra-paper", f"unix:{place}/printer", "--expect", place / "wanted",
             "--log", place / "log", "--ready", place / "ready", "--allow-torn", "--allow-twice",
             str(repeats), "--quiet"], stderr=subprocess.PIPE)
        with paper:
            while not (place / "ready").exists() and paper.poll() is None:
                time.sleep(0.001)
            for got in connections:
                with socket.socket(socket.AF_UNIX) as wire:
                    wire.connect(f"{place}/printer")
                    wire.sendall(got)
                    wire.shutdown(socket.SHUT_WR)
                    wire.recv(1)  # it has read all, and hangs up
            paper.send_signal(signal.SIGTERM)
            _, errors = paper.communicate(timeout=traced.PATIENCE)
        said = (place / "log").read_text().splitlines()[-1]
        return None if paper.returncode == 0 else f"{said}\n{errors.decode()}"


def finish(place, printer, before=""):
    """Starts the job until it is over; what is wrong with all that came, or nothing."""
    runs = [place.start("kestra", "kestra:" + printer.uri())]
    while runs[-1].status != 0 and len(runs) < 6:
        runs.append(place.start("kestra", "kestra:" + printer.uri()))
    errors = before + "".join(one.errors for one in runs)
    if runs[-1].status != 0:
        return "the job does not end:\n" + errors
    printer.close()
    announced = len(job.announced(errors))
    problem = judged(list(map(bytes, printer.connections)), announced)
    if announced > 1:
        problem = f"{announced} labels in doubt, {problem}"
    return problem and f"{problem}\n{errors}"


def journal(place):
    """The file in which a job's start keeps what came."""
    return next(place.root.glob("tree/var/lib/rastertokestra/jobs/*/*/journal"))


class PowerLossTest(unittest.TestCase):
    """One job of two labels."""

    def sweep(self, survive, cases):
        """Every case by itself; `survive` says what is wrong."""
        with concurrent.futures.ThreadPoolExecutor(4) as pool:
            found = [f"{case}: {one}" for case, one in zip(cases, pool.map(survive, cases)) if one]
        self.assertEqual(found, [], "\n\n".join(found))

    def test_whatever_part_of_a_note_is_on_the_disk(self):
        """The journal ends at any of its bytes. What the printer has then follows from the order of
        notes and bytes: for each label all but one byte, "closing", that byte, "done"."""
        def survive(size):
            with job.Place() as place, job.Printer() as printer:
                whole = place.start("kestra", "kestra:" + printer.uri())
                end = time.monotonic() + traced.PATIENCE  # its system has them, the printer will
                while job.labels(printer.connections) != [1, 2]:
                    if whole.status != 0 or time.monotonic() > end:
                        return "nothing was printed:\n" + whole.errors
                    time.sleep(0.001)
                notes = journal(place)
                os.truncate(notes, min(size, notes.stat().st_size))  # ports have 4 or 5 digits
                line = notes.read_bytes().count(b"\n")
                came = {0: 0, 1: LABEL - 1, 2: LABEL, 3: 2 * LABEL - 1}.get(line, 2 * LABEL)
                printer.connections[:] = [bytearray(b"".join(job.LABELS)[:came])]
                return finish(place, printer)

        with job.Place() as place, job.Printer() as printer:
            place.start("kestra", "kestra:" + printer.uri())
            text = journal(place).read_bytes()
        self.assertEqual(text.count(b"\n"), 6, text)
        self.sweep(survive, range(len(text) + 1))

    def test_at_any_call_that_changes_the_disk_or_reaches_the_printer(self):
        """The program that makes the call dies before it is done, and with it all that is left."""
        def survive(case):
            name, number = case
            with job.Place() as place, job.Printer() as printer:
                lost = place.start("kestra", "kestra:" + printer.uri(),
                                   faults=[f"{name}:signal=KILL:when={number}"])
                place.end_all()
                return finish(place, printer, lost.errors)

        with job.Place() as place, job.Printer() as printer, tempfile.NamedTemporaryFile() as log:
            clean = place.start("kestra", "kestra:" + printer.uri(), log=log.name)
            self.assertEqual(clean.status, 0, clean.errors)
            cases = [(name, one) for name in CALLS for one in traced.places(log.name, name)]
        self.assertGreater(len(cases), 30)
        self.sweep(survive, cases)


if __name__ == "__main__":
    traced.main()
