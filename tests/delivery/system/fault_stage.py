"""Where rounds of random faults take place: one print system, its queues, printers and documents.

The print system lives over all rounds, as starting it costs more than a round should; printers are
new for each, so that a round's records are its own.
"""

import contextlib
import ctypes
import glob
import os
import pwd
import shutil
import subprocess
import time

import documents
import fault_judge
import machine
import rig
from printer import Printer

HERE = os.path.dirname(os.path.abspath(__file__))
STATE = "/tmp/rig/machine/var/lib/rastertokestra"
LABELS = 20
TAIL = 2
PORT, OTHER_PORT = 9100, 9101
USB_PLACE = "/tmp/rig/usb"
FAR, NEAR = "10.9.0.2", "10.9.0.1"  # the ends of the cable
_CLONE_NEWNET = 0x40000000

#: The print system's own file of a job is written at once: a job that it forgot nobody can bring.
RULES = "DirtyCleanInterval 0\nMaxJobs 60\n"

#: A backend that forgets what it printed when it is started again, and one that calls every job
#: printed: what a judge must not let pass.
FORGETFUL = """#!/bin/sh
umask 022
root=$(mktemp -d /tmp/rig/forgetful.XXXXXX) && chmod 755 "$root" && mkdir -p "$root/var/lib" && ln -s /var/spool "$root/var/spool"
KESTRA_DELIVERY_ROOT=$root DEVICE_URI=${DEVICE_URI#forgetful:} exec "${0%/*}/kestra" "$@"
"""
CARELESS = """#!/bin/sh
DEVICE_URI=${DEVICE_URI#careless:} "${0%/*}/kestra" "$@"
exit 0
"""


class Document:
    """A document, and the labels that it gives without any delivery."""

    def __init__(self, kind, millimetres, content):
        self.kind = kind  # a name for documents that take the same time
        self.millimetres = millimetres  # of one label
        self.content = content
        self.path = None
        self.wanted = []


def _documents():
    small = [Document("small", 30, documents.raster(LABELS, 1 + LABELS * n)) for n in range(6)]
    large = [Document("large", 50, documents.raster(LABELS, 201 + LABELS * n, 796, 400,
                                                    size_name="w283h142")) for n in range(4)]
    pdf = [Document("pdf", 152, documents.pdf(LABELS, 301 + LABELS * n)) for n in range(3)]
    tails = [Document("tail", 30, documents.raster(TAIL, 901 + TAIL * n)) for n in range(4)]
    return small, large, pdf, tails


