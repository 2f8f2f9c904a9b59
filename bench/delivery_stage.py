"""Where delivery is measured: a print system on the disk, its queues, and printers that only count.

The judge of labels takes processor time of its own; where only bytes and times matter, it would be
measured as well.
"""

import glob
import os
import socket
import subprocess
import sys
import threading
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SYSTEM_TESTS = ROOT + "/tests/delivery/system"
sys.path.insert(0, SYSTEM_TESTS)

import label_pages
import machine
import rig
from printer import Printer  # for those that measure

STATE = "/var/spool/lib/rastertokestra"
LABEL = {"PageSize": "w288h432", "Resolution": "203dpi"}


class CountingPrinter:
    """Takes everything at once; knows when which byte came. closes: when its sender has ended."""

    def __init__(self, closes=True):
        self.closes = closes
        self.listener = socket.socket()
        self.listener.bind(("127.0.0.1", 0))
        self.listener.listen(16)
        self.uri = f"socket://127.0.0.1:{self.listener.getsockname()[1]}"
        self.changed = threading.Condition()
        self.clear()
        threading.Thread(target=self._accept, daemon=True).start()

    def clear(self):
        with self.changed:
            self.arrivals = []  # of (time, bytes so far)
            self.bytes = 0
            self.ended = 0  # connections that their senders have ended

    def _accept(self):
        while True:
            peer, _ = self.listener.accept()
            threading.Thread(target=self._serve, args=(peer,), daemon=True).start()

    def _serve(self, peer):
        while True:
            part = peer.recv(262144)
            now = time.time()
            with self.changed:
                if part:
                    self.bytes += len(part)
                    self.arrivals.append((now, self.bytes))
                else:
                    self.ended += 1
                self.changed.notify_all()
            if not part:
                break
        if self.closes:
            peer.close()
        else:
            self.kept = peer  # a printer that never closes

    def await_ended(self, connections, seconds):
        """Waits until so many senders are done."""
        with self.changed:
            if not self.changed.wait_for(lambda: self.ended >= connections, seconds):
                raise rig.Failure(f"{self.ended} of {connections} senders are done")

    def time_of(self, byte):
        """When the byte with that number, 0 the first, came."""
        return next(at for at, so_far in self.arrivals if so_far > byte)

    def first(self):
        return self.arrivals[0][0]

    def last(self):
        return self.arrivals[-1][0]


