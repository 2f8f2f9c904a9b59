"""How long delivery takes from `lp` to the printer, beside the print system's own programs."""

import os
import socket
import statistics
import subprocess
import sys
import time

from delivery_measure import Measurement, Row, ms, seconds
from delivery_stage import CountingPrinter
import rig

HERE = os.path.dirname(os.path.abspath(__file__))
SNMP = 161
NOTES = "/tmp/slow-pages"


class Times(Measurement):
    """Every method measures one figure and returns its rows."""

    def first_byte(self):
        printer = CountingPrinter()
        stage, uri = self.stage, printer.uri
        quick = uri + "/?snmp=false"
        queues = {"raw queue": stage.raw_queue("raw", quick),
                  "bare chain": stage.plain_queue("bare", quick, False),
                  "ours": stage.our_queue("ours", uri),
                  "port monitor": stage.plain_queue("monitor", quick, True),
                  "peer": stage.peer_queue("peer", quick)}
        times = {name: [] for name in queues}
        sizes = {}
        for _ in range(self.rounds + 1):
            for name, queue in queues.items():
                times[name].append(self.one_job(queue, printer, 1)[0])
                sizes[name] = printer.bytes
        for samples in times.values():
            del samples[0]  # the first job of a queue makes what stays
        # The bare chain sends the command alone; whoever sends more delivers.
        if sizes["bare chain"] != 7 or min(sizes["ours"], sizes["port monitor"]) < 10000:
            raise rig.Failure(f"the queues are not what they should be: {sizes}")
        suggested = stage.asking_queue("suggested", uri)
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as silent:
            silent.bind(("127.0.0.1", SNMP))  # as of a printer that hears and says nothing
            asked = [self.one_job(suggested, printer, 1)[0] for _ in range(3)]
        more = statistics.median(times["ours"]) - statistics.median(times["bare chain"])
        pairs = [a - b for a, b in zip(times["ours"], times["bare chain"])]
        peers = (f"raw queue {ms(times['raw queue'])}; own label driver {ms(times['peer'])}; a "
                 f"driver that lets it ask by SNMP, as most do, {seconds(asked)}")
        measured = (f"{ms(times['ours'])}; the bare chain {ms(times['bare chain'])}, so "
                    f"{1000 * more:+.1f} ms (pair by pair {ms(pairs)}); with the port monitor "
                    f"{ms(times['port monitor'])}")
        return [Row("`lp` to first byte", peers, "the bare chain + 10 ms", measured, more <= 0.010)]

    def slow_page(self):
        self.system.install("filter", "slowpages", f"{HERE}/slow_pages.py")
        with open(self.system.ppd(), encoding="utf-8") as file:
            model = file.read().replace(" rastertokestra\"", " slowpages\"")
        with open("/tmp/rig/slow.ppd", "w", encoding="utf-8") as out:
            out.write(model)
        printer = CountingPrinter()
        queue = self.stage.our_queue("slow", printer.uri, model="/tmp/rig/slow.ppd")
        behind, ahead = [], []
        for _ in range(max(3, self.rounds // 2)):
            with open(NOTES, "w", encoding="utf-8"):
                os.chmod(NOTES, 0o666)
            self.one_job(queue, printer, 2)
            with open(NOTES, encoding="utf-8") as file:
                rendered = [float(line) for line in file]
            whole = printer.time_of(printer.bytes // 2 - 1)
            behind.append(whole - rendered[0])
            ahead.append(rendered[1] - whole)
        return [Row("first label whole at the printer while page 2 takes 2 s to render", "-",
                    "before page 2 is rendered",
                    f"{ms(behind)} behind page 1, {seconds(ahead)} before page 2 is rendered",
                    min(ahead) > 0)]

    def frame_to_byte(self):
        printer = CountingPrinter()
        queue = self.stage.our_queue("frames", printer.uri)
        labels, delays = 20, []
        self.one_job(queue, printer, 1)  # makes the folder
        for place in range(self.rounds):
            seen = f"/tmp/rig/seen-{place}"
            watch = subprocess.Popen([sys.executable, f"{HERE}/folder_watch.py", rig.FRAMES, seen])
            rig.eventually(lambda: os.path.exists(seen) and os.path.getsize(seen) > 0)
            self.one_job(queue, printer, labels)
            watch.terminate()
            watch.wait()
            with open(seen, encoding="utf-8") as file:
                appeared = [float(line.split()[0]) for line in file if " page_" in line]
            size, rest = divmod(printer.bytes, labels)
            if len(appeared) != labels or rest:
                raise rig.Failure(f"{labels} labels: {len(appeared)} frames, {printer.bytes} bytes")
            delays += [printer.time_of(n * size) - at for n, at in enumerate(appeared)]
        delays.sort()
        late = delays[len(delays) * 95 // 100]
        return [Row("frame appears to its first byte at the printer", "-", "median at most 2 ms",
                    f"{ms(delays)}, 95 of 100 within {1000 * late:.1f} ms; {len(delays)} labels",
                    statistics.median(delays) <= 0.002)]

    # --- whole jobs -------------------------------------------------------------------------------

    def hundred_labels(self):
        printer = CountingPrinter()
        quick = printer.uri + "/?snmp=false"
        ours = self.stage.our_queue("ours100", printer.uri)
        peer = self.stage.peer_queue("peer100", quick)
        bare = self.stage.plain_queue("bare100", quick, False)
        times = {ours: [], peer: [], bare: []}
        for queue in list(times) * (self.rounds + 1):
            times[queue].append(self.one_job(queue, printer, 100)[1:])
        last = {queue: [one[0] for one in times[queue][1:]] for queue in times}
        end = {queue: [one[1] for one in times[queue][1:]] for queue in times}
        ratio = statistics.median(last[ours]) / statistics.median(last[peer])
        return [Row("100 labels in one job, `lp` to last byte",
                    f"{seconds(last[peer])}, job printed after {seconds(end[peer])}",
                    "at most 0.75 s where the peer has 0.64 s: 1.17 x",
                    f"{seconds(last[ours])}, {ratio:.2f} x; job printed after "
                    f"{seconds(end[ours])}; the bare chain, which sends no dots, "
                    f"{seconds(end[bare])}",
                    ratio <= 0.75 / 0.64)]

    def twenty_jobs(self):
        printer = CountingPrinter()
        ours = self.stage.our_queue("ours20", printer.uri)
        quick = printer.uri + "/?snmp=false"
        peer = self.stage.peer_queue("peer20", quick)
        bare = self.stage.plain_queue("bare20", quick, False)
        jobs = 20

        def each(queue):
            for _ in range(jobs):
                number = self.system.lp(queue, self.stage.document(1))
                self.stage.await_end(number)
                yield number

        def together(queue):
            numbers = [self.system.lp(queue, self.stage.document(1)) for _ in range(jobs)]
            for number in numbers:
                self.stage.await_end(number)
            return numbers

        def timed(way, queue):
            self.stage.await_quiet()
            start = time.time()
            numbers = list(way(queue))
            taken = time.time() - start
            for number in numbers:
                self.stage.clear_away(number, start)
            return taken

        times = {}
        for _ in range(self.rounds):
            for way in (together, each):
                for queue in (ours, peer, bare):
                    times.setdefault((way, queue), []).append(timed(way, queue))
        ratios = {way: statistics.median(times[way, ours]) / statistics.median(times[way, peer])
                  for way in (together, each)}
        return [Row("20 jobs of one label, queued at once; one after the other",
                    f"{seconds(times[together, peer])}; {seconds(times[each, peer])}",
                    "at most 4.4 s where the peer has 4.6 s: 0.96 x",
                    f"{seconds(times[together, ours])}, {ratios[together]:.2f} x; "
                    f"{seconds(times[each, ours])}, {ratios[each]:.2f} x; the bare chain, which "
                    f"sends no dots, {seconds(times[together, bare])}; "
                    f"{seconds(times[each, bare])}",
                    max(ratios.values()) <= 4.4 / 4.6)]

    def never_closes(self):
        printer = CountingPrinter(closes=False)
        ours = self.stage.our_queue("deaf", printer.uri)
        busy = []
        for _ in range(self.rounds):
            _, last, end = self.one_job(ours, printer, 1)
            busy.append(end - last)
        peers = "90.2 s, measured in another run"
        if self.slow:
            peer = self.stage.peer_queue("deafpeer", printer.uri + "/?snmp=false")
            _, last, end = self.one_job(peer, printer, 1)
            peers = f"{end - last:.1f} s"
        return [Row("printer that never closes: busy after the last byte", peers,
                    "at most 1 s a job", seconds(busy), max(busy) <= 1)]

    def all(self):
        return [self.first_byte, self.slow_page, self.frame_to_byte, self.hundred_labels,
                self.twenty_jobs, self.never_closes]
