"""A job of two labels for one of delivery's programs, with a printer, in a folder of its own."""
import os
import pathlib
import re
import shutil
import signal
import socket
import stat
import tempfile
import threading
import time

import traced

COARSE_CLOCK = 5  # of files: CLOCK_REALTIME_COARSE
USER = 7654  # whoever filters, where the test runs as root; has no name
COMMAND = b"\x1B\x73\x01\x00\x00\x02\x01"
BUILD = pathlib.Path(os.environ.get("KESTRA_BUILD", "build"))


def frame(number):
    """12 x 2 dots, two records of 5 bytes; the dot of the second row is another in each label."""
    return (b"SIZ\x01\x0C\x00\x02\x00\x0F\x00\x00\x00" + bytes([number]) +
            b"\x00\x1D\x76\x30\x00\x05\x00\x02\x00" + b"\x04\x00\x00\xF0\x00" +
            b"\x01\x00\x00\x00" + bytes([8 << number]))


LABELS = [COMMAND + frame(1), COMMAND + frame(2)]


class Printer:
    """Takes connections, one after the other, and keeps what each brings."""

    def __init__(self):
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.connections = []
        self.last = None
        self.thread = threading.Thread(target=self._serve, daemon=True)
        self.thread.start()

    def uri(self):
        return f"socket://127.0.0.1:{self.listener.getsockname()[1]}"

    def _serve(self):
        while True:
            try:
                connection, peer = self.listener.accept()
            except OSError:
                return
            if peer == self.last:
                connection.close()
                return
            got = bytearray()
            self.connections.append(got)
            with connection:
                try:
                    while part := connection.recv(65536):
                        got += part
                except OSError:
                    pass

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.thread.is_alive():
            self.close()

    def close(self):
        """Ends it; what came is whole then."""
        # Behind this connection of our own none of a sender's is left that was not yet accepted.
        with socket.socket() as last:
            last.bind(("127.0.0.1", 0))
            self.last = last.getsockname()
            last.connect(self.listener.getsockname())
            self.thread.join()
        self.listener.close()


def labels(connections):
    """The numbers of the whole labels; a connection may end inside one. None: something else."""
    found = []
    for got in map(bytes, connections):
        while got:
            known = [n for n, label in enumerate(LABELS, 1) if got[:len(label)] == label[:len(got)]]
            if not known:
                return None
            if len(got) >= len(LABELS[0]):
                found.append(known[0])
            got = got[len(LABELS[0]):]
    return found


class Place:
    """The private tree in which one job is printed, as often as it is started."""

    def __init__(self):
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="kestra-calls-"))
        self.root.chmod(0o755)
        self.frames = self.root / "tree/var/spool/cups/tmp/kcv6data"
        for folder in (self.frames, self.root / "tree/var/lib", self.root / "tree/etc",
                       self.root / "backend"):
            folder.mkdir(parents=True)
            folder.chmod(0o755)
        self.frames.chmod(0o700)
        if os.geteuid() == 0:
            os.chown(self.frames, USER, USER)
        (self.root / "cups-files.conf").write_text(f"User {USER}\nGroup {USER}\n")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.end_all()
        shutil.rmtree(self.root)

    def end_all(self):
        """What hangs lives in sessions of its own: it is known by its environment."""
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                if f"KESTRA_DELIVERY_ROOT={self.root}/".encode() in (process / "environ").read_bytes():
                    os.kill(int(process.name), signal.SIGKILL)
            except OSError:
                pass  # it has ended, or is not ours

    def program(self, name, script):
        """A program of the print system's that only root may start, where the test runs as root."""
        path = self.root / "backend" / name
        path.write_text("#!/bin/sh\n" + script)
        path.chmod(stat.S_IRWXU)

    def _store(self, name, data):
        part = self.root / "part"
        part.write_bytes(data)
        part.chmod(0o600)
        if os.geteuid() == 0:
            os.chown(part, USER, USER)
        part.rename(self.frames / name)

    def start(self, program, uri, **how):
        """One start of the job, behind a filter that has done its work."""
        reading, writing = os.pipe()
        made = os.fstat(reading).st_atime_ns
        while time.clock_gettime_ns(COARSE_CLOCK) <= made:
            pass  # a frame as old as the pipe could be another start's
        for old in self.frames.glob("page_*"):
            old.unlink()
        for number in (1, 2):
            self._store(f"page_000{number}_jobid_000012_0000.dat", frame(number))
        self._store("label.pgc", b"\x03\x00")
        os.write(writing, COMMAND * 2)
        os.close(writing)
        environment = dict(os.environ, KESTRA_DELIVERY_ROOT=str(self.root / "tree"),
                           CUPS_SERVERROOT=str(self.root), CUPS_SERVERBIN=str(self.root),
                           DEVICE_URI=uri, PRINTER="label")
        options = "job-uuid=urn:uuid:0c6bdb70-8d3d-3f0c-4a0a-94e1d3b7b3a1 time-at-creation=1795226353"
        try:
            return traced.run([str(BUILD / program), "12", "anna", "title", "1", options],
                              stdin=reading, env=environment, **how)
        finally:
            os.close(reading)


def announced(errors):
    """The labels of which it was said that they may come twice."""
    found = set()
    for first, last in re.findall(r"WARNING: Labels? (\d)(?: (?:and|to) (\d))? may come twice", errors):
        found.update(range(int(first), int(last or first) + 1))
    return found
