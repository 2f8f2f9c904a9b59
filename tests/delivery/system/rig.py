"""A print system of the tests' own: server, programs, queues, jobs and what became of them.

Only a real one shows what a backend has to live with; only a private one may be killed at will.
Call `machine.enter` first: the filter's folder is fixed, and so is its place in /var/spool.
"""

import contextlib
import glob
import os
import random
import re
import shutil
import signal
import socket
import subprocess
import threading
import time

import ipp
import machine

SERVER = "/usr/sbin/cupsd"
STOCK = "/usr/lib/cups"
SPOOL = "/var/spool/cups"
FRAMES = SPOOL + "/tmp/kcv6data"

PENDING, HELD, PROCESSING, STOPPED, CANCELED, ABORTED, COMPLETED = range(3, 10)
# States in which nothing moves any more: in STOPPED a filter failed and a person must act.
ENDED = (STOPPED, CANCELED, ABORTED, COMPLETED)
IDLE, PRINTING, PAUSED = 3, 4, 5

#: Seconds. What comes at all comes sooner, also on a machine that does much besides.
PATIENCE = 150


class Failure(AssertionError):
    """The rig could not do what a test asked for; the text says what the print system answered."""


def eventually(question, seconds=PATIENCE, what="", interval=0.01):
    """Asks until the answer is true and returns it; fails with `what` after `seconds`."""
    end = time.monotonic() + seconds
    while True:
        is_late = time.monotonic() > end  # who was kept from asking asks once more
        answer = question()
        if answer:
            return answer
        if is_late:
            raise Failure(f"after {seconds} s still not: {what or question}")
        time.sleep(interval)


class Job:
    """What the server says about a job at one moment."""

    def __init__(self, number, found):
        self.number = number
        self.state = found.get("job-state", 0)
        self.reasons = found.get("job-state-reasons", "")
        self.message = found.get("job-printer-state-message", "")
        self.sheets = found.get("job-media-sheets-completed", 0)
        self.uuid = found.get("job-uuid", "")
        self.attributes = found

    def __repr__(self):
        return f"job {self.number}: state {self.state}, {self.reasons}, \"{self.message}\", " \
               f"{self.sheets} sheets"