class Stage:
    """Everything that rounds share. `build`: the build directory.

    links: the journals lie on the file system of the frames, so that frames are linked, not copied.
    """

    def __init__(self, build, links=False):
        self.build = build
        self.system = rig.PrintSystem(build, rules=RULES)
        # A thousand jobs must not fill the machine's memory.
        with open("/tmp/rig/machine/etc/rastertokestra.conf", "w", encoding="utf-8") as out:
            out.write("debug-images 4 MB\n")
        self.system.install("backend", "nowhere", b"#!/bin/sh\nexec cat >/dev/null\n")
        for name, text in (("forgetful", FORGETFUL), ("careless", CARELESS)):
            text = text.replace("${0%/*}", self.system.bin + "/backend")
            self.system.install("backend", name, text.encode(), 0o744)
        with open(f"{HERE}/usb_stand_in.py", "rb") as stand_in:
            self.system.install("backend", "usb", stand_in.read(), 0o744)
        if links:
            os.rmdir(f"{self.system.root}/var/lib")
            os.mkdir("/var/spool/lib")
            os.symlink("/var/spool/lib", f"{self.system.root}/var/lib")
        self._lay_cable()
        self.system.start()
        self._make_queues()
        self.small, self.large, self.pdf, self.tails = _documents()
        self._find_wanted()
        self.folders = 0
        self.startup = {}  # seconds from lp to the last label beyond the paper's own, by kind
        self.lives = {}  # seconds that a program lives in a job, by (kind, program)
        self._turn = 0

    # --- what is there ----------------------------------------------------------------------------

    def _lay_cable(self):
        """A pair of network devices, one end of it in a network namespace of its own."""
        self.holder = subprocess.Popen(["unshare", "--net", "sleep", "infinity"])
        mine = os.readlink("/proc/self/ns/net")
        path = f"/proc/{self.holder.pid}/ns/net"
        rig.eventually(lambda: os.readlink(path) != mine, what="a second network")
        self.far = os.open(path, os.O_RDONLY)
        self.near = os.open("/proc/self/ns/net", os.O_RDONLY)
        self.ip("link", "add", "cable", "type", "veth", "peer", "name", "printer", "netns",
                str(self.holder.pid))
        self.ip("addr", "add", f"{NEAR}/24", "dev", "cable")
        self.ip("link", "set", "cable", "up")
        with self.far_away():
            self.ip("addr", "add", f"{FAR}/24", "dev", "printer")
            self.ip("link", "set", "printer", "up")

    @staticmethod
    def ip(*words):
        subprocess.run(["ip", *words], check=True)

    @contextlib.contextmanager
    def far_away(self):
        """What is started here lives at the other end of the cable."""
        libc = ctypes.CDLL(None, use_errno=True)
        if libc.setns(self.far, _CLONE_NEWNET):
            raise OSError(ctypes.get_errno(), "setns")
        try:
            yield
        finally:
            libc.setns(self.near, _CLONE_NEWNET)

    def _make_queues(self):
        here = f"socket://127.0.0.1:{PORT}"
        for name, uri in (("label", f"kestra:{here}"), ("cable", f"kestra:socket://{FAR}:{PORT}"),
                          ("left", f"kestra:{here}"), ("nowhere", "nowhere:/"),
                          ("right", f"kestra:socket://127.0.0.1:{OTHER_PORT}"),
                          ("forgetful", f"forgetful:kestra:{here}"),
                          ("careless", f"careless:kestra:{here}"),
                          ("usb", f"kestra:usb://Stand/In?place={USB_PLACE}")):
            self.system.queue(name, uri)
        self.system.set_class("pair", ["left", "right"])

    def _find_wanted(self):
        seen = set()
        for one in self.small + self.large + self.pdf + self.tails:
            one.path = self.system.document(one.content)
            number = self.system.lp("nowhere", one.path)
            job = self.system.wait(number)
            frames = self.system.frames(number)
            count = TAIL if one.kind == "tail" else LABELS
            if job.state != rig.COMPLETED or len(frames) != count:
                raise rig.Failure(f"{len(frames)} frames of {count}: {job}")
            said = subprocess.run([f"{self.build}/kestra-paper", "--digest", *frames], check=True,
                                  capture_output=True, text=True).stdout
            for frame in frames:
                os.unlink(frame)
            one.wanted = [line.split()[0] for line in said.splitlines()]
            seen.update(one.wanted)
        everything = LABELS * len(self.small + self.large + self.pdf) + TAIL * len(self.tails)
        if len(seen) != everything:
            raise rig.Failure(f"{everything} labels, but only {len(seen)} different ones")

    def next_of(self, some):
        """Documents in turn: no round's labels are those of the round before."""
        self._turn += 1
        return some[self._turn % len(some)]

    def printer(self, speed, folder, port=PORT, faults=()):
        """A new printer at a fixed port, so that queues stay as they are."""
        return Printer(self.build, folder, source=f"tcp:127.0.0.1:{port}", speed=speed,
                       faults=faults, words=["--allow-unknown", "1000000"])

    def far_printer(self, speed, folder):
        with self.far_away():
            return Printer(self.build, folder, source=f"tcp:{FAR}:{PORT}", speed=speed)

    def usb_printer(self, speed, folder):
        """A printer on the stand-in's bus."""
        shutil.rmtree(USB_PLACE, ignore_errors=True)
        os.makedirs(USB_PLACE)
        os.symlink(f"{folder}/log", f"{USB_PLACE}/log")
        found = Printer(self.build, folder, source=f"unix:{USB_PLACE}/socket", speed=speed,
                        words=["--keep-state"])
        with open(f"{USB_PLACE}/pid", "w", encoding="utf-8") as out:
            out.write(str(found.process.pid))
        return found

    # --- what happens -----------------------------------------------------------------------------

    @staticmethod
    def _of_filters(pid):
        try:
            return os.stat(f"/proc/{pid}").st_uid == pwd.getpwnam("lp").pw_uid
        except FileNotFoundError:
            return False

    def fronts(self):
        """The processes of ours that the print system started and watches."""
        return [pid for pid in machine.processes("kestra")
                if not machine.leads_session(pid) and self._of_filters(pid)]

    def senders(self):
        return [pid for pid in machine.processes("kestra")
                if machine.leads_session(pid) and self._of_filters(pid)]

    def listens(self):
        """Whether a sender hears of new frames."""
        for pid in self.senders():
            with contextlib.suppress(OSError):
                for entry in os.listdir(f"/proc/{pid}/fd"):
                    if "inotify" in os.readlink(f"/proc/{pid}/fd/{entry}"):
                        return True
        return False

    @staticmethod
    def is_noted():
        """Whether the journal of a job that prints has begun."""
        with contextlib.suppress(OSError):
            return bool(os.listdir(f"{STATE}/open"))
        return False

    @staticmethod
    def stand_ins():
        """The stand-in for the USB backend, a script."""
        found = []
        for pid in os.listdir("/proc"):
            with contextlib.suppress(OSError):
                if pid.isdigit():
                    with open(f"/proc/{pid}/cmdline", "rb") as words:
                        if b"/backend/usb" in words.read():
                            found.append(int(pid))
        return found

    def log_size(self):
        return os.path.getsize(f"{self.system.place}/error_log")

    def log_since(self, place):
        """Lines about jobs, and what is no chatter with clients."""
        with open(f"{self.system.place}/error_log", "rb") as log:
            log.seek(place)
            lines = log.read().decode(errors="replace").split("\n")
        return [line for line in lines if "[Job " in line or not line.startswith("D ")]

    def wait_end(self, number, seconds=rig.PATIENCE, also=()):
        """Waits until nothing moves any more; the job, or None where it does not come to its end."""
        wanted = rig.ENDED + tuple(also)
        until = time.monotonic() + seconds
        paused_at = 0
        while time.monotonic() < until:
            time.sleep(0.02)
            try:
                job = self.system.job(number)
                if job.state in wanted and not machine.processes("kestra"):
                    return job
                if job.state == rig.PENDING and time.monotonic() > paused_at + 0.5:
                    paused_at = time.monotonic()
                    for queue in ("label", "cable", "left", "right", "usb"):
                        if self.system.printer(queue)["printer-state"] == rig.PAUSED:
                            return None
            except OSError:
                continue
        return None

    def clean_up(self, number):
        """After a round that stuck: nothing of it may touch the next."""
        for pid in machine.processes("kestra"):
            with contextlib.suppress(ProcessLookupError):
                os.kill(pid, 9)
        if self.system.server is None or self.system.server.poll() is not None:
            self.system.server = None
            self.system.start()
        with contextlib.suppress(rig.Failure, OSError):
            self.system.cancel(number)
        for queue in ("label", "cable", "left", "right", "usb"):
            self.system.enable(queue)
        rig.eventually(lambda: not machine.processes("kestra"), what="all have gone")
        self.forget_jobs()

    def left_over(self):
        """What no job that has ended leaves: frames, marks and programs. It is gone afterwards."""
        with contextlib.suppress(rig.Failure):
            rig.eventually(lambda: not self.system.programs(), 60)
        files = self.system.frames() + glob.glob(f"{STATE}/jobs/*/*/frame-*")
        files += glob.glob(f"{STATE}/open/*")
        for path in files:
            os.unlink(path)
        programs = []
        for pid in self.system.programs():
            with contextlib.suppress(OSError):
                with open(f"/proc/{pid}/comm", encoding="utf-8") as name:
                    programs.append(name.read().strip())
                os.kill(pid, 9)
        return files + programs

    @staticmethod
    def forget_jobs():
        """Nothing that an earlier job left is printed before the next one."""
        subprocess.run(["rm", "-rf", f"{STATE}/jobs", f"{STATE}/open"], check=True)

    @staticmethod
    def keep_journal(job, folder):
        """Copies what delivery remembers of a job."""
        source = f"{STATE}/jobs/{job.uuid.rpartition(':')[2]}-{job.number}"
        if os.path.isdir(source):
            shutil.copytree(source, f"{folder}/journal", dirs_exist_ok=True)


def last_label(events, wanted):
    """When the last byte of the last wanted label came."""
    known = set(wanted)
    return max((one["last"] for one in fault_judge.whole_labels(events)
                if one["digest"] in known), default=0)
