"""Shows that the judge can fail: records with a planted fault, and backends that do wrong.

A table without a violation is worth something only after this.
"""

import copy
import dataclasses

import fault_kinds
import fault_round
import rig
from fault_judge import UNBORN, Rules, judge


def _labels(record):
    return [at for at, one in enumerate(record.events) if one["event"] == "label"]


def _without(record, place):
    del record.events[_labels(record)[place]]


def _again(record, place, times=1):
    label = record.events[_labels(record)[place]]
    for turn in range(times):
        after = dict(label, last=label["last"] + 1e-5 * (turn + 1))
        record.events.insert(_labels(record)[place] + 1, after)


def _swapped(record, place):
    one, other = (record.events[at] for at in _labels(record)[place:place + 2])
    one["digest"], other["digest"] = other["digest"], one["digest"]


def _stranger(record, place, white=0):
    _again(record, place)
    record.events[_labels(record)[place + 1]].update(digest="0" * 64, white_tail=white)


def _torn(record, place, times=1):
    for _ in range(times):
        label = dict(record.events[_labels(record)[place]], whole=False, digest=None)
        record.events.append(label)


def _said(record, label, words):
    record.log.append(f"W [22/Nov/2026:01:02:03 +0000] [Job 1] Label {label} {words}: the printer")


def _event(record, **fields):
    record.events.append(fields)


TWICE, MISSING = "may come twice", "may be missing"

#: What is planted (a list of changes), under which rules, and a word of what the judge must say;
#: none: it must say nothing.
CASES = [
    ("nothing", [], Rules(), ""),
    ("a label less", [(_without, 4)], Rules(), "lost: [5]"),
    ("a label less, job completed", [(_without, 19)], Rules(), "completed though"),
    ("a label less of the next job", [(_without, 20)], Rules(), "lost: [21]"),
    ("a label twice", [(_again, 4)], Rules(), "not announced: [5]"),
    ("another label announced", [(_again, 4), (_said, 6, TWICE)], Rules(), "not announced: [5]"),
    ("a label twice, announced", [(_again, 4), (_said, 5, TWICE)], Rules(), ""),
    ("announced once, came thrice", [(_again, 4, 2), (_said, 5, TWICE)], Rules(), "not announced"),
    ("two labels twice", [(_again, 4), (_said, 5, TWICE), (_again, 8), (_said, 8, TWICE)], Rules(),
     "several labels"),
    ("twice with skip", [(_again, 4), (_said, 5, TWICE)], Rules(skip=True), "not announced: [5]"),
    ("missing with skip", [(_without, 4), (_said, 5, MISSING)], Rules(skip=True), ""),
    ("missing with skip, another one", [(_without, 4), (_said, 6, MISSING)], Rules(skip=True),
     "lost: [5]"),
    ("missing without skip", [(_without, 4), (_said, 5, MISSING)], Rules(), "lost: [5]"),
    ("two labels in each other's place", [(_swapped, 7)], Rules(), "out of order"),
    ("a label of another job", [(_stranger, 3)], Rules(white=True), "nobody wanted"),
    ("a label ended in white", [(_stranger, 3, 9)], Rules(white=True), ""),
    ("a label ended in white by nobody", [(_stranger, 3, 9)], Rules(), "nobody wanted"),
    ("a torn label", [(_torn, 3)], Rules(), "torn"),
    ("a label torn by the fault", [(_torn, 3)], Rules(tears=True), ""),
    ("two torn labels", [(_torn, 3, 2)], Rules(tears=True), "torn"),
    ("bytes between labels", [(lambda record: _event(record, event="garbage", bytes=3))],
     Rules(tears=True), "garbage"),
    ("a wrong byte", [(lambda record: _event(record, event="fault", came="00", expected="1B"))],
     Rules(tears=True), "garbage"),
]


def _planted(record, changes):
    record = copy.deepcopy(record)
    for change in changes:
        if callable(change):
            change(record)
        else:
            change[0](record, *change[1:])
    return record


def of_records(paper, folder, record):
    """Complaints about the judge, given a record of a round without a fault."""
    wrong = []
    cases = [(name, _planted(record, changes), rules, words)
             for name, changes, rules, words in CASES]
    unborn = record.log + [f"D [Job {record.job}] PID 1 (/bin{UNBORN}"]
    for name, fields, rules, words in (
            ("a job that stays held", {"state": rig.HELD}, Rules(), "state"),
            ("a job that needed a person", {"helped": 1}, Rules(), "person"),
            ("a page counted too often", {"pages": 21}, Rules(counts=False), "21 pages counted"),
            ("a page not counted", {"pages": 19}, Rules(), "19 pages counted"),
            ("a page that nobody could count", {"pages": 19}, Rules(counts=False), ""),
            ("a frame that stays", {"left": ["/page_0001.dat"]}, Rules(), "left over"),
            ("a frame of a job without a backend", {"left": ["/page_0001.dat"], "log": unborn},
             Rules(), ""),
            ("a mark of a job without a backend", {"left": ["/open/1"], "log": unborn}, Rules(),
             "left over"),
            ("a job that may need a person", {"helped": 1}, Rules(heals=False), ""),
            ("labels behind a cancel", {"state": rig.CANCELED, "stopped_at": 1.0},
             Rules(cancels=True), "after the cancel")):
        cases.append((name, dataclasses.replace(record, **fields), rules, words))
    for name, planted, rules, words in cases:
        said = "; ".join(judge(paper, folder, planted, rules).complaints)
        if (words not in said) if words else said:
            wrong.append(f"planted: {name}; the judge says: \"{said}\"")
    return wrong


def _kill_in_the_middle(round_):
    round_.printers[0].await_labels(5)
    return fault_kinds.KINDS[0].strike(round_)


def of_backends(stage, folder):
    """Complaints about the judge, given backends that print twice, or call anything printed."""
    wrong = []
    # A job behind it would bring what is missing.
    killed = dataclasses.replace(fault_kinds.KINDS[0], tail=False, strike=_kill_in_the_middle)
    for queue, fields in (("forgetful", ["repeated"]), ("careless", ["lost", "hidden", "left"])):
        for turn in range(5):  # on a busy machine the kill can come behind the last label
            one = fault_round.Round(stage, killed, f"check {queue} {turn}",
                                    f"{folder}/{queue}-{turn}", 0.0, queue)
            one.doubt = "again"
            outcome, _, _ = one.run()
            if outcome.struck and all(getattr(outcome.findings, name) for name in fields):
                break
        else:
            wrong.append(f"{queue} backend, sender killed: {outcome.findings}")
    return wrong


def run(stage, folder):
    """All complaints about the judge, and how many faults were planted."""
    calm = dataclasses.replace(fault_kinds.KINDS[0], rules=Rules(), strike=lambda _: True)
    one = fault_round.Round(stage, calm, "check", f"{folder}/calm", 0.0)
    one.doubt = "again"
    outcome, record, _ = one.run()
    wrong = [f"without a fault: {text}" for text in outcome.findings.complaints]
    wrong += of_records(f"{stage.build}/kestra-paper", folder, record)
    wrong += of_backends(stage, folder)
    stage.forget_jobs()
    return wrong, len(CASES) + 10 + 2