class PrintSystem:
    """One private server below `place`; its spool is the namespace's /var/spool/cups.

    build: the build directory with `rastertokestra`, `kestrafit`, `kestrasize`, `ppd/`, and `kestra`,
    `kestra-monitor` where they are built. stock: a folder like /usr/lib/cups whose programs are
    added where the machine has none. rules: more lines for cupsd.conf. environment: what the server
    gives to its programs.
    """

    def __init__(self, build, place="/tmp/rig", stock=None, rules="", environment=None):
        self.build = build
        self.place = place
        self.socket = f"{place}/sock"
        self.bin = f"{place}/bin"
        self.root = f"{place}/machine"
        self.rules = rules
        self.environment = {"KESTRA_DELIVERY_ROOT": self.root}
        self.environment.update(environment or {})
        self.server = None
        self.lives = 0
        for name in ("etc", "state", "cache", "home", "ppd"):
            os.makedirs(f"{place}/{name}", exist_ok=True)
        os.makedirs(SPOOL + "/tmp", exist_ok=True)
        # Where the programs of delivery look for their files: state and settings are the rig's own,
        # the spool is the real one, which is private already.
        os.makedirs(f"{self.root}/etc", exist_ok=True)
        os.makedirs(f"{self.root}/var/lib", exist_ok=True)
        os.symlink("/var/spool", f"{self.root}/var/spool")
        self._install_programs(stock)

    def _install_programs(self, stock):
        for room in ("filter", "backend", "monitor", "daemon", "notifier", "driver", "cgi-bin"):
            os.makedirs(f"{self.bin}/{room}", exist_ok=True)
            for home in (STOCK, stock):
                for path in glob.glob(f"{home}/{room}/*") + (
                        glob.glob(f"{home}/backend-available/*") if room == "backend" else []):
                    name = os.path.basename(path)
                    # An installed one of ours must not stand for the build's.
                    if "kestra" in name or os.path.lexists(f"{self.bin}/{room}/{name}"):
                        continue
                    if home == STOCK:
                        os.symlink(path, f"{self.bin}/{room}/{name}")
                    else:  # the user of filters may not look into the folder it lies in
                        shutil.copy(path, f"{self.bin}/{room}/{name}")
        for name in ("rastertokestra", "kestrafit", "kestrasize"):
            self.install("filter", name, f"{self.build}/{name}")
        for room, name, path, mode in (("backend", "kestra", "kestra", 0o744),
                                       ("monitor", "kestra", "kestra-monitor", 0o755)):
            if os.path.exists(f"{self.build}/{path}"):
                self.install(room, name, f"{self.build}/{path}", mode)
        for path in glob.glob(f"{self.build}/ppd/*.ppd"):
            shutil.copy(path, f"{self.place}/ppd/")

    def install(self, room, name, program, mode=0o755):
        """Puts a program (path of a file, or bytes of a script) into `room` of the server."""
        path = f"{self.bin}/{room}/{name}"
        if os.path.lexists(path):
            os.remove(path)
        if isinstance(program, bytes):
            with open(path, "wb") as out:
                out.write(program)
        else:
            shutil.copyfile(program, path)
        os.chown(path, 0, 0)
        os.chmod(path, mode)
        return path

    # --- the server's life ------------------------------------------------------------------------

    def _configure(self):
        lines = [f"ServerRoot {self.place}/etc", f"RequestRoot {SPOOL}", f"TempDir {SPOOL}/tmp",
                 f"StateDir {self.place}/state", f"CacheDir {self.place}/cache",
                 f"ServerBin {self.bin}", "DataDir /usr/share/cups",
                 f"ErrorLog {self.place}/error_log", f"AccessLog {self.place}/access_log",
                 f"PageLog {self.place}/page_log", "SystemGroup root", "User lp", "Group lp",
                 "FileDevice Yes"]
        lines += [f"SetEnv {name} {value}" for name, value in self.environment.items()]
        with open(f"{self.place}/cups-files.conf", "w", encoding="utf-8") as out:
            out.write("\n".join(lines) + "\n")
        with open(f"{self.place}/cupsd.conf", "w", encoding="utf-8") as out:
            out.write(f"Listen {self.socket}\nLogLevel debug\nMaxLogSize 0\nBrowsing No\n"
                      "DefaultAuthType None\nMaxJobs 0\nJobKillDelay 5\nPreserveJobFiles Yes\n"
                      f"{self.rules}\n"
                      "<Location />\nOrder allow,deny\nAllow all\n</Location>\n"
                      "<Policy default>\nJobPrivateAccess all\nJobPrivateValues none\n"
                      "<Limit All>\nOrder allow,deny\nAllow all\n</Limit>\n</Policy>\n")

    def start(self):
        """Starts the server and waits until it answers."""
        self._configure()
        files = ["-c", f"{self.place}/cupsd.conf", "-s", f"{self.place}/cups-files.conf"]
        with open(f"{self.place}/server.txt", "a", encoding="utf-8") as out:
            self.server = subprocess.Popen([SERVER, "-f"] + files, stdout=out, stderr=out,
                                           stdin=subprocess.DEVNULL)
        self.lives += 1

        def answers():
            if self.server.poll() is not None:
                why = subprocess.run([SERVER, "-t"] + files, capture_output=True, text=True,
                                     check=False)
                raise Failure(f"cupsd ends with {self.server.returncode}: {why.stdout}{why.stderr}")
            try:
                ipp.request(self.socket, ipp.GET_JOBS, {"printer-uri": "ipp://localhost/"})
                return True
            except OSError:
                return False

        eventually(answers, what="cupsd answers")

    def stop(self):
        """Asks the server alone to end (SIGTERM); it then ends its jobs' programs."""
        self._end(signal.SIGTERM)

    def programs(self):
        """Ids of all processes that the server started, and of those that these started."""
        mark = f"\0KESTRA_DELIVERY_ROOT={self.root}\0".encode()
        found = []
        for pid in filter(str.isdigit, os.listdir("/proc")):
            with contextlib.suppress(OSError):
                with open(f"/proc/{pid}/environ", "rb") as environment:
                    if mark in b"\0" + environment.read():
                        found.append(int(pid))
        return found

    def stop_service(self, chance=random):
        """Ends the service as the init system does: all of its processes, in any order, are asked to
        end at the same moment, and it has ended with the last of them."""
        everyone = [self.server.pid, *self.programs()]
        chance.shuffle(everyone)
        machine.ask_to_end(everyone)
        self.server.wait(PATIENCE)
        self.server = None
        eventually(lambda: not self.programs(), what="all of the service has ended")

    def kill9(self):
        """Ends the server alone, without giving it a moment; its jobs' programs live on."""
        self._end(signal.SIGKILL)

    def kill_service(self):
        """Kills the server and all that it started, as a power cut does that spares the disk."""
        self.kill9()
        while left := self.programs():
            for pid in left:
                with contextlib.suppress(ProcessLookupError):
                    os.kill(pid, signal.SIGKILL)

    def _end(self, sign):
        if self.server is None:
            return
        self.server.send_signal(sign)
        self.server.wait(PATIENCE)
        self.server = None

    def restart(self):
        """What a daily log rotation does."""
        self.stop()
        self.start()

    # --- commands and requests --------------------------------------------------------------------

    def run(self, *words, check=True):
        """Runs a client's command against this server; returns what it printed."""
        environment = {"PATH": os.environ.get("PATH", "/usr/sbin:/usr/bin:/sbin:/bin"),
                       "CUPS_SERVER": self.socket, "CUPS_SERVERROOT": f"{self.place}/home",
                       "HOME": f"{self.place}/home", "LC_ALL": "C.UTF-8"}
        done = subprocess.run(words, env=environment, capture_output=True, text=True, check=False,
                              stdin=subprocess.DEVNULL)
        if check and done.returncode:
            raise Failure(f"{' '.join(words)}: {done.stdout}{done.stderr}")
        return done.stdout + done.stderr

    def ask(self, operation, **attributes):
        """One request; names with _ for -. Returns (status, groups); status 0..2 is success."""
        named = {name.replace("_", "-"): value for name, value in attributes.items()}
        named["requesting-user-name"] = "root"
        return ipp.request(self.socket, operation, named)

    def _order(self, operation, **attributes):
        status, _ = self.ask(operation, **attributes)
        if status > 2:
            raise Failure(f"the server refuses request {operation:#x} {attributes}: {status:#06x}")

    # --- queues -----------------------------------------------------------------------------------

    def ppd(self, model="kestra4"):
        return f"{self.place}/ppd/{model}.ppd"

    @staticmethod
    def _options(options):
        return [word for key, value in (options or {}).items() for word in ("-o", f"{key}={value}")]

    def queue(self, name, uri, model="kestra4", options=None, words=()):
        """Makes or changes a queue; `model` is a name of the build's PPDs or a path."""
        path = model if "/" in model else self.ppd(model)
        self.run("lpadmin", "-p", name, "-E", "-v", uri, "-P", path, *self._options(options),
                 *words)

    def set_class(self, name, members):
        """A class of queues; it takes and prints jobs at once."""
        for member in members:
            self.run("lpadmin", "-p", member, "-c", name)
        self.run("cupsenable", name)
        self.run("cupsaccept", name)

    def printer(self, name, kind="printers"):
        """The printer's attributes, among them printer-state (IDLE, PRINTING, PAUSED)."""
        status, groups = self.ask(ipp.GET_PRINTER, printer_uri=f"ipp://localhost/{kind}/{name}")
        if status > 2 or not groups:
            raise Failure(f"no printer {name}: {status:#06x}")
        return groups[0]

    def disable(self, name):
        """What cupsdisable does: the job in progress goes back, nothing is started."""
        self._order(ipp.PAUSE_PRINTER, printer_uri=f"ipp://localhost/printers/{name}")

    def enable(self, name):
        self._order(ipp.RESUME_PRINTER, printer_uri=f"ipp://localhost/printers/{name}")

    # --- jobs -------------------------------------------------------------------------------------

    def document(self, content):
        """Path of a new file with `content` (bytes); the server tells its kind by content and name."""
        ending = {b"%PDF": ".pdf", b"3SaR": ".ras"}.get(content[:4], ".txt")
        os.makedirs(f"{self.place}/documents", exist_ok=True)
        path = f"{self.place}/documents/{time.monotonic_ns()}{ending}"
        with open(path, "wb") as out:
            out.write(content)
        return path

    def lp(self, queue, *documents, options=None, words=()):
        """Prints files (paths, or bytes) as one job and returns its number."""
        files = [self.document(one) if isinstance(one, bytes) else one for one in documents]
        said = self.run("lp", "-d", queue, *self._options(options), *words, *files)
        found = re.search(rf"request id is {re.escape(queue)}-(\d+)", said)
        if not found:
            raise Failure(f"lp said: {said}")
        return int(found.group(1))

    def job(self, number):
        status, groups = self.ask(ipp.GET_JOB, job_uri=f"ipp://localhost/jobs/{number}")
        return Job(number, groups[0] if status <= 2 and groups else {})

    def jobs(self, which="not-completed"):
        """Numbers of the jobs of all queues."""
        _, groups = self.ask(ipp.GET_JOBS, printer_uri="ipp://localhost/", which_jobs=which,
                             requested_attributes="job-id")
        return [group["job-id"] for group in groups if "job-id" in group]

    def wait(self, number, states=ENDED, seconds=PATIENCE):
        """Waits until the job is in one of `states`; returns it."""
        last = [None]

        def there():
            try:
                last[0] = self.job(number)
            except OSError:
                return False
            return last[0].state in states

        try:
            eventually(there, seconds)
        except Failure as late:
            raise Failure(f"job {number} does not come to {states}: {last[0]}\n"
                          + "\n".join(self.log(number)[-40:])) from late
        return last[0]

    def _job_order(self, operation, number, **more):
        self._order(operation, job_uri=f"ipp://localhost/jobs/{number}", **more)

    def cancel(self, number):
        self._job_order(ipp.CANCEL_JOB, number)

    def hold(self, number):
        """A job in progress goes back to the queue and is held there."""
        self.run("lp", "-i", str(number), "-H", "hold")

    def resume(self, number):
        self.run("lp", "-i", str(number), "-H", "resume")

    def restart_job(self, number):
        """The user wants an ended job printed again."""
        self.run("lp", "-i", str(number), "-H", "restart")

    def change(self, number, **options):
        """Changes options of a job that waits."""
        self.run("lp", "-i", str(number), *self._options(options))

    # --- what happened ----------------------------------------------------------------------------

    def text(self, name):
        try:
            with open(f"{self.place}/{name}", encoding="utf-8", errors="replace") as file:
                return file.read()
        except FileNotFoundError:
            return ""

    def log(self, number=None):
        """Lines of the error log, of one job where a number is given."""
        mark = "" if number is None else f"[Job {number}] "
        return [line for line in self.text("error_log").split("\n") if line and mark in line]

    def await_log(self, number, words, seconds=PATIENCE):
        """Waits for a line of the job that holds `words` and returns it."""
        return eventually(lambda: next((x for x in self.log(number) if words in x), None),
                          seconds, f"job {number} says \"{words}\"")

    def frames(self, number=None):
        mark = "" if number is None else f"_jobid_{number:06d}_"
        return sorted(path for path in glob.glob(FRAMES + "/page_*.dat") if mark in path)


class Sink:
    """A plain listener at 127.0.0.1 that keeps every byte and the time of each connection.

    For facts about the print system; labels are judged by the virtual printer, not by this.
    """

    def __init__(self, buffer=None):
        self.listener = socket.socket()
        if buffer:
            self.listener.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, buffer)
        self.listener.bind(("127.0.0.1", 0))
        self.listener.listen(8)
        self.port = self.listener.getsockname()[1]
        self.connections = []  # of [time of the first byte or None, bytes, open?]
        self.flow = threading.Event()
        self.flow.set()
        threading.Thread(target=self._accept, daemon=True).start()

    def uri(self):
        return f"socket://127.0.0.1:{self.port}"

    def _accept(self):
        while True:
            try:
                peer, _ = self.listener.accept()
            except OSError:
                return
            self.flow.wait()
            record = [None, b"", True]
            self.connections.append(record)
            while True:
                self.flow.wait()
                try:
                    part = peer.recv(65536)
                except OSError:
                    break
                if not part:
                    break
                record[0] = record[0] or time.time()
                record[1] += part
            record[2] = False
            peer.close()

    def received(self):
        return b"".join(record[1] for record in self.connections)

    def close(self):
        self.flow.set()
        self.listener.close()
