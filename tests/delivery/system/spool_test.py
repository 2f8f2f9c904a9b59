"""What lies in the spool and in the state folder, and what is missing there."""

import contextlib
import glob
import os
import pwd
import shutil
import signal
import subprocess
import time

import delivery_case
import documents
import machine
import rig
from delivery_case import DeliveryCase, LARGE_MM, STATE, large
from printer import UNTIL_TOLD

LP = pwd.getpwnam("lp")
COUNT = 10


class Spool(DeliveryCase):
    MARK = "/tmp/the-next-filter-waits"

    def next_number(self):
        """The number that the next job will have."""
        return max(self.system.jobs("all"), default=0) + 1

    def planted(self, name, content=b"", owner=LP.pw_uid, age=0):
        path = f"{rig.FRAMES}/{name}"
        unfinished = f"{rig.FRAMES}/.planted"  # under its name it belongs to its owner at once
        with open(unfinished, "wb") as out:
            out.write(content)
        self.owned(unfinished, owner, age)
        os.rename(unfinished, path)
        return path

    def owned(self, path, owner=LP.pw_uid, age=0):
        os.chown(path, owner, LP.pw_gid, follow_symlinks=False)
        os.chmod(path, 0o600)
        now = os.stat("/proc/self").st_mtime
        os.utime(path, (now - age, now - age))

    def other_frame(self, number):
        """Bytes of a frame that belongs to no job of these tests."""
        document = documents.raster(1, number)
        path = self._frames_of_filter(document, "")[0]
        with open(path, "rb") as frame:
            content = frame.read()
        os.unlink(path)
        return content

    def test_old_frames_of_the_same_job_number_are_never_printed(self):
        document = documents.raster(4)
        wanted = self.wanted(document)
        number = self.next_number()
        foreign = self.other_frame(777)
        old = [self.planted(f"page_{page:04d}_jobid_{number:06d}_{sequence:04d}.dat", foreign,
                            age=3600)
               for page in (1, 2, 5) for sequence in (0, 1)]
        printer = self.printer(wanted)
        self.assertEqual(self.system.lp(self.queue(printer), document), number)
        self.assert_printed(number, 4)
        self.assert_each_once(printer)
        self.assertEqual(self.system.frames(number), sorted(old))

    @staticmethod
    def empty_folder():
        """Also of what others put into it or take from it meanwhile."""
        while os.path.isdir(rig.FRAMES):
            shutil.rmtree(rig.FRAMES, ignore_errors=True)

    def test_the_folder_of_frames_is_emptied_in_the_middle(self):
        document = large(COUNT)
        wanted = self.wanted(document)
        printer = self.printer(wanted, speed=15 * LARGE_MM,
                               faults=[f"label 4 50% pause {UNTIL_TOLD}"])
        number = self.system.lp(self.queue(printer), document)
        printer.await_action("pause")
        self.empty_folder()
        printer.go_on()
        self.assert_printed(number, COUNT)
        self.assert_each_once(printer)
        self.assert_tidy()

    def stopped_when_storing(self, document, wanted):
        """A job whose filter stands still behind the first pages: (printer, number, filters).
        On a busy machine it can have run to its end; then there is another try.
        """
        for _ in range(10):
            printer = self.printer(wanted)
            self.make_filter_wait()
            number = self.system.lp(self.queue(printer), document)
            filters = self.waiting_filter()

            def has_gone_a_step_on(number=number, filters=filters):
                # One that has ended goes no further.
                with contextlib.suppress(ProcessLookupError):
                    if len(self.system.frames(number)) >= 2:
                        return True
                    self.kill(filters, signal.SIGCONT)
                    time.sleep(0.002)
                    self.kill(filters, signal.SIGSTOP)
                    return False
                return True

            rig.eventually(has_gone_a_step_on, what="two pages", interval=0)
            if (machine.processes("rastertokestra")
                    and 2 <= len(self.system.frames(number)) < len(wanted)):
                return printer, number, filters
            with contextlib.suppress(ProcessLookupError):
                self.kill(filters, signal.SIGCONT)
            self.assert_printed(number, len(wanted))
            self.assert_tidy()
        self.fail("the filter was always done too soon")
        return None

    def test_the_folder_of_frames_is_emptied_while_the_filter_stores_into_it(self):
        document = large(60)
        wanted = self.wanted(document)
        printer, number, filters = self.stopped_when_storing(document, wanted)
        self.empty_folder()
        self.kill(filters, signal.SIGCONT)
        self.assert_printed(number, 60)
        self.assert_each_once(printer)
        self.assert_tidy()

    def test_frames_that_cannot_be_stored_hold_the_job_until_they_can(self):
        document = documents.raster(3)
        printer = self.printer(self.wanted(document))
        queue = self.queue(printer)
        os.chown(rig.FRAMES, 0, 0)
        number = self.system.lp(queue, document)
        job = self.system.wait(number, [rig.HELD] + list(rig.ENDED))
        self.assertEqual(job.state, rig.HELD, self.story(number))
        self.assertIn("Not all labels of this job could be made", job.message)
        self.assertEqual(printer.labels(), [])
        os.chown(rig.FRAMES, LP.pw_uid, LP.pw_gid)
        self.system.resume(number)
        self.assert_printed(number, 3)
        self.assert_each_once(printer)
        self.assert_tidy()

    def make_filter_wait(self):
        """The next filter waits at its start for a signal to go on; it lives too shortly to be met
        by chance."""
        with open(self.MARK, "w", encoding="utf-8"):
            os.chown(self.MARK, LP.pw_uid, -1)
        os.makedirs("/tmp/real", exist_ok=True)
        if not os.path.exists("/tmp/real/rastertokestra"):
            shutil.copy(f"{self.system.bin}/filter/rastertokestra", "/tmp/real/rastertokestra")
        self.system.install("filter", "rastertokestra", f"""#!/bin/sh
rm {self.MARK} 2>/dev/null && kill -STOP $$
exec /tmp/real/rastertokestra "$@"
""".encode())

    def waiting_filter(self):
        rig.eventually(lambda: not os.path.exists(self.MARK), what="the filter starts")
        # A signal to go on that comes before it stopped is lost.
        return rig.eventually(lambda: [pid for pid in machine.processes("rastertokestra")
                                       if machine.is_stopped(pid)])

    def planting(self, plant):
        """Prints a job; `plant(number)` puts files beside its frames. Returns (printer, number)."""
        document = large(COUNT)
        wanted = self.wanted(document)
        printer = self.printer(wanted)
        self.make_filter_wait()
        number = self.system.lp(self.queue(printer), document)
        filters = self.waiting_filter()
        plant(number)
        self.kill(filters, signal.SIGCONT)
        return printer, number

    def test_links_pipes_folders_and_files_of_others_under_names_of_frames_are_no_labels(self):
        foreign = self.other_frame(777)
        target = self.planted("elsewhere", foreign)

        def plant(number):
            def name(page):
                return f"{rig.FRAMES}/page_{page:04d}_jobid_{number:06d}_0000.dat"
            os.symlink(target, name(9001))
            os.lchown(name(9001), LP.pw_uid, LP.pw_gid)
            os.mkfifo(name(9002))
            os.chown(name(9002), LP.pw_uid, LP.pw_gid)
            os.mkdir(name(9003))
            self.planted(os.path.basename(name(9004)), foreign, owner=4711)
            os.symlink("/etc/shadow", name(9005))

        printer, number = self.planting(plant)
        self.assert_printed(number, COUNT)
        self.assert_each_once(printer)
        # What is not ours is not ours to remove.
        self.assertEqual(len(self.system.frames(number)), 5)
        with open(target, "rb") as file:
            self.assertEqual(file.read(), foreign)

    def test_a_huge_file_of_the_filters_user_under_the_name_of_a_frame_is_never_sent(self):
        def plant(number):
            path = f"{rig.FRAMES}/page_0001_jobid_{number:06d}_7777.dat"
            with open(path, "wb") as out:
                out.truncate(4 << 30)
            os.chown(path, LP.pw_uid, LP.pw_gid)

        printer, number = self.planting(plant)
        job = self.system.wait(number, [rig.HELD] + list(rig.ENDED))
        # It stands for a page of the job: what the filter stored behind it comes when the job is
        # made anew, without it.
        self.assertEqual(job.state, rig.COMPLETED, self.story(number))
        self.assert_each_once(printer)


