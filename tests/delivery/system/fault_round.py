"""One round: a job of 20 labels, one fault at a random moment of it, and the judgement.

The moment lies between `lp` and the time at which the last label would be out, or in the life of
the program that is to be struck.
"""

import dataclasses
import glob
import json
import os
import random
import shutil
import time

import fault_judge
import fault_stage
import machine
import rig

ATTEMPTS = 20  # a fault that finds nothing to strike is tried again at another moment
SKIP_SHARE = 0.25  # of the rounds are printed with doubt=skip
PDF_SHARE = 0.1


@dataclasses.dataclass
class Outcome:
    """A round in figures."""
    kind: str
    number: int
    seed: str
    struck: bool
    findings: fault_judge.Findings
    extra: float  # seconds beyond a job without a fault
    seconds: float  # of the whole round
    doubt: str
    when: float  # the moment as a share of the job, or of the program's life


class Round:
    """A job at work on a stage. `kind` does its fault to it; `seed`: text that decides all else."""

    def __init__(self, stage, kind, seed, folder, share=None, queue=None):
        self.stage, self.kind, self.folder = stage, kind, folder
        self.system = stage.system
        self.seed = seed
        self.random = random.Random(seed)
        self.queue = queue or kind.queue
        self.number = 0
        self.stopped_at = 0.0
        self.printers = []
        self.helped = 0
        self.share = self.random.uniform(*kind.shares) if share is None else share
        self.doubt = "skip" if self.random.random() < SKIP_SHARE else "again"
        self.document = self._choose_document()
        self.paper_seconds = self.random.uniform(0.5, 1.0)

    def _choose_document(self):
        name = self.random.choice(["small", "large"])
        if self.random.random() < PDF_SHARE:
            name = "pdf"
        return self.stage.next_of(getattr(self.stage, self.kind.document or name))

    def run(self):
        """The round; returns its outcome and what it was judged by."""
        begun = time.monotonic()
        os.makedirs(self.folder)
        log_from = self.stage.log_size()
        tail = self.stage.next_of(self.stage.tails) if self.kind.tail else None
        self._load_printers()
        started = time.time()
        self.number = self.system.lp(self.queue, self.document.path,
                                     options={"doubt": self.doubt})
        self._await_moment()
        moment = time.time()
        struck = self.kind.strike(self)
        job = self._bring_to_end()
        problems = []
        if job is None:
            problems.append("the job does not come to its end")
            job = self.system.job(self.number)
        elif tail:
            # What is left of a job is printed as the next one wants it in doubt.
            small = self.stage.wait_end(self.system.lp(self.queue, tail.path,
                                                       options={"doubt": self.doubt}))
            if small is None or small.state != rig.COMPLETED:
                problems.append(f"the next job is not printed: {small}")
        self.stage.keep_journal(job, self.folder)
        if problems:
            self._keep_machine()
            self.stage.clean_up(self.number)
        left = self.stage.left_over()
        events = self._end_printers()
        struck = struck and self.kind.did_strike(events, moment)
        record = fault_judge.Record(self.document.wanted, tail.wanted if tail else [], events,
                                    self.stage.log_since(log_from), self.number, job.state,
                                    job.sheets, self.helped, self.stopped_at, left)
        rules = dataclasses.replace(self.kind.rules, skip=self.doubt == "skip",
                                    cancels=self.kind.rules.cancels and struck)
        findings = fault_judge.judge(f"{self.stage.build}/kestra-paper", self.folder, record, rules)
        findings.complaints += problems
        last = fault_stage.last_label(events, self.document.wanted)
        usual = self.stage.startup.get((self.kind.queue, self.document.kind), 0)
        extra = max(0.0, last - started - self.paper_seconds - usual)
        seconds = time.monotonic() - begun
        outcome = Outcome(self.kind.name, self.number, self.seed, struck, findings, extra, seconds,
                          self.doubt, self.share)
        self._write(record, outcome, job)
        return outcome, record, rules

    def _load_printers(self):
        speed = round(fault_stage.LABELS * self.document.millimetres / self.paper_seconds, 1)
        place = f"{self.folder}/printer"
        if self.queue == "cable":
            self.printers = [self.stage.far_printer(speed, place)]
        elif self.queue == "usb":
            self.printers = [self.stage.usb_printer(speed, place)]
        else:
            self.printers = [self.stage.printer(speed, place)]
        if self.queue == "pair":
            self.printers.append(self.stage.printer(speed, place + "2", fault_stage.OTHER_PORT))

    def _await_moment(self):
        kind = self.document.kind
        if not self.kind.aim:
            usual = self.stage.startup.get((self.kind.queue, kind), 0)
            time.sleep((usual + self.paper_seconds) * self.share)
            return
        until = time.monotonic() + 5
        while not machine.processes(self.kind.aim) and time.monotonic() < until:
            time.sleep(0.001)
        time.sleep(self.stage.lives.get((kind, self.kind.aim), 0) * self.share)

    def _bring_to_end(self):
        """Waits for the job's end; a person helps where a job is held."""
        while True:
            job = self.stage.wait_end(self.number, also=(rig.HELD,))
            if job is None or job.state not in (rig.HELD, rig.STOPPED) or self.helped == 3:
                return job
            self.helped += 1
            if job.state == rig.HELD:
                self.system.resume(self.number)
            else:
                # A filter failed: the print system says so and wants the job started again.
                self.system.restart_job(self.number)

    def _end_printers(self):
        events = []
        for printer in self.printers:
            if printer.process.poll() is None:
                printer.judge()
            events += printer.events()
        for printer in self.printers:
            printer.close()
        return events

    # --- for whoever looks into a violation ---------------------------------------------------------

    def _keep_machine(self):
        with open(f"{self.folder}/processes", "w", encoding="utf-8") as out:
            for path in sorted(glob.glob("/proc/[0-9]*/cmdline")):
                try:
                    with open(path, "rb") as words:
                        out.write(f"{path} {words.read()[:200]!r}\n")
                except OSError:
                    pass

    def _write(self, record, outcome, job):
        with open(f"{self.folder}/error_log", "w", encoding="utf-8") as out:
            out.write("\n".join(record.log))
        with open(f"{self.folder}/round.json", "w", encoding="utf-8") as out:
            json.dump({"outcome": dataclasses.asdict(outcome), "job": repr(job),
                       "document": self.document.kind, "paper_seconds": self.paper_seconds,
                       "queue": self.queue}, out, indent=1)


