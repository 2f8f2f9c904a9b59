"""What people do to a job that prints: cancel, hold, resume, restart, change, stop the queue."""

import time

import delivery_case
import documents
import machine
import rig
from delivery_case import DeliveryCase, LARGE, LARGE_MM, large
from printer import UNTIL_TOLD

COUNT = 8
TIMES = 8


class PeopleAtWork(DeliveryCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        # Four times what all buffers between sender and printer hold, and dots from top to bottom.
        cls.document = documents.raster(COUNT, times=TIMES, **LARGE)
        cls.small = documents.raster(COUNT)

    def begun(self, label=3, fault=f"pause {UNTIL_TOLD}", options=None, percent=15):
        """A job whose printer stands still within a label: (printer, queue, number)."""
        labels = self.wanted(self.document)
        self.assert_all_differ(labels, COUNT)
        printer = self.printer(labels, speed=15 * TIMES * LARGE_MM,
                               faults=[f"label {label} {percent}% {fault}"])
        queue = self.queue(printer)
        number = self.system.lp(queue, self.document, options=options)
        printer.await_action(fault.split()[0])
        return printer, queue, number

    @staticmethod
    def nobody_works():
        rig.eventually(lambda: not machine.processes("kestra"), what="the sender has left")

    def goes_on_and_leaves(self, printer):
        """The printer reads on, and prints half a label, when the sender knows that it shall stop.
        A sender whose printer reads no more would be ended after 4 seconds."""
        self.await_stop_heard()
        printer.go_on()
        self.nobody_works()

    def assert_ended_in_white(self, printer, place):
        """The label of this place (from 1) came whole, and its last part has no dots."""
        label = [one for one in printer.events("label") if one["whole"]][place - 1]
        self.assertNotIn(label["digest"], self.wanted(self.document))
        self.assertGreater(label["white_tail"], label["rows"] // 4)
        self.assertLess(label["white_tail"], label["rows"])

    # --- cancel -----------------------------------------------------------------------------------

    def test_a_job_is_cancelled_in_a_label_which_is_ended_in_white_and_the_next_one_is_clean(self):
        after = large(2, 101)
        printer, queue, number = self.begun(label=3)
        self.system.cancel(number)
        self.goes_on_and_leaves(printer)
        job = self.system.wait(number)
        self.assertEqual((job.state, job.sheets), (rig.CANCELED, 2))
        self.system.await_log(number, "Stopped in label 3; the rest of it stays white.")
        self.assert_printed(self.system.lp(queue, after), 2)
        wanted = self.wanted(self.document)
        verdict = printer.judge()
        came = printer.labels()
        self.assertEqual(came[:2] + came[3:], wanted[:2] + self.wanted(after))
        self.assert_ended_in_white(printer, 3)
        self.assertEqual((verdict["torn"], verdict["faults"], verdict["garbage"]), (0, 0, 0))
        self.assert_tidy()

    def test_a_job_is_cancelled_at_a_dead_printer_and_the_next_one_is_clean(self):
        after = large(2, 101)
        printer, queue, number = self.begun(label=3, fault="deaf")
        self.system.cancel(number)
        self.nobody_works()
        self.assertEqual(self.system.wait(number).state, rig.CANCELED)
        self.system.await_log(number, "Stopped in label 3, which is cut off: the printer takes no more")
        self.assert_printed(self.system.lp(queue, after), 2)
        wanted = self.wanted(self.document)
        printer.judge()
        self.assertEqual(printer.labels(), wanted[:2] + self.wanted(after))
        self.assertEqual(len(printer.torn()), 1)
        self.assert_tidy()

    def test_a_job_is_cancelled_that_waits_for_its_printer(self):
        printer = self.printer(faults=[f"start refuse {UNTIL_TOLD}"])
        number = self.system.lp(self.queue(printer), self.document)
        self.system.await_log(number, "Waiting for the printer at")
        self.system.cancel(number)
        self.nobody_works()
        self.assertEqual(self.system.wait(number).state, rig.CANCELED)
        self.assert_tidy()

    # --- hold, stop, restart ----------------------------------------------------------------------

    def test_a_job_is_held_in_a_label_and_resumed(self):
        printer, _, number = self.begun(label=3)
        self.system.hold(number)
        self.system.wait(number, [rig.HELD])
        self.goes_on_and_leaves(printer)
        printer.await_labels(3)
        self.system.resume(number)
        self.assert_printed(number, COUNT)
        wanted = self.wanted(self.document)
        printer.judge()
        came = printer.labels()
        # The label that was under way is ended in white, and comes again as a whole.
        self.assert_ended_in_white(printer, 3)
        self.assertEqual(came[:2] + came[3:], wanted)
        self.assertEqual(printer.torn(), [])
        self.assert_tidy()

    def test_the_queue_is_stopped_in_a_label_and_started_again(self):
        printer, queue, number = self.begun(label=3)
        self.system.disable(queue)
        self.goes_on_and_leaves(printer)
        self.assertEqual(self.system.printer(queue)["printer-state"], rig.PAUSED)
        self.system.enable(queue)
        self.assert_printed(number, COUNT)
        wanted = self.wanted(self.document)
        printer.judge()
        came = printer.labels()
        self.assert_ended_in_white(printer, 3)
        self.assertEqual(came[:2] + came[3:], wanted)
        self.assertEqual(printer.torn(), [])
        self.assert_tidy()

    def test_an_ended_job_is_printed_again_where_a_person_asks_for_it(self):
        wanted = self.wanted(self.document)
        printer = self.printer(wanted + wanted + wanted)
        number = self.system.lp(self.queue(printer), self.document)
        self.assert_printed(number, COUNT)
        for time_before in (1, 2):
            # The print system tells two prints apart by the second in which the one before ended.
            ended = self.system.job(number).attributes["time-at-completed"]
            rig.eventually(lambda after=ended: int(time.time()) > after)
            self.system.restart_job(number)
            printer.await_labels(time_before * COUNT + 1)
            self.assert_printed(number, COUNT)
        self.assert_each_once(printer)
        self.assert_tidy()

    def test_a_job_that_is_printed_again_is_cut_off_and_goes_on_where_it_was(self):
        wanted = self.wanted(self.document)
        printer = self.printer(wanted + wanted, speed=15 * TIMES * LARGE_MM,
                               faults=[f"label {COUNT + 4} 50% reset"])
        number = self.system.lp(self.queue(printer), self.document)
        self.assert_printed(number, COUNT)
        self.system.restart_job(number)
        printer.await_labels(COUNT + 1)
        self.system.wait(number, [rig.COMPLETED])
        # Every label is wanted twice, so a third one counts as "twice".
        twice = {COUNT + place for place in self.announced(number)}
        self.assert_each_came(printer, twice | self.announced(number), torn=1)
        self.assert_tidy()

    # --- changes ----------------------------------------------------------------------------------

    def test_a_job_that_is_changed_while_it_is_held_is_held_again_and_then_printed_anew(self):
        printer, _, number = self.begun(label=3)
        self.system.hold(number)
        self.system.wait(number, [rig.HELD])
        self.goes_on_and_leaves(printer)
        self.system.change(number, MirrorImage="True")
        mirrored = self.wanted(self.document, "MirrorImage=True")
        self.assertNotEqual(mirrored[0], self.wanted(self.document)[0])
        self.system.resume(number)
        job = self.system.wait(number, [rig.HELD] + list(rig.ENDED))
        self.assertEqual(job.state, rig.HELD, self.story(number))
        self.assertEqual(job.message, "The job was changed after 2 of its labels came. Resume it "
                         "to print all labels anew, or cancel it.")
        printer.await_labels(3)
        self.system.resume(number)
        job = self.system.wait(number)
        self.assertEqual(job.state, rig.COMPLETED)
        printer.judge()
        self.assertEqual(printer.labels()[3:], mirrored)
        self.assert_tidy()

    def test_the_queue_gets_another_printer_in_a_label(self):
        other = self.printer()
        printer, queue, number = self.begun(label=3)
        self.system.run("lpadmin", "-p", queue, "-v", "kestra:" + other.uri())
        printer.go_on()
        self.assert_printed(number, COUNT)
        wanted = self.wanted(self.document)
        for one in (printer, other):
            one.judge()
        self.assertEqual(printer.labels() + other.labels(), wanted)
        self.assertGreaterEqual(len(printer.labels()), 3)
        self.assertEqual(printer.torn() + other.torn(), [])
        self.assert_tidy()

    # --- doubt ------------------------------------------------------------------------------------

    # How much of the labels behind the one that it reads a printer has room for is its system's
    # affair, so the job is asked which labels are in doubt, and the printer which of them had come.

    def in_doubt(self, percent, doubt):
        """A job with labels in doubt: a printer with room for most of a label reset when it had
        read so much of label 5, and forgot what it had taken beyond.
        """
        labels = self.wanted(self.small)
        self.assert_all_differ(labels, COUNT)
        printer = self.printer(labels, speed=300, faults=[f"label 5 {percent}% reset-unread"])
        return printer, self.system.lp(self.queue(printer), self.small, options={"doubt": doubt})

    def told(self, number, words):
        found = self.announced(number, words)
        self.assertTrue(found and found <= {4, 5, 6}, f"{found}\n{self.story(number)}")
        return found

    def had_come(self, printer):
        """Places of the labels that were out when the printer reset."""
        first = {one["digest"] for one in printer.events("label")
                 if one["whole"] and one["connection"] == 1}
        return {place for place, one in enumerate(self.wanted(self.small), 1) if one in first}

    def assert_judged(self, printer, twice=(), lost=()):
        verdict = printer.judge()
        self.assertEqual(verdict["out_of_order"], [])
        self.assertEqual({int(one["name"]): one["count"] for one in verdict["twice"]},
                         {one: 1 for one in twice}, self.trouble(printer))
        self.assertEqual({int(one) for one in verdict["lost"]}, set(lost), self.trouble(printer))
        self.assert_tidy()

    def test_a_person_decides_that_labels_in_doubt_are_printed_again(self):
        printer, number = self.in_doubt(100, "hold")
        job = self.system.wait(number, [rig.HELD] + list(rig.ENDED))
        self.assertEqual(job.state, rig.HELD, self.story(number))
        held = self.told(number, "may have come or not")
        self.assertIn("doubt=skip", job.message)
        self.assertEqual(self.had_come(printer), {1, 2, 3, 4, 5})
        self.system.resume(number)
        self.assert_printed(number, COUNT)
        self.assertEqual(self.announced(number), held)
        self.assert_judged(printer, twice=held & self.had_come(printer))

    def test_a_person_decides_that_labels_in_doubt_are_left_out(self):
        printer, number = self.in_doubt(100, "hold")
        self.system.wait(number, [rig.HELD])
        held = self.told(number, "may have come or not")
        self.system.run("lp", "-i", str(number), "-o", "doubt=skip", "-H", "resume")
        job = self.system.wait(number)
        self.assertEqual((job.state, job.sheets), (rig.COMPLETED, COUNT - len(held)))
        self.assertEqual(self.announced(number, "may be missing"), held)
        self.assert_judged(printer, lost=held - self.had_come(printer))

    def test_no_label_comes_twice_where_those_in_doubt_are_left_out(self):
        for percent in (80, 100):
            with self.subTest(percent=percent):
                printer, number = self.in_doubt(percent, "skip")
                self.assertEqual(self.system.wait(number).state, rig.COMPLETED)
                left_out = self.told(number, "may be missing")
                self.assert_judged(printer, lost=left_out - self.had_come(printer))

    def test_no_label_is_missing_where_those_in_doubt_are_printed_again(self):
        for percent in (80, 100):
            with self.subTest(percent=percent):
                printer, number = self.in_doubt(percent, "again")
                self.assert_printed(number, COUNT)
                again = self.told(number, "may come twice")
                self.assert_judged(printer, twice=again & self.had_come(printer))


if __name__ == "__main__":
    delivery_case.main()
