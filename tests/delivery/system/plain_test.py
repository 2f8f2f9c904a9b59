"""Jobs to which nothing happens: what comes, what is said and what is left over."""

import glob
import os
import random
import re
import struct
import time

import delivery_case
import documents
import machine
import rig
from delivery_case import DeliveryCase, JOBS, LARGE_MM, STATE, large
from printer import UNTIL_TOLD


class PlainJobs(DeliveryCase):
    def test_a_raster_document_comes_label_by_label(self):
        document = documents.raster(7)
        wanted = self.wanted(document)
        self.assert_all_differ(wanted, 7)
        printer = self.printer(wanted)
        number = self.system.lp(self.queue(printer), document)
        self.assert_printed(number, 7)
        self.assert_each_once(printer)
        self.assert_tidy()

    def test_a_pdf_comes_label_by_label(self):
        document = documents.pdf(5)
        wanted = self.wanted(document)
        self.assert_all_differ(wanted, 5)
        printer = self.printer(wanted)
        number = self.system.lp(self.queue(printer), document)
        self.assert_printed(number, 5)
        self.assert_each_once(printer)
        self.assert_tidy()

    def test_pages_are_counted_once_where_the_filters_count_them_as_well(self):
        document = documents.pdf(5)
        printer = self.printer(self.wanted(document))
        number = self.system.lp(self.queue(printer), document, options={"page-logging": "on"})
        self.assert_printed(number, 5)
        self.assert_each_once(printer)

    def test_three_files_of_a_job_come_in_their_order_though_the_page_counter_starts_again(self):
        files = [documents.raster(3, first) for first in (1, 4, 7)]
        wanted = [one for file in files for one in self.wanted(file)]
        self.assert_all_differ(wanted, 9)
        printer = self.printer(wanted)
        queue = self.queue(printer, "counted")
        # 8999 is the last number before the counter starts again, so the names of the second file's
        # frames stand before those of the first.
        counter = f"{rig.FRAMES}/{queue}.pgc"
        with open(counter, "wb") as out:
            out.write(struct.pack("<H", 8999))
        os.chown(counter, *self.lp_ids())
        number = self.system.lp(queue, *files)
        self.assert_printed(number, 9)
        pages = [one["page"] for one in printer.events("label")]
        self.assertEqual(pages, [8999] * 3 + [1] * 3 + [2] * 3)
        self.assert_each_once(printer)
        self.assert_tidy()

    def test_copies_come_beside_each_other(self):
        document = documents.pdf(3)
        wanted = self.wanted(document)
        printer = self.printer([one for one in wanted for _ in range(2)])
        number = self.system.lp(self.queue(printer), document, words=["-n", "2"])
        self.assert_printed(number, 6)
        self.assert_each_once(printer)
        self.assert_tidy()

    def test_two_queues_of_one_printer_never_mix_their_labels(self):
        first, second = large(10), large(5, 101)
        printer = self.printer(self.wanted(first) + self.wanted(second), speed=10 * LARGE_MM,
                               faults=[f"label 2 50% pause {UNTIL_TOLD}"])
        one, other = self.queue(printer, "one"), self.queue(printer, "other")
        ahead = self.system.lp(one, first)
        printer.await_action("pause")
        behind = self.system.lp(other, second)
        self.system.await_log(behind, "Another job prints on this printer; waiting for it")
        printer.go_on()
        self.assert_printed(ahead, 10)
        self.assert_printed(behind, 5)
        self.assert_each_once(printer)
        self.assert_tidy()

    def test_the_queue_says_which_label_of_how_many_is_printed(self):
        document = large(7)
        printer = self.printer(self.wanted(document), speed=10 * LARGE_MM,
                               faults=[f"connection 1 pause {UNTIL_TOLD}",
                                       f"label 5 50% pause {UNTIL_TOLD}"])
        queue = self.queue(printer)
        number = self.system.lp(queue, document)
        # How many labels there are is known when the filter has made the last one.
        self.system.await_log(number, "rastertokestra) exited with no errors")
        printer.go_on()
        printer.await_action("pause", 2)
        # The printer's own buffer holds less than half a label: it is the one under way.
        rig.eventually(lambda: self.system.printer(queue)["printer-state-message"]
                       == "Printing label 5 of 7")
        job = self.system.job(number)
        self.assertEqual(job.attributes.get("job-media-progress"), 100 * 4 // 7)
        self.assertEqual(job.sheets, 4)
        printer.go_on()
        self.assert_printed(number, 7)
        self.assert_each_once(printer)

    def test_many_jobs_leave_no_file_no_descriptor_and_no_process(self):
        def job(place):
            return documents.raster(2, 2 * place + 1)

        wanted = [one for place in range(JOBS) for one in self.wanted(job(place))]
        self.assert_all_differ(wanted, 2 * JOBS)
        printer = self.printer(wanted)
        queue = self.queue(printer)

        def open_files():
            return len(os.listdir(f"/proc/{self.system.server.pid}/fd"))

        def files():
            return {os.path.join(place, name) for place in ("/tmp", rig.FRAMES)
                    for name in os.listdir(place)}

        # The first job makes what stays: the counter, the side file, the server's connections.
        self.assert_printed(self.system.lp(queue, job(0)), 2)
        self.assert_tidy()
        opened, before = open_files(), files()
        memory, start = self.server_memory(), time.monotonic()
        numbers = [self.system.lp(queue, job(place)) for place in range(1, JOBS)]
        for number in numbers:
            self.assert_printed(number, 2)
        seconds = time.monotonic() - start
        self.assert_each_once(printer)
        self.assert_tidy()
        rig.eventually(lambda: files() <= before, what=f"{files() - before} is left")
        # The server's own connections and timers come and go; what a job leaves open adds up.
        rig.eventually(lambda: open_files() < opened + JOBS / 2, 30,
                       f"{open_files()} files open, {opened} before {JOBS - 1} jobs")
        self.assertFalse(machine.processes("kestra"))
        journals = [os.stat(path) for path in glob.glob(STATE + "/jobs/*/*/journal")]
        print(f"{JOBS} jobs, {len(wanted)} labels: {seconds:.1f} s; of the print system {opened} "
              f"files open before, {open_files()} behind, memory {memory} and {self.server_memory()}; "
              f"{len(journals)} journals of {sum(one.st_size for one in journals) // 1024} KB in "
              f"{sum(one.st_blocks for one in journals) // 2} KB of disk blocks", flush=True)

    def server_memory(self):
        with open(f"/proc/{self.system.server.pid}/status", encoding="utf-8") as status:
            return re.search(r"VmRSS:\s*(.*)", status.read())[1]

    @staticmethod
    def lp_ids():
        status = os.stat(rig.FRAMES)
        return status.st_uid, status.st_gid


class RawJobs(DeliveryCase):
    """What is no label passes unchanged: its bytes are chance, not a printer's language."""

    BYTES = random.Random(11).randbytes(300_001)

    def received(self, *words, copies=1, model=True):
        sink = rig.Sink()
        self.addCleanup(sink.close)
        if model:
            self.system.queue("raw", "kestra:" + sink.uri())
        else:
            self.system.run("lpadmin", "-x", "raw", check=False)
            self.system.run("lpadmin", "-p", "raw", "-E", "-v", "kestra:" + sink.uri())
        number = self.system.lp("raw", self.BYTES, words=[*words, "-n", str(copies)])
        job = self.system.wait(number)
        self.assertEqual(job.state, rig.COMPLETED, self.story(number))
        self.assert_tidy()
        rig.eventually(lambda: len(sink.received()) >= copies * len(self.BYTES))
        return sink.received()

    def test_a_raw_job_passes_unchanged(self):
        self.assertEqual(self.received("-o", "raw"), self.BYTES)

    def test_a_raw_job_comes_as_often_as_it_should(self):
        self.assertEqual(self.received("-o", "raw", copies=2), 2 * self.BYTES)

    def test_a_queue_without_a_printer_description_passes_everything_unchanged(self):
        self.assertEqual(self.received(model=False), self.BYTES)


if __name__ == "__main__":
    delivery_case.main()
