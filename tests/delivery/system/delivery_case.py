"""What the tests of delivery share: a print system for each class, printers, the labels that a
document should give, and what must hold at the end of every test whatever happened in it.
"""

import glob
import os
import re
import shutil
import subprocess
import sys
import unittest

import documents
import machine
import rig
from printer import Printer

HERE = os.path.dirname(os.path.abspath(__file__))
BUILD = os.path.realpath(os.environ.get("KESTRA_BUILD", "build-test"))
STOCK = os.environ.get("KESTRA_STOCK", "")
JOBS = int(os.environ.get("KESTRA_JOBS", "50"))  # of the test of many jobs
STATE = "/tmp/rig/machine/var/lib/rastertokestra"
NEWS = ("kestra", "kestrafit", "kestrasize", "rastertokestra", "gs", "pdftopdf", "gstoraster")
SKIPPED = 77

#: A label that the printer's buffer cannot hold: a printer that stops in it stops its sender too.
LARGE = {"width": 812, "height": 600, "size_name": "w288h216"}
LARGE_MM = 75


def large(labels, first=1):
    return documents.raster(labels, first, **LARGE)


def stock_backend(name):
    """Path of the print system's own backend `name`; None where there is none."""
    for home in (rig.STOCK, STOCK):
        for room in ("backend", "backend-available"):
            path = f"{home}/{room}/{name}"
            if home and os.path.exists(path):
                return path
    return None


def main(*keep):
    """Runs a file of tests inside namespaces of its own. `keep`: more folders that it needs."""
    refused = machine.enter([BUILD, HERE, *keep] + ([STOCK] if STOCK else []))
    if refused:
        print(refused)
        sys.exit(SKIPPED)
    unittest.main(verbosity=2)


