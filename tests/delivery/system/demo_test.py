"""The demo that prints three labels to a printer without paper: what it shows, what it leaves."""

import contextlib
import glob
import os
import struct
import subprocess
import unittest

import delivery_case
import rig
from delivery_case import BUILD, HERE

DEMO = os.path.realpath(f"{HERE}/../../../tools/demo")
PICTURES = "/tmp/pictures"


def left_on_the_machine():
    """Processes, mounts and files; of the namespaces of this test, in which nothing else happens."""
    with open("/proc/self/mountinfo", encoding="utf-8") as mounts:
        return {"processes": [pid for pid in os.listdir("/proc") if pid.isdigit()],
                "mounts": mounts.read().splitlines(),
                "files": [path for room in ("/tmp", "/var/spool")
                          for folder, _, files in os.walk(room)
                          for path in (folder, *(f"{folder}/{name}" for name in files))
                          if not path.startswith(PICTURES)]}


class PrinterDemo(unittest.TestCase):
    maxDiff = None

    def test_three_labels_come_as_pictures_and_nothing_else_is_left(self):
        before = left_on_the_machine()
        done = subprocess.run([f"{DEMO}/printer.sh", "enter", BUILD, PICTURES], check=False,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, timeout=800)
        self.assertEqual(done.returncode, 0, done.stdout)
        # What has ended is buried a moment later.
        with contextlib.suppress(rig.Failure):
            rig.eventually(lambda: left_on_the_machine() == before, 60)
        self.assertEqual(left_on_the_machine(), before)
        sizes = []
        for path in glob.glob(f"{PICTURES}/*"):
            with open(path, "rb") as picture:
                head = picture.read(24)
            self.assertEqual(head[:8], b"\x89PNG\r\n\x1a\n", path)
            sizes.append(struct.unpack(">2I", head[16:24]))
        # One label of a document, two of the other: 832 dots of the head, 6 inches of 203 dots.
        self.assertEqual(sizes, 3 * [(832, 6 * 203)], done.stdout)
        self.assertEqual(done.stdout.count("came whole"), 3, done.stdout)


if __name__ == "__main__":
    delivery_case.main(DEMO)
