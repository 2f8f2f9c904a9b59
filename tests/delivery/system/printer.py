"""The virtual printer as a test's tool: started, told to fail, followed label by label, judged."""

import contextlib
import json
import os
import signal
import subprocess

from rig import PATIENCE, Failure, eventually

#: Of a fault that lasts until the test says otherwise: `go_on`, `listen`. No test takes so long.
UNTIL_TOLD = 100_000


class Printer:
    """One kestra-paper. `expect`: text of a list of labels that should come, for the verdict.

    source: as kestra-paper takes it; speed: mm a second, 0 for as fast as it comes; faults: texts
    "WHEN ACTION". Its files lie in `folder`. within: a command before the printer's own, which it
    runs in its place; meanwhile: what is to be done before that begins.
    """

    def __init__(self, build, folder, expect="", source="tcp:0", speed=0, faults=(), words=(),
                 within=(), meanwhile=None):
        os.makedirs(folder)
        self.folder = folder
        self.events_read = []
        self._at = 0
        self.verdict = None
        with open(f"{folder}/wanted", "w", encoding="utf-8") as out:
            out.write(expect)
        command = [f"{build}/kestra-paper", source, "--ready", f"{folder}/ready", "--log",
                   f"{folder}/log", "--control", f"{folder}/control", "--expect",
                   f"{folder}/wanted", "--quiet"]
        command += ["--speed", str(speed)] if speed else []
        command += [word for fault in faults for word in ("--fault", fault)]
        with open(f"{folder}/stderr", "w", encoding="utf-8") as out:
            self.process = subprocess.Popen([*within, *command, *words], stderr=out, stdout=out,
                                            stdin=subprocess.DEVNULL)
        if meanwhile:
            meanwhile()
        eventually(lambda: os.path.exists(f"{folder}/ready") or self.process.poll() is not None,
                   what="the printer listens")
        if self.process.poll() is not None:
            raise Failure(f"kestra-paper ends with {self.process.returncode}: {self.complaints()}")
        with open(f"{folder}/ready", encoding="utf-8") as ready:
            self.place = ready.read().strip()

    def complaints(self):
        with open(f"{self.folder}/stderr", encoding="utf-8") as said:
            return said.read()

    def uri(self, host="127.0.0.1"):
        return f"socket://{host}:{self.place}"

    # --- what came --------------------------------------------------------------------------------

    def events(self, kind=None):
        """What the printer has told so far, as dictionaries."""
        try:
            with open(f"{self.folder}/log", "rb") as log:
                log.seek(self._at)
                part = log.read()
        except FileNotFoundError:
            part = b""
        end = part.rfind(b"\n") + 1
        self._at += end
        self.events_read += [json.loads(line) for line in part[:end].splitlines()]
        return [one for one in self.events_read if kind in (None, one["event"])]

    def labels(self):
        """Digests of the whole labels, in the order in which they came."""
        return [one["digest"] for one in self.events("label") if one["whole"]]

    def torn(self):
        return [one for one in self.events("label") if not one["whole"]]

    def await_labels(self, count, seconds=PATIENCE):
        eventually(lambda: len(self.labels()) >= count, seconds, f"{count} labels are out")

    def await_action(self, words, count=1, seconds=PATIENCE):
        """Waits until a planned fault happens; one that pauses leaves the time to act in a page."""
        eventually(lambda: sum(words in one["action"] for one in self.events("action")
                               if one["why"] != "control") >= count,
                   seconds, f"the printer does \"{words}\"")

    # --- orders -----------------------------------------------------------------------------------

    def act(self, action):
        """Does an action at once, or plans a "WHEN ACTION"."""
        with open(f"{self.folder}/control", "w", encoding="utf-8") as control:
            control.write(action + "\n")

    def go_on(self):
        """Ends a pause."""
        self.act("pause 0")

    def listen(self):
        """Ends the time in which it refuses connections."""
        self.act("refuse 0")

    def _has_hung_up(self):
        connections = [one["what"] for one in self.events("connection")]
        return connections.count("opened") == connections.count("closed")

    def judge(self):
        """Ends the printer; returns the verdict, with its exit status as `status`."""
        if self.verdict is None:
            # A job is done when the printer's system has its bytes; it may still have to read them.
            with contextlib.suppress(Failure):
                eventually(self._has_hung_up, 30)
            self.process.send_signal(signal.SIGTERM)
            self.process.wait(PATIENCE)
            found = self.events("verdict")
            if not found:
                raise Failure(f"no verdict: {self.complaints()}")
            self.verdict = dict(found[-1], status=self.process.returncode)
        return self.verdict

    def close(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
