"""The printer refuses, stalls, resets, closes, talks nonsense or loses its power or its cable."""

import os
import subprocess
import time

import delivery_case
import rig
from delivery_case import BUILD, DeliveryCase, LARGE_MM, large
from printer import Printer, UNTIL_TOLD

COUNT = 20
FAST = 20 * LARGE_MM  # a label in 50 ms


class FailingPrinters(DeliveryCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.document = large(COUNT)

    def print_with(self, *faults, torn=0, speed=FAST, meanwhile=None):
        """Prints a job at a printer that fails so; returns (printer, number, seconds).

        meanwhile: what is done, with printer and number, while the job is under way.
        """
        labels = self.wanted(self.document)
        self.assert_all_differ(labels, COUNT)
        printer = self.printer(labels, speed=speed, faults=faults)
        queue = self.queue(printer)
        start = time.monotonic()
        number = self.system.lp(queue, self.document)
        if meanwhile:
            meanwhile(printer, number)
        self.assert_printed(number, COUNT)
        took = time.monotonic() - start
        self.assertEqual(self.system.printer(queue)["printer-state-reasons"], "none")
        self.assert_tidy()
        if torn:
            self.assert_each_came(printer, self.announced(number), torn)
        else:
            self.assert_each_once(printer)
        return printer, number, took

    def says(self, number, words):
        self.assertTrue([line for line in self.system.log(number) if words in line],
                        f"{words} in\n{self.story(number)}")

    def test_it_refuses_at_first(self):
        def awaited(printer, number):
            self.system.await_log(number, "Waiting for the printer at "
                                  f"127.0.0.1:{printer.place}: connection refused")
            printer.listen()

        printer, number, _ = self.print_with(f"start refuse {UNTIL_TOLD}", meanwhile=awaited)
        self.says(number, f"Connected to the printer at 127.0.0.1:{printer.place}")
        self.says(number, "STATE: +offline-report")

    def test_it_refuses_for_a_while_in_a_label(self):
        self.print_with("label 8 50% refuse 2", torn=1)

    def test_it_runs_out_of_paper_in_a_label_for_longer_than_a_person_is_left_without_words(self):
        def missed(printer, number):
            self.system.await_log(number, "The printer takes no more data; is it out of paper or "
                                  "paused?")
            printer.go_on()

        _, number, _ = self.print_with(f"label 8 50% pause {UNTIL_TOLD}", meanwhile=missed)
        self.says(number, "takes data again")

    def test_it_resets_in_a_label(self):
        self.print_with("label 8 50% reset", torn=1)

    def test_it_resets_three_times(self):
        self.print_with("label 3 10% reset", "label 9 90% reset", "label 15 50% reset", torn=3)

    def test_it_resets_before_it_has_read_what_it_took(self):
        self.print_with("label 8 50% reset-unread", torn=1)

    def test_it_resets_at_the_end_of_a_label_before_it_has_read_what_it_took(self):
        for percent in (1, 96, 99, 100):
            with self.subTest(percent=percent):
                self.print_with(f"label 8 {percent}% reset-unread", torn=1)

    def test_it_resets_within_the_last_label_before_it_has_read_what_it_took(self):
        self.print_with(f"label {COUNT} 97% reset-unread", torn=1)

    def test_it_closes_the_connection_in_a_label(self):
        self.print_with("label 8 50% close", torn=1)

    def test_it_closes_the_connection_between_two_labels(self):
        self.print_with("after 8 close", torn=1)

    def test_it_never_closes_and_the_job_does_not_wait_for_it(self):
        for _ in range(10):  # on a busy machine a job can take a second longer by itself
            _, _, usual = self.print_with()
            _, _, took = self.print_with("start no-close")
            if took < usual + 1:
                break
        self.assertLess(took, usual + 1)

    def test_it_says_something(self):
        _, number, _ = self.print_with("label 2 garbage 1B 40 hello %s%n\nERROR: x",
                                       "label 5 garbage " + "FF " * 600)
        self.assertFalse([line for line in self.system.log(number) if line.startswith("E ")])

    def test_it_loses_its_power_in_a_label(self):
        self.print_with("label 8 50% power-cycle 1.5", torn=1)

    def test_it_takes_nothing_for_a_while_after_the_connection_is_there(self):
        self.print_with("connection 1 deaf 1")


class PulledCable(DeliveryCase):
    """A printer in a network of its own, at the other end of a cable that can be pulled."""

    def setUp(self):
        super().setUp()
        self.cable("add", "here", "type", "veth", "peer", "name", "there")
        subprocess.run(["ip", "addr", "add", "10.9.0.1/24", "dev", "here"], check=True)
        self.cable("set", "here", "up")

    def tearDown(self):
        super().tearDown()
        # Its other end may be gone already with the printer's network, and so is it then.
        subprocess.run(["ip", "link", "del", "here"], check=False, capture_output=True)

    @staticmethod
    def cable(*words):
        subprocess.run(["ip", "link", *words], check=True)

    def distant_printer(self, labels, **words):
        type(self)._printers += 1
        folder = f"/tmp/rig/printer-{self._printers}"
        place = f"/tmp/rig/network-{self._printers}"
        # The printer's program begins when the cable has been put into its network.
        script = (f"echo $$ > {place}.part; mv {place}.part {place}; until "
                  "ip link show there >/dev/null 2>&1; do "
                  "sleep 0.01; done; ip addr add 10.9.0.2/24 dev there && ip link set there up && "
                  "exec \"$@\"")

        def connect():
            rig.eventually(lambda: os.path.exists(place), what="the printer's network")
            with open(place, encoding="utf-8") as file:
                self.cable("set", "there", "netns", file.read().strip())

        one = Printer(BUILD, folder, self.listed(labels), source="tcp:10.9.0.2:9100",
                      within=["unshare", "--net", "sh", "-c", script, "sh"], meanwhile=connect,
                      **words)
        self.printers.append(one)
        return one

    def pulled(self, seconds, *faults):
        document = large(COUNT)
        labels = self.wanted(document)
        printer = self.distant_printer(labels, speed=FAST, faults=[
            f"label 8 50% pause {UNTIL_TOLD}", *faults])
        queue = self.queue(printer, host="10.9.0.2")
        number = self.system.lp(queue, document)
        printer.await_action("pause")
        self.cable("set", "here", "down")
        printer.go_on()
        time.sleep(seconds)
        self.cable("set", "here", "up")
        self.assert_printed(number, COUNT)
        self.assert_tidy()
        return printer, number

    def test_it_is_put_back_soon(self):
        printer, _ = self.pulled(1)
        self.assert_each_once(printer)

    def test_it_is_put_back_when_the_printer_has_lost_its_power_meanwhile(self):
        printer, number = self.pulled(1.5, "label 8 51% power-cycle 1")
        self.assert_each_came(printer, self.announced(number), torn=1)

    def test_there_is_no_cable_when_the_job_begins(self):
        document = large(3)
        printer = self.distant_printer(self.wanted(document))
        queue = self.queue(printer, host="10.9.0.2")
        self.cable("set", "here", "down")
        number = self.system.lp(queue, document)
        self.system.await_log(number, "Waiting for the printer at 10.9.0.2:9100: ")
        self.cable("set", "here", "up")
        self.assert_printed(number, 3)
        self.assert_each_once(printer)
        self.assert_tidy()


if __name__ == "__main__":
    delivery_case.main()
