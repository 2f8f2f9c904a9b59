"""What delivery needs besides time: cancel, memory, disk, and rest while it waits."""

import os
import threading
import time

from delivery_measure import MB, Measurement, Row, megabytes, seconds
from delivery_stage import CountingPrinter, peak_memory, processor_seconds
import rig

SPEED = 150  # mm a second, as quick label printers go
IMAGES = rig.SPOOL + "/tmp"


class Limits(Measurement):
    """Every method measures one figure and returns its rows."""

    def _cancel(self, place, faults, marker):
        """Cancels in label 2, prints one more; returns seconds until idle and the printer."""
        paper = self.paper(speed=SPEED, faults=faults)
        queue = self.stage.our_queue(f"cancel{place}", paper.uri())
        number = self.system.lp(queue, self.stage.document(3))
        paper.await_action(marker)
        start = time.time()
        self.system.run("cancel", str(number))
        idle = self.stage.await_idle(queue) - start
        whole = len(paper.labels())
        self.stage.await_end(self.system.lp(queue, self.stage.document(1, 77)))
        paper.await_labels(whole + 1)
        verdict = paper.judge()
        labels = paper.events("label")
        if verdict["garbage"] or verdict["faults"] or not labels[-1]["whole"]:
            raise rig.Failure(f"the label behind a cancelled one is not clean: {verdict} {labels}")
        return idle, labels

    def cancel(self):
        reading, dead = [], []
        for place in range(self.rounds):
            self.stage.await_quiet()
            per_cent = 10 + 80 * place // max(1, self.rounds - 1)
            idle, labels = self._cancel(place, [f"label 2 {per_cent}% slow {SPEED}"], "slow")
            if not all(one["whole"] for one in labels):
                raise rig.Failure(f"a cancelled label was torn: {labels}")
            reading.append(idle)
        for place in range(max(3, self.rounds // 3)):
            self.stage.await_quiet()
            dead.append(self._cancel(100 + place, ["label 2 40% deaf"], "deaf")[0])
        return [Row(f"cancel inside a label, at a printer that reads ({SPEED} mm a second)",
                    "until the printer took all", "idle within 1 s, next label clean",
                    f"{seconds(reading)}, next label clean", max(reading) <= 1),
                Row("cancel inside a label, at a printer that reads no more",
                    "until the printer took all", "idle within 5 s, next label clean",
                    f"{seconds(dead)}, next label clean", max(dead) <= 5)]

    # --- room and rest ----------------------------------------------------------------------------

    def _peak(self, name, **words):
        paper = self.paper(faults=["label 3 50% pause 2"])
        queue = self.stage.our_queue(name, paper.uri(), **words)
        number = self.system.lp(queue, self.stage.document(3))
        paper.await_action("pause")
        senders, fronts = self.stage.senders()
        peaks = [peak_memory(pid) for pid in senders + fronts]
        if len(senders) != 1 or len(fronts) != 1:
            raise rig.Failure(f"senders {senders}, fronts {fronts}")
        self.stage.await_end(number)
        frame = paper.events("label")[0]["bytes"]
        paper.judge()
        return frame, *peaks

    def memory(self):
        rows = []
        stencil = {"PageSize": "A4", "Resolution": "300dpi", "HalftoneType": "Tattoo"}
        for name, words in (("4 x 6 inch label", {}),
                            ("A4 stencil at 300 dpi", {"model": "kestraa4", "options": stencil})):
            frame, sender, front = self._peak("memory" + str(len(rows)), **words)
            rows.append(Row(f"memory of the sender at its peak, {name}", "-",
                            f"one frame + 8 MB = {megabytes(frame + 8 * MB)}",
                            f"{megabytes(sender)}, front {megabytes(front)}; the frame "
                            f"{frame:,} bytes",
                            sender <= frame + 8 * MB))
        return rows

    def _sender_time(self, queue, printer, labels, look):
        """Prints; returns the sender's processor time, seconds from last byte to the job's end."""
        used = {}
        stop = threading.Event()

        def follow():
            while not stop.wait(0.05):
                look()
                for pid in self.stage.senders()[0]:
                    try:
                        used[pid] = processor_seconds(pid)
                    except OSError:
                        pass

        follower = threading.Thread(target=follow)
        follower.start()
        try:
            _, last, end = self.one_job(queue, printer, labels)
        finally:
            stop.set()
            follower.join()
        return sum(used.values()), end - last, end

    def housekeeping(self):
        printer = CountingPrinter()
        labels = 3000 if self.slow else 300
        queue = self.stage.our_queue("long", printer.uri)
        kept, most = 256 * MB, {"images": 0, "frames": 0}

        def used(folder, ending):
            total = 0
            with os.scandir(folder) as entries:
                for entry in entries:
                    try:
                        if entry.name.endswith(ending):
                            total += entry.stat().st_blocks * 512
                    except FileNotFoundError:
                        pass
            return total

        def look():
            most["images"] = max(most["images"], used(IMAGES, ".bmp"))
            most["frames"] = max(most["frames"], used(rig.FRAMES, ".dat"))

        for frame in self.system.frames():
            os.unlink(frame)  # the bare chain leaves its own
        conf = f"{self.system.root}/etc/rastertokestra.conf"
        spent = {}
        for setting, count in (("all", 300), ("256 MB", labels)):
            with open(conf, "w", encoding="utf-8") as out:
                out.write(f"debug-images {setting}\n")
            most.update(images=0, frames=0)
            spent[setting] = self._sender_time(queue, printer, count, look)
            left = used(IMAGES, ".bmp"), used(rig.FRAMES, ".dat")
            if setting == "all":
                everything = left[0]
                for name in os.listdir(IMAGES):
                    if name.endswith(".bmp"):
                        os.unlink(f"{IMAGES}/{name}")
        os.unlink(conf)
        processor, rest, end = spent["256 MB"]
        cost = processor / labels - spent["all"][0] / 300
        page = everything / 300
        return [Row(f"debug images after a job of {labels:,} labels",
                    f"all of them: {megabytes(everything)} of 300 labels",
                    "at most 256 MB at the end; on the way what a few pages add",
                    f"{megabytes(left[0])} at the end, {megabytes(most['images'])} at most; of "
                    f"frames {megabytes(most['frames'])} at most, {left[1]} bytes at the end; the "
                    f"job took {end:.1f} s, the sender {processor:.2f} s of processor time, "
                    f"trimming {1000 * cost:.2f} ms a label; {rest:.2f} s from the last byte to "
                    f"the end",
                    left[0] <= kept and left[1] == 0 and most["images"] <= kept + 100 * page)]

    def waiting(self):
        def idle(name, uri, await_it):
            queue = self.stage.our_queue(name, uri)
            number = self.system.lp(queue, self.stage.document(3))
            await_it()
            time.sleep(1)
            senders, fronts = self.stage.senders()
            pids = senders + fronts
            before = [processor_seconds(pid) for pid in pids + [self.system.server.pid]]
            time.sleep(10)
            after = [processor_seconds(pid) for pid in pids + [self.system.server.pid]]
            self.system.cancel(number)
            self.stage.await_idle(queue)
            used = [b - a for a, b in zip(before, after)]
            if len(senders) != 1 or len(fronts) != 1:
                raise rig.Failure(f"senders {senders}, fronts {fronts}")
            return used

        away = idle("away", "socket://127.0.0.1:9", lambda: rig.eventually(
            lambda: self.stage.senders()[0], what="the sender waits"))
        paper = self.paper(faults=["label 1 50% deaf"])
        full = idle("full", paper.uri(), lambda: paper.await_action("deaf"))
        paper.close()
        texts = [f"{used[0]:.2f} s, front {used[1]:.2f} s, print system {used[2]:.2f} s"
                 for used in (away, full)]
        return [Row("processor time in 10 s of waiting", "-", "-",
                    f"printer away: sender {texts[0]}; printer that takes no more: sender "
                    f"{texts[1]}",
                    None)]

    def all(self):
        return [self.cancel, self.memory, self.housekeeping, self.waiting]