class DeliveryCase(unittest.TestCase):
    """A test with a print system that it may kill. `rules`: more lines for the server."""

    rules = ""

    @classmethod
    def setUpClass(cls):
        subprocess.run(["rm", "-rf", "/tmp/rig", rig.SPOOL], check=True)
        cls.system = rig.PrintSystem(BUILD, stock=STOCK or None, rules=cls.rules)
        # Thousands of pages must not fill the machine's memory.
        with open("/tmp/rig/machine/etc/rastertokestra.conf", "w", encoding="utf-8") as out:
            out.write("debug-images 8 MB\n")
        cls.system.install("backend", "nowhere", b"#!/bin/sh\nexec cat >/dev/null\n")
        cls.system.start()
        cls._printers = 0
        cls._wanted = {}

    @classmethod
    def tearDownClass(cls):
        cls.system.stop()
        rig.eventually(lambda: not machine.processes("kestra"), what="no process of ours is left")

    def setUp(self):
        self.printers = []
        for frame in self.system.frames():  # of a test that failed, or planted
            shutil.rmtree(frame) if os.path.isdir(frame) else os.unlink(frame)

    def tearDown(self):
        for one in self.printers:
            one.close()
        for number in self.system.jobs() if self.system.server else ():  # of a test that failed
            self.system.cancel(number)

    # --- what should come -------------------------------------------------------------------------

    def wanted(self, document, options="", queue_options=None):
        """List of the labels that a document gives: the filter's frames without any delivery.

        A raster document is given to the filter alone, any other goes through a queue whose printer
        is nowhere.
        """
        key = (hash(document), options, str(queue_options))
        if key not in self._wanted:
            if document[:4] == b"3SaR":
                frames = self._frames_of_filter(document, options)
            else:
                frames = self._frames_of_queue(document, options.split(), queue_options)
            said = subprocess.run([f"{BUILD}/kestra-paper", "--digest", *frames], check=True,
                                  capture_output=True, text=True).stdout
            for frame in frames:
                os.unlink(frame)
            self._wanted[key] = [line.split()[0] for line in said.splitlines()]
        return self._wanted[key]

    def _frames_of_filter(self, document, options):
        path = self.system.document(document)
        environment = {"PPD": self.system.ppd(), "TMPDIR": rig.SPOOL + "/tmp"}
        program = f"{self.system.bin}/filter/rastertokestra"  # there for every user
        subprocess.run([program, "900001", "lp", "title", "1", options, path],
                       env=environment, user="lp", group="lp", extra_groups=[], umask=0o077,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
        return self.system.frames(900001)

    def _frames_of_queue(self, document, options, queue_options):
        self.system.queue("nowhere", "nowhere:/", options=queue_options)
        number = self.system.lp("nowhere", document,
                                words=[word for one in options for word in ("-o", one)])
        self.assertEqual(self.system.wait(number).state, rig.COMPLETED)
        return self.system.frames(number)

    @staticmethod
    def listed(*digests):
        """Text of a list of labels; every label is named by its place."""
        flat = [one for part in digests for one in part]
        return "".join(f"{one} {place}\n" for place, one in enumerate(flat, 1))

    def assert_all_differ(self, digests, count):
        self.assertEqual(len(digests), count)
        self.assertEqual(len(set(digests)), count, "two labels of the document are equal")

    # --- printers and queues ----------------------------------------------------------------------

    def printer(self, wanted=(), **words):
        """A printer that should get the labels `wanted` (digests)."""
        type(self)._printers += 1
        one = Printer(BUILD, f"/tmp/rig/printer-{self._printers}", self.listed(wanted), **words)
        self.printers.append(one)
        return one

    def queue(self, printer, name="label", host="127.0.0.1", **words):
        self.system.queue(name, "kestra:" + printer.uri(host), **words)
        return name

    # --- processes --------------------------------------------------------------------------------

    def fronts(self):
        """The processes that the print system itself started as our backend."""
        return [pid for pid in machine.processes("kestra") if not machine.leads_session(pid)]

    def senders(self):
        """Those that print: of all that outlive the print system, the ones without its rights."""
        return [pid for pid in machine.processes("kestra")
                if machine.leads_session(pid) and machine.owner(pid) not in (0, None)]

    def kill(self, pids, sign):
        for pid in pids:
            os.kill(pid, sign)

    def await_stop_heard(self):
        """Waits until the processes that the print system has just asked to end have taken notice.

        Before that the printer must not read on: its sender would go on with the next labels.
        """
        rig.eventually(machine.has_heard_the_end, what="all of ours have heard that they should end")

    def monitors(self, number):
        """Lines of a job's log that say that a port monitor was started."""
        return [line for line in self.system.log(number) if "port monitor" in line.lower()
                or "/monitor/kestra" in line]

    # --- judgement --------------------------------------------------------------------------------

    def announced(self, number, words="may come twice"):
        """Labels of which the job said that they `words`."""
        found = set()
        for line in self.system.log(number):
            one = re.search(rf"Labels? (\d+)(?: to (\d+))? {words}", line)
            if one:
                found.update(range(int(one[1]), int(one[2] or one[1]) + 1))
        return found

    def assert_printed(self, number, labels, seconds=rig.PATIENCE):
        """The job is completed and says that so many labels came."""
        try:
            job = self.system.wait(number, seconds=seconds)
        except rig.Failure:
            self.fail(f"{self.system.job(number)} does not end\n" + self.story(number))
        if (job.state, job.sheets) != (rig.COMPLETED, labels):
            self.fail(f"{job}, not {labels} printed\n" + self.story(number))
        return job

    def assert_each_once(self, printer):
        """All labels came, each once, in order, whole, and nothing else did."""
        verdict = printer.judge()
        self.assertEqual(verdict["status"], 0, self.trouble(printer))

    def assert_each_came(self, printer, twice=(), torn=0):
        """All labels came in order; only the places `twice` may have come twice, each once more."""
        verdict = printer.judge()
        for fault in ("lost", "out_of_order", "unknown"):
            self.assertEqual(verdict[fault], [], self.trouble(printer))
        self.assertEqual(verdict["garbage"], 0, self.trouble(printer))
        self.assertLessEqual(verdict["torn"], torn, self.trouble(printer))
        for one in verdict["twice"]:
            self.assertIn(int(one["name"]), twice, self.trouble(printer))
            self.assertEqual(one["count"], 1, self.trouble(printer))

    def assert_tidy(self, *numbers):
        """Nothing of a job is left: no frame, no process."""
        rig.eventually(lambda: not any(machine.processes(name) for name in NEWS),
                       what="the job's programs have ended")
        self.assertEqual(self.system.frames(), [])
        self.assertEqual(glob.glob(STATE + "/jobs/*/*/frame-*"), [])

    def story(self, number):
        """What the job's log and its journals say, without the lines that every page has."""
        dull = ("header.", "printImage", "PageProcess", "GrayToMono", "KCLSend", "envp[",
                "current l")
        lines = [line[2:] for line in self.system.log(number)
                 if not any(word in line for word in dull)]
        for journal in sorted(glob.glob(STATE + "/jobs/*/*/journal")):
            with open(journal, encoding="utf-8", errors="replace") as file:
                text = file.read()
            if f"job {number} " in text or f" {number} " in text.split("\n", 1)[0]:
                lines += [journal] + [re.sub(r"([0-9a-f]{8})[0-9a-f]{50,}", r"\1", text)]
        return "\n".join(lines)

    def trouble(self, printer):
        jobs = [number for number in self.system.jobs("all")][-3:]
        return "\n".join([str(printer.verdict)] + [self.story(one) for one in sorted(jobs)])
