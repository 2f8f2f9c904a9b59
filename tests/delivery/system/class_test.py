"""A class of two printers: what one cannot print comes out of the other."""

import subprocess
import time

import delivery_case
import rig
from delivery_case import BUILD, DeliveryCase, LARGE_MM, large
from printer import UNTIL_TOLD

COUNT = 20


class ClassOfTwo(DeliveryCase):
    # The server writes down what it knows at once: a job that it forgot nobody can bring.
    rules = "DirtyCleanInterval 0"

    def pair(self, faults=(), other=(), speed=15 * LARGE_MM):
        """Two printers of one class."""
        printers = [self.printer(speed=speed, faults=one) for one in (faults, other)]
        for place, one in enumerate(printers):
            self.queue(one, f"printer{place}")
        self.system.set_class("both", ["printer0", "printer1"])
        return printers

    def assert_all_came(self, wanted, printers, twice=()):
        """Both printers' labels in the order of their last bytes are the wanted ones."""
        for printer in printers:
            if printer.process.poll() is None:  # what it has taken it reads
                printer.judge()
        labels = sorted(((one["last"], one["digest"]) for printer in printers
                         for one in printer.events("label") if one["whole"]))
        for name, digests in (("wanted", wanted), ("came", [digest for _, digest in labels])):
            with open(f"/tmp/rig/{name}", "w", encoding="utf-8") as out:
                out.write(self.listed(digests))
        judged = subprocess.run([f"{BUILD}/kestra-paper", "--came", "/tmp/rig/came", "--expect",
                                 "/tmp/rig/wanted", "--allow-twice", str(len(twice))],
                                capture_output=True, text=True, check=False)
        self.assertEqual(judged.returncode, 0, judged.stderr)
        came = [digest for _, digest in labels]
        again = {place for place, one in enumerate(wanted, 1) if came.count(one) > 1}
        self.assertLessEqual(again, set(twice))

    def test_one_printer_dies_in_the_middle_and_the_other_brings_the_rest(self):
        document = large(COUNT)
        wanted = self.wanted(document)
        for fault in ("die", f"power-cycle {UNTIL_TOLD}"):
            with self.subTest(fault=fault):
                # Whichever gets the job first dies. The other one does not, whether or not the
                # label before is in doubt too, and comes twice.
                printers = self.pair([f"label 8 50% {fault}"], [f"label 15 50% {fault}"])
                number = self.system.lp("both", document)
                self.assert_printed(number, COUNT)
                self.assert_all_came(wanted, printers, self.announced(number))
                counts = [len(one.labels()) for one in printers]
                self.assertGreaterEqual(min(counts), 6, "only one printer printed")
                self.assert_tidy()

    def test_both_are_away_and_the_job_waits_without_being_started_all_the_time(self):
        document = large(5)
        start = time.monotonic()
        printers = self.pair(*2 * [[f"start refuse {UNTIL_TOLD}"]])
        number = self.system.lp("both", document)
        rig.eventually(lambda: self.starts(number) > 2, what="the job goes from printer to printer")
        for one in printers:
            one.listen()
        self.assert_printed(number, 5)
        seconds, starts = time.monotonic() - start, self.starts(number)
        self.assertLessEqual(starts, seconds / 2 + 1)
        self.assert_all_came(self.wanted(document), printers)
        self.assert_tidy()

    def starts(self, number):
        return len([line for line in self.system.log(number) if "Started backend" in line])

    def test_the_server_is_restarted_while_one_printer_is_away(self):
        document = large(COUNT)
        printers = self.pair([f"label 8 50% refuse {UNTIL_TOLD}"],
                             [f"label 15 50% refuse {UNTIL_TOLD}"])
        number = self.system.lp("both", document)
        rig.eventually(lambda: any(one.torn() for one in printers), what="a printer has gone")
        self.system.restart()
        self.assert_printed(number, COUNT)
        self.assert_all_came(self.wanted(document), printers, self.announced(number))
        self.assert_tidy()


if __name__ == "__main__":
    delivery_case.main()