def run(stage, kind, seed, folder):
    """A round whose fault strikes; violations of the attempts before count as well."""
    complaints = []
    for attempt in range(ATTEMPTS):
        one = Round(stage, kind, f"{seed} {attempt}", f"{folder}/{attempt}")
        outcome, _, _ = one.run()
        complaints += outcome.findings.complaints
        if outcome.struck:
            break
    outcome.findings.complaints = complaints
    if not outcome.struck:
        complaints.append("the fault found nothing to strike")
    if not complaints:
        shutil.rmtree(folder)
    return outcome


def calibrate(stage, kinds):
    """How long jobs take without a fault, and how long their programs live."""
    ways = [(queue, kind) for queue in sorted({kind.queue for kind in kinds})
            for kind in ("small", "large", "pdf")]
    calm = dataclasses.replace(kinds[0], name="no fault", tail=False, aim="",
                               rules=fault_judge.Rules(), strike=lambda _: True)
    for queue, kind in ways:
        found = []
        for turn in range(2):
            one = Round(stage, dataclasses.replace(calm, queue=queue), f"calm {queue} {turn}",
                        f"/tmp/rig/calm-{queue}-{kind}-{turn}", 0.0)
            one.document = stage.next_of(getattr(stage, kind))
            one.kind.strike = lambda round_: _watch_lives(round_, kind)
            stage.startup.pop((queue, kind), None)
            outcome, record, _ = one.run()
            if outcome.findings.complaints:
                raise rig.Failure(f"without a fault, {queue}, {kind}: "
                                  f"{outcome.findings.complaints}\n" + "\n".join(record.log[-60:]))
            found.append(outcome.extra)
        stage.startup[queue, kind] = min(found)


def _watch_lives(round_, kind):
    """Follows the programs of a job that is left alone."""
    names = ("rastertokestra", "kestrafit", "kestrasize", "gs", "pdftopdf")
    first, last = {}, {}
    until = time.monotonic() + 3
    while time.monotonic() < until:
        now = time.monotonic()
        for name in names:
            if machine.processes(name):
                first.setdefault(name, now)
                last[name] = now
        if first and now > max(last.values()) + 0.1:
            break
    for name in first:
        life = last[name] - first[name]
        before = round_.stage.lives.get((kind, name), life)
        round_.stage.lives[kind, name] = min(before, life)
    return True
