"""Printers behind a program of the print system, shown with stand-ins: USB, and one run a label.

This machine has no USB device. The stand-in speaks the stock program's log lines and its side
channel, and the printer behind it keeps its state over connections, as one on a bus does.
"""

import os
import signal

import delivery_case
import documents
import machine
import rig
from delivery_case import HERE, DeliveryCase, LARGE_MM, large
from printer import UNTIL_TOLD

COUNT = 12

#: Takes a whole document before it sends anything, and ends well only when all was taken.
LPD = b"""#!/usr/bin/python3 -S
import os, socket, sys
if len(sys.argv) < 6:
    sys.exit(0)
document = sys.stdin.buffer.read()
printer = socket.socket(socket.AF_UNIX)
printer.connect(os.environ["DEVICE_URI"].partition("place=")[2] + "/socket")
printer.sendall(document)
printer.shutdown(socket.SHUT_WR)
printer.recv(1)
"""


class Wrapped(DeliveryCase):
    """Queues whose printer sits behind another program."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        with open(f"{HERE}/usb_stand_in.py", "rb") as stand_in:
            cls.system.install("backend", "usb", stand_in.read(), 0o744)
        cls.system.install("backend", "lpd", LPD, 0o744)

    def wrapped(self, scheme, wanted, way="kestra:", **words):
        """A printer behind the program of `scheme`, and its queue."""
        place = f"/tmp/rig/place-{type(self)._printers}"
        os.makedirs(place)
        printer = self.printer(wanted, source=f"unix:{place}/socket", **words)
        os.symlink(f"{printer.folder}/log", f"{place}/log")
        with open(f"{place}/pid", "w", encoding="utf-8") as out:
            out.write(str(printer.process.pid))
        self.system.queue(scheme, f"{way}{scheme}://Stand/In?place={place}")
        return printer, scheme

    def inner(self, scheme):
        """Processes of the program behind ours, by its path."""
        found = []
        for pid in filter(str.isdigit, os.listdir("/proc")):
            try:
                with open(f"/proc/{pid}/cmdline", "rb") as words:
                    if f"/backend/{scheme}\0".encode() in words.read():
                        found.append(int(pid))
            except OSError:
                pass
        return found

    def in_the_middle(self, scheme, document, wanted, **words):
        """A job whose printer stands still in the middle of a label: (printer, number)."""
        printer, queue = self.wrapped(scheme, wanted, speed=15 * LARGE_MM,
                                      faults=[f"label 5 50% pause {UNTIL_TOLD}"], **words)
        number = self.system.lp(queue, document)
        printer.await_action("pause")
        return printer, number


class UsbStandIn(Wrapped):
    STATE = {"words": ["--keep-state"]}

    def setUp(self):
        super().setUp()
        self.document = large(COUNT)
        self.labels = self.wanted(self.document)

    def test_each_label_comes_once(self):
        for document in (documents.raster(5), documents.pdf(3)):
            wanted = self.wanted(document)
            printer, queue = self.wrapped("usb", wanted, **self.STATE)
            self.assert_printed(self.system.lp(queue, document), len(wanted))
            self.assert_each_once(printer)
            self.assert_tidy()

    def test_a_queue_with_a_plain_address_prints_each_label_once_through_the_port_monitor(self):
        for document in (documents.raster(5), documents.pdf(3)):
            wanted = self.wanted(document)
            printer, queue = self.wrapped("usb", wanted, way="", **self.STATE)
            number = self.system.lp(queue, document)
            self.assert_printed(number, len(wanted))
            self.assertTrue(self.monitors(number), "no port monitor ran")
            backends = [line.rsplit("/", 1)[1].split()[0] for line in self.system.log(number)
                        if "Started backend" in line]
            self.assertEqual(backends, ["usb"])  # the one that sends
            self.assert_each_once(printer)
            self.assert_tidy()

    def test_the_stand_in_is_killed_in_a_label(self):
        printer, number = self.in_the_middle("usb", self.document, self.labels, **self.STATE)
        self.assertEqual(len(self.inner("usb")), 1)
        self.kill(self.inner("usb"), signal.SIGKILL)
        printer.go_on()
        self.assert_printed(number, COUNT)
        self.assert_each_came(printer, self.announced(number), torn=1)
        self.assert_tidy()

    def test_the_sender_is_killed_in_a_label_which_the_printer_is_made_to_forget(self):
        printer, number = self.in_the_middle("usb", self.document, self.labels, **self.STATE)
        self.assertEqual(len(self.senders()), 1)
        self.kill(self.senders(), signal.SIGKILL)
        printer.go_on()
        self.assert_printed(number, COUNT)
        self.assert_each_came(printer, self.announced(number), torn=1)
        self.assertEqual([one["cut"] for one in printer.torn()], ["soft reset"])
        self.assert_tidy()

    def test_the_job_is_cancelled_in_a_label_and_the_next_one_is_clean(self):
        after = large(2, 101)
        printer, number = self.in_the_middle("usb", self.document, (), **self.STATE)
        self.system.cancel(number)
        self.await_stop_heard()
        printer.go_on()
        rig.eventually(lambda: not machine.processes("kestra"), what="the sender has left")
        self.assertEqual(self.system.wait(number).state, rig.CANCELED)
        self.assert_printed(self.system.lp("usb", after), 2)
        verdict = printer.judge()
        self.assertEqual(printer.labels()[:4], self.labels[:4])
        self.assertEqual(printer.labels()[-2:], self.wanted(after))
        self.assertLessEqual(len(printer.labels()), 7)
        self.assertEqual(verdict["garbage"], 0)
        self.assert_tidy()


class OneRunALabel(Wrapped):
    def test_each_label_comes_once_in_a_run_of_its_own(self):
        document = documents.raster(5)
        printer, queue = self.wrapped("lpd", self.wanted(document))
        self.assert_printed(self.system.lp(queue, document), 5)
        self.assert_each_once(printer)
        self.assertEqual([one["connection"] for one in printer.events("label")], [1, 2, 3, 4, 5])
        self.assert_tidy()

    def test_the_program_is_killed_in_a_label(self):
        document = large(COUNT)
        printer, number = self.in_the_middle("lpd", document, self.wanted(document))
        self.assertEqual(len(self.inner("lpd")), 1)
        self.kill(self.inner("lpd"), signal.SIGKILL)
        printer.go_on()
        self.assert_printed(number, COUNT)
        self.assert_each_came(printer, self.announced(number), torn=1)
        self.assert_tidy()


if __name__ == "__main__":
    delivery_case.main()