class StateFolder(DeliveryCase):
    """What came is remembered in a folder of its own, here a file system of 4 MB."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        os.makedirs(STATE)
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"size=4m,mode=0700,uid={LP.pw_uid},"
                        f"gid={LP.pw_gid}", "tmpfs", STATE], check=True)

    @classmethod
    def tearDownClass(cls):
        super().tearDownClass()
        subprocess.run(["umount", STATE], check=True)

    def fill(self):
        with open(STATE + "/filler", "wb", buffering=0) as out:
            try:
                while True:
                    out.write(bytes(4096))
            except OSError:
                return

    def make_room(self):
        os.unlink(STATE + "/filler")

    def stopped(self, queue, number, words):
        rig.eventually(lambda: self.system.printer(queue)["printer-state"] == rig.PAUSED,
                       what=f"the queue is stopped:\n{self.story(number)}")
        message = self.system.printer(queue)["printer-state-message"]
        self.assertIn(words, message)
        self.assertEqual(self.system.job(number).state, rig.PENDING)

    def test_it_is_full_when_the_job_begins(self):
        document = documents.raster(3)
        printer = self.printer(self.wanted(document))
        queue = self.queue(printer)
        self.fill()
        number = self.system.lp(queue, document)
        self.stopped(queue, number, "/var/lib/rastertokestra")
        self.assertEqual(printer.labels(), [])
        self.make_room()
        self.system.enable(queue)
        self.assert_printed(number, 3)
        self.assert_each_once(printer)
        self.assert_tidy()

    def test_it_fills_up_in_the_middle_of_a_job(self):
        # Journals take little: so many labels that the room which was made at first does not do;
        # and the labels' copies find room beside them.
        document = documents.raster(120)
        printer = self.printer(self.wanted(document), speed=30 * 60,
                               faults=[f"label 5 pause {UNTIL_TOLD}"])
        queue = self.queue(printer)
        number = self.system.lp(queue, document)
        printer.await_action("pause")
        rig.eventually(lambda: glob.glob(f"{STATE}/jobs/*/*/frame-*-000120.dat"),
                       what="the last label is kept")
        self.fill()
        printer.go_on()
        self.stopped(queue, number, "/var/lib/rastertokestra")
        self.assertLess(len(printer.labels()), 120)
        self.make_room()
        self.system.enable(queue)
        self.assert_printed(number, 120)
        self.assert_each_once(printer)
        self.assert_tidy()

    def test_it_cannot_be_written(self):
        document = documents.raster(3)
        printer = self.printer(self.wanted(document))
        queue = self.queue(printer)
        subprocess.run(["mount", "-o", "remount,ro", STATE], check=True)
        number = self.system.lp(queue, document)
        self.stopped(queue, number, "/var/lib/rastertokestra")
        subprocess.run(["mount", "-o", "remount,rw", STATE], check=True)
        self.system.enable(queue)
        self.assert_printed(number, 3)
        self.assert_each_once(printer)
        self.assert_tidy()


if __name__ == "__main__":
    delivery_case.main()