class Stage:
    """One print system and what it prints on. Call `machine.enter` first.

    work: a folder on the disk where a print system's spool would lie; in memory nothing would cost
    what it costs a user. stock: a folder like /usr/lib/cups with the print system's own programs.
    patience: seconds to wait for a quiet moment before each round.
    """

    def __init__(self, build, stock, work, patience):
        self.build = build
        self.patience = patience
        os.chmod(work, 0o755)
        # One mount for spool and journals, as on a usual machine: frames are linked, not copied.
        subprocess.run(["mount", "--bind", work, "/var/spool"], check=True)
        # As people run it: at this level no line of a filter is logged.
        self.system = rig.PrintSystem(build, stock=stock, rules="LogLevel warn\n")
        os.rmdir(f"{self.system.root}/var/lib")
        os.mkdir("/var/spool/lib")
        os.symlink("/var/spool/lib", f"{self.system.root}/var/lib")
        self.system.start()
        self.peer_model = self._peer_model()
        self.noisy = 0
        self._documents = {}

    def stop(self):
        self.system.stop()

    @staticmethod
    def _peer_model():
        """A description of the print system's own driver for label printers, 4 x 6 inches."""
        folder, drivers = "/tmp/rig/peer", "/usr/share/cups/drv/sample.drv"
        subprocess.run(["ppdc", "-d", folder, drivers], check=True, capture_output=True)
        for path in sorted(glob.glob(folder + "/*.ppd")):
            with open(path, encoding="utf-8", errors="replace") as file:
                text = file.read()
            if all(word in text for word in ("rastertolabel", "Resolution 203dpi",
                                             "PageSize w288h432")):
                return path
        raise rig.Failure("the print system has no label driver of its own")

    def document(self, labels, first=1):
        """Path of a PDF with so many labels."""
        if (labels, first) not in self._documents:
            path = self.system.document(label_pages.pdf(labels, first))
            self._documents[labels, first] = path
        return self._documents[labels, first]

    # --- queues -----------------------------------------------------------------------------------

    def plain_queue(self, name, uri, monitored):
        """Our filter on the stock backend, with our port monitor or as the bare chain."""
        self.system.queue(name, uri, options=LABEL)
        if not monitored:  # it is chosen for a new queue, and only a change takes it away
            self.system.queue(name, uri, options=LABEL, words=("-o", "port-monitor=none"))
        return name

    def our_queue(self, name, uri, model="kestra4", options=None):
        self.system.queue(name, "kestra:" + uri, model=model, options=options or LABEL)
        return name

    def peer_queue(self, name, uri):
        self.system.queue(name, uri, model=self.peer_model, options=LABEL)
        return name

    def asking_queue(self, name, uri):
        """The peer as if its description, like most, let the backend ask the printer by SNMP."""
        model = "/tmp/rig/asking.ppd"
        with open(self.peer_model, encoding="utf-8", errors="replace") as peer:
            lines = [line for line in peer if not line.startswith("*cupsSNMPSupplies")]
        with open(model, "w", encoding="utf-8") as out:
            out.writelines(lines)
        self.system.queue(name, uri, model=model, options=LABEL)
        return name

    def raw_queue(self, name, uri):
        self.system.run("lpadmin", "-p", name, "-E", "-v", uri, "-m", "raw")
        return name

    # --- moments ----------------------------------------------------------------------------------

    def await_quiet(self):
        """Waits until the machine has little else to do; counts where it never had."""
        def busy():
            with open("/proc/stat", encoding="utf-8") as file:
                times = [int(word) for word in file.readline().split()[1:9]]
            return sum(times) - times[3] - times[4], sum(times)

        end = time.monotonic() + self.patience
        while True:
            before = busy()
            time.sleep(0.25)
            after = busy()
            if after[0] - before[0] <= 0.15 * (after[1] - before[1]):
                return
            if time.monotonic() > end:
                self.noisy += 1
                return

    def await_end(self, number, seconds=120):
        """Waits until a job is completed; returns when that was."""
        while True:
            job = self.system.job(number)
            now = time.time()
            if job.state == rig.COMPLETED:
                return now
            seconds -= 0.003
            if job.state in rig.ENDED or seconds < 0:
                raise rig.Failure(str(job))
            time.sleep(0.003)

    def clear_away(self, number, start):
        """Removes what the bare chain leaves of a job: the next one of ours would have to.

        A job of ours leaves no frames; its images stay, so that the next one trims as many.
        """
        frames = self.system.frames(number)
        for frame in frames:
            os.unlink(frame)
        if not frames:
            return
        with os.scandir(rig.SPOOL + "/tmp") as entries:
            for entry in entries:
                if entry.name.endswith(".bmp") and entry.stat().st_mtime >= start:
                    os.unlink(entry.path)

    def await_idle(self, queue, seconds=120):
        """Waits until a queue prints nothing; returns when that was."""
        end = time.monotonic() + seconds
        while self.system.printer(queue)["printer-state"] != rig.IDLE:
            if time.monotonic() > end:
                raise rig.Failure(f"the queue {queue} stays busy")
            time.sleep(0.003)
        return time.time()

    def senders(self):
        """Processes of ours that outlive the print system, and those that it watches."""
        all_of_them = machine.processes("kestra")
        senders = [pid for pid in all_of_them if machine.leads_session(pid)]
        return senders, [pid for pid in all_of_them if pid not in senders]


def peak_memory(pid):
    """Bytes that a process has had in memory at most."""
    with open(f"/proc/{pid}/status", encoding="utf-8") as file:
        return next(int(line.split()[1]) * 1024 for line in file if line.startswith("VmHWM"))


def processor_seconds(pid):
    with open(f"/proc/{pid}/stat", encoding="utf-8", errors="replace") as file:
        words = file.read().rsplit(") ", 1)[1].split()
    return (int(words[11]) + int(words[12])) / os.sysconf("SC_CLK_TCK")
