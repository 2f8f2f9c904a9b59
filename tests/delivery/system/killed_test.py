"""Programs of a job are killed in the middle of it, one after the other and together."""

import contextlib
import os
import pwd
import signal
import time

import delivery_case
import documents
import machine
import rig
from delivery_case import DeliveryCase, LARGE, LARGE_MM, large
from printer import UNTIL_TOLD

COUNT = 20


class KilledPrograms(DeliveryCase):
    def setUp(self):
        super().setUp()
        self.document = large(COUNT)
        self.labels = self.wanted(self.document)
        self.assert_all_differ(self.labels, COUNT)

    def in_the_middle(self, label=8, document=None, labels=None, also=(), options=None):
        """A job whose printer stands still in the middle of a label: (printer, queue, number)."""
        printer = self.printer((labels or self.labels) + list(also), speed=15 * LARGE_MM,
                               faults=[f"label {label} 50% pause {UNTIL_TOLD}"])
        queue = self.queue(printer)
        number = self.system.lp(queue, document or self.document, options=options)
        printer.await_action("pause")
        return printer, queue, number

    def stopped_when_rendering(self, program, document, labels):
        """A job one of whose programs stands still behind the first pages: (printer, number, ids).
        On a busy machine it can have run to its end; then there is another try.
        """
        for _ in range(5):
            printer, number, found = self.perhaps_stopped(program, document, labels)
            if machine.processes(program) and len(self.system.frames(number)) < COUNT:
                return printer, number, found
            self.send(found, signal.SIGCONT)
            self.assert_printed(number, COUNT)
        self.fail(f"{program} was always done too soon")

    @staticmethod
    def send(pids, sign):
        """To those that still live."""
        for pid in pids:
            with contextlib.suppress(ProcessLookupError):
                os.kill(pid, sign)

    def perhaps_stopped(self, program, document, labels):
        printer = self.printer(labels)
        number = self.system.lp(self.queue(printer), document)
        found = []

        def runs_or_has_run():
            found.extend(machine.processes(program))
            return found or self.system.job(number).state in rig.ENDED

        rig.eventually(runs_or_has_run, what=f"{program} runs", interval=0.0005)
        self.send(found, signal.SIGSTOP)

        def has_gone_a_step_on():
            if len(self.system.frames(number)) >= 2 or not machine.processes(program):
                return True
            self.send(found, signal.SIGCONT)
            time.sleep(0.002)
            self.send(found, signal.SIGSTOP)
            return False

        rig.eventually(has_gone_a_step_on, what=f"{program} has made two pages", interval=0)
        return printer, number, found

    def test_the_sender_is_killed_in_a_page(self):
        printer, _, number = self.in_the_middle()
        self.assertEqual(len(self.senders()), 1)
        self.kill(self.senders(), signal.SIGKILL)
        printer.go_on()
        self.assert_printed(number, COUNT)
        self.assert_each_came(printer, self.announced(number), torn=1)
        self.assert_tidy()

    def test_pages_are_counted_once_though_the_job_is_rendered_again(self):
        document = documents.pdf(COUNT)
        labels = self.wanted(document)
        self.assert_all_differ(labels, COUNT)
        for logging in ("off", "on"):
            with self.subTest(page_logging=logging):
                printer, _, number = self.in_the_middle(document=document, labels=labels,
                                                        options={"page-logging": logging})
                self.kill(self.senders(), signal.SIGKILL)
                printer.go_on()
                job = self.assert_printed(number, COUNT)
                self.assertEqual(job.attributes["job-impressions-completed"], COUNT)
                self.assert_each_came(printer, self.announced(number), torn=1)
                self.assert_tidy()

    def test_the_sender_is_asked_to_end_in_a_page_and_finishes_it(self):
        printer, _, number = self.in_the_middle()
        self.kill(self.senders(), signal.SIGTERM)
        self.await_stop_heard()
        printer.go_on()
        self.assert_printed(number, COUNT)
        self.assert_each_once(printer)
        self.assert_tidy()

    def test_the_front_is_killed_in_a_page_and_all_labels_come_without_it(self):
        printer, _, number = self.in_the_middle()
        self.assertEqual(len(self.fronts()), 1)
        self.kill(self.fronts(), signal.SIGKILL)
        # The print system takes this for the job's end, whatever a program that was killed lacked.
        self.assertEqual(self.system.wait(number).state, rig.COMPLETED)
        printer.go_on()
        printer.await_labels(COUNT)
        self.assert_tidy()
        self.assert_each_once(printer)

    def test_the_next_job_follows_one_whose_front_was_killed(self):
        after = large(2, 101)
        printer, queue, number = self.in_the_middle(also=self.wanted(after))
        self.kill(self.fronts(), signal.SIGKILL)
        self.system.wait(number)
        behind = self.system.lp(queue, after)
        printer.go_on()
        self.assert_printed(behind, 2)
        self.assert_each_once(printer)
        self.assert_tidy()

    def test_front_and_sender_are_killed_and_the_next_job_brings_the_rest(self):
        after = large(2, 101)
        printer, queue, number = self.in_the_middle(also=self.wanted(after))
        self.kill(self.fronts() + self.senders(), signal.SIGKILL)
        self.system.wait(number)
        behind = self.system.lp(queue, after)
        printer.go_on()
        self.assert_printed(behind, 2)
        self.assert_each_came(printer, self.announced(behind), torn=1)
        self.assert_tidy()

    def test_the_filter_is_killed(self):
        for sign in (signal.SIGKILL, signal.SIGTERM, signal.SIGSEGV):
            with self.subTest(sign=sign.name):
                printer, number, found = self.stopped_when_rendering(
                    "rastertokestra", self.document, self.labels)
                self.kill(found, sign)
                self.kill(found, signal.SIGCONT)
                self.assert_ends_well(printer, number)

    def test_the_renderer_is_killed(self):
        document = documents.pdf(COUNT)
        labels = self.wanted(document)
        for program in ("gs", "gstoraster"):
            with self.subTest(program=program):
                printer, number, found = self.stopped_when_rendering("gs", document, labels)
                self.kill(machine.processes(program), signal.SIGKILL)
                if program != "gs":
                    self.send(found, signal.SIGCONT)
                self.assert_ends_well(printer, number)

    def test_the_program_before_the_renderer_is_killed(self):
        document = documents.pdf(COUNT)
        labels = self.wanted(document)
        # It lives too shortly to be met by chance: the first one waits for its end at its start.
        mark = "/tmp/first-of-all"
        with open(mark, "w", encoding="utf-8"):
            os.chown(mark, pwd.getpwnam("lp").pw_uid, -1)
        self.system.install("filter", "pdftopdf", f"""#!/bin/sh
rm {mark} 2>/dev/null && kill -STOP $$
exec {rig.STOCK}/filter/pdftopdf "$@"
""".encode())
        printer = self.printer(labels)
        number = self.system.lp(self.queue(printer), document)
        rig.eventually(lambda: not os.path.exists(mark), what="pdftopdf runs")
        self.kill(machine.processes("pdftopdf"), signal.SIGKILL)
        self.assert_ends_well(printer, number)
        self.assertEqual(len([line for line in self.system.log(number)
                              if "Started filter" in line and "pdftopdf" in line]), 2)

    def between_two_pages(self):
        """A job whose page fitter waits for its ninth page: (printer, number, guard, work)."""
        for path in ("/tmp/pages", "/tmp/rest"):
            if os.path.exists(path):
                os.remove(path)
        mark = "/tmp/in-two-parts"
        with open(mark, "w", encoding="utf-8"):
            os.chown(mark, pwd.getpwnam("lp").pw_uid, -1)
        real = self.system.install("filter", "fitter", f"{delivery_case.BUILD}/kestrafit")
        part = 4 + 8 * ((len(self.document) - 4) // COUNT)  # a word, then pages of one size
        self.system.install("filter", "kestrafit", f"""#!/bin/sh
rm {mark} 2>/dev/null || exec {real} "$@"
mkfifo /tmp/pages
(head -c {part} "$6"; while [ ! -e /tmp/rest ]; do sleep 0.01; done; tail -c +{part + 1} "$6") \
  </dev/null >/tmp/pages 2>/dev/null 3>&- 4>&- &
exec {real} "$1" "$2" "$3" "$4" "$5" </tmp/pages
""".encode())
        printer = self.printer(self.labels)
        number = self.system.lp(self.queue(printer), self.document)
        rig.eventually(lambda: len(self.system.frames(number)) >= 8, what="eight pages are made")
        guard, work = machine.processes("fitter")
        return printer, number, guard, work

    def rest_of_the_pages(self):
        with open("/tmp/rest", "w", encoding="utf-8"):
            pass

    def test_the_page_fitter_is_ended_between_two_pages(self):
        for one, sign in (("guard", signal.SIGTERM), ("work", signal.SIGTERM),
                          ("work", signal.SIGKILL)):
            with self.subTest(one=one, sign=sign.name):
                printer, number, guard, work = self.between_two_pages()
                self.kill([guard if one == "guard" else work], sign)
                self.assertEqual(self.system.wait(number).state, rig.STOPPED)
                self.rest_of_the_pages()
                self.assert_ends_well(printer, number)

    def test_the_page_fitters_guard_is_killed_between_two_pages_and_all_labels_come(self):
        printer, number, guard, _ = self.between_two_pages()
        self.kill([guard], signal.SIGKILL)
        self.rest_of_the_pages()
        self.assert_printed(number, COUNT)
        self.assert_each_once(printer)
        self.assert_tidy()

    def assert_ends_well(self, printer, number):
        """All labels came once; a job that the print system stopped is started by a person."""
        job = self.system.wait(number)
        if job.state == rig.STOPPED:
            self.assertIn("job-completed-with-errors" if "crashed" not in str(job.reasons)
                          else "crashed", str(job.reasons))
            self.system.restart_job(number)
            rig.eventually(lambda: self.system.job(number).state != rig.STOPPED)
        self.assert_printed(number, COUNT)
        self.assert_each_once(printer)
        self.assert_tidy()


class KilledPrintSystem(DeliveryCase):
    """The print system itself ends in a page; no program of the job's is killed by us."""

    # The server writes down what it knows at once, and not after half a minute.
    rules = "DirtyCleanInterval 0"

    def ends(self, end, times, length=1):
        """length: of a label, in large ones."""
        document = documents.raster(COUNT, times=length, **LARGE)
        labels = self.wanted(document)
        printer = self.printer(labels, speed=15 * length * LARGE_MM, faults=[
            f"label {4 + 4 * place} {50 // length}% pause 0.4" for place in range(times)])
        number = self.system.lp(self.queue(printer), document)
        # What a server has not written down yet it forgets when it is killed.
        rig.eventually(lambda: os.path.exists(f"{rig.SPOOL}/c{number:05d}"), what="the job's file")
        for place in range(1, times + 1):
            printer.await_action("pause", place)
            end()
            self.system.start()
        self.assert_printed(number, COUNT)
        self.assert_each_once(printer)
        self.assert_tidy()

    def test_it_is_restarted_in_a_page(self):
        self.ends(self.system.stop, 1)

    def test_it_is_restarted_three_times_in_a_job(self):
        self.ends(self.system.stop, 3)

    # A long label has dots that have not left the sender yet when everything is asked to end.

    def test_its_whole_service_is_restarted_in_a_page(self):
        self.ends(self.system.stop_service, 1, length=4)

    def test_its_whole_service_is_restarted_three_times_in_a_job(self):
        self.ends(self.system.stop_service, 3, length=4)

    def test_it_is_killed_in_a_page(self):
        self.ends(self.system.kill9, 1)

    def test_it_is_killed_three_times_in_a_job(self):
        self.ends(self.system.kill9, 3)


class ForgetfulPrintSystem(DeliveryCase):
    """A server that is killed before it has written down a job knows nothing of it afterwards."""

    # It writes down what it knows when it is ended in order, and else much later.
    rules = "DirtyCleanInterval 3600"

    def test_a_job_that_it_forgets_comes_all_the_same_and_so_does_the_next_of_its_number(self):
        document, after = large(COUNT), large(3, 101)
        printer = self.printer(self.wanted(document) + self.wanted(after), speed=15 * LARGE_MM,
                               faults=[f"label 4 50% pause {UNTIL_TOLD}"])
        queue = self.queue(printer)
        # What a queue is survives in any case.
        self.system.restart()
        self.assertIn("label", self.system.text("etc/printers.conf"))
        number = self.system.lp(queue, document)
        printer.await_action("pause")
        self.system.kill9()
        self.system.start()
        again = self.system.lp(queue, after)
        printer.go_on()
        self.assertEqual(again, number)
        self.assert_printed(again, 3)
        self.assert_each_once(printer)
        self.assert_tidy()


if __name__ == "__main__":
    delivery_case.main()
