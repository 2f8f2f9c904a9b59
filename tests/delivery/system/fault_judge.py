"""What a round's printers, its log and its job say about the labels, as one list of complaints.

Everything here is a function of records alone, so that a record with a planted fault can show that
the judge sees it.
"""

import dataclasses
import json
import re
import subprocess

import rig


@dataclasses.dataclass
class Rules:
    """What a kind of fault may do to labels."""
    tears: bool = False  # the fault itself can leave a torn label, one
    white: bool = False  # a person stops the job, and a label may end in white
    cancels: bool = False  # what had not begun stays away
    heals: bool = True  # nobody needs to resume the job
    once: bool = False  # no label may come twice, announced or not
    skip: bool = False  # printed with doubt=skip: alike, but one may be missing
    counts: bool = True  # the print system hears of every label of the job that comes


@dataclasses.dataclass
class Record:
    """A round as it was seen from outside."""
    wanted: list  # digests of the job's labels, in order
    tail: list  # of the small job behind it
    events: list  # of all printers
    log: list  # lines that the print system wrote
    job: int  # its number
    state: int  # of the job at last
    pages: int  # that the print system counted for it
    helped: int = 0  # how often a person had to resume it
    stopped_at: float = 0  # when the job had heard of its cancel, seconds since 1970
    left: list = dataclasses.field(default_factory=list)  # that should have gone with the jobs


@dataclasses.dataclass
class Findings:
    came: int = 0
    lost: list = dataclasses.field(default_factory=list)
    missing: list = dataclasses.field(default_factory=list)  # announced as such
    twice: list = dataclasses.field(default_factory=list)  # announced as such
    repeated: list = dataclasses.field(default_factory=list)  # twice without a word
    out_of_order: list = dataclasses.field(default_factory=list)
    torn: int = 0
    white: int = 0
    garbage: int = 0
    hidden: bool = False  # "completed", though a label is missing
    helped: int = 0
    left: list = dataclasses.field(default_factory=list)
    complaints: list = dataclasses.field(default_factory=list)


# A cancelled job's next label must not begin: so long may what the printer holds already take.
CANCEL_SECONDS = 0.5

# A backend that has begun ends by an exit code where it is asked to.
UNBORN = "/backend/kestra) was terminated normally with signal 15"


def whole_labels(events):
    """Whole labels of all printers, in the order in which their last bytes came."""
    found = [one for one in events if one["event"] == "label" and one["whole"]]
    return sorted(found, key=lambda one: one["last"])


def announced(log, words):
    """How often each label was named before `words` in a warning."""
    counts = {}
    for line in log:
        found = re.search(rf"Labels? (\d+)(?: to (\d+))? {words}", line)
        if found and line.startswith("W "):
            for label in range(int(found[1]), int(found[2] or found[1]) + 1):
                counts[label] = counts.get(label, 0) + 1
    return counts


def _verdict(paper, folder, wanted, came):
    """kestra-paper's verdict on a list of digests; labels are named by their place."""
    for name, digests in (("expected", wanted), ("came", came)):
        with open(f"{folder}/{name}", "w", encoding="utf-8") as out:
            out.writelines(f"{one} {place}\n" for place, one in enumerate(digests, 1))

    said = subprocess.run([paper, "--came", f"{folder}/came", "--expect", f"{folder}/expected",
                           "--quiet"], capture_output=True, text=True, check=False)
    lines = [json.loads(line) for line in said.stdout.splitlines()]
    if not lines or lines[-1]["event"] != "verdict":
        raise rig.Failure(f"no verdict: {said.stdout}{said.stderr}")
    return lines[-1]


def judge(paper, folder, record, rules):
    """Findings about a round; `paper`: the program kestra-paper, `folder`: for its lists."""
    labels = whole_labels(record.events)
    came = [one["digest"] for one in labels]
    wanted = list(record.wanted)
    if rules.cancels:
        # What came must be the job's first labels, without a gap.
        last = max((wanted.index(one) for one in came if one in wanted), default=-1)
        wanted = wanted[:last + 1]
    found = Findings(came=len(came), helped=record.helped)
    said = _verdict(paper, folder, wanted + record.tail, came)
    complain = found.complaints.append

    may_miss = announced(record.log, "may be missing")
    for name in said["lost"]:
        (found.missing if rules.skip and int(name) in may_miss else found.lost).append(int(name))
    if found.lost:
        complain(f"lost: {found.lost}")
    found.hidden = bool(found.lost) and record.state == rig.COMPLETED
    if found.hidden:
        complain("the job is called completed though a label is missing")

    may_repeat = announced(record.log, "may come twice")
    for one in said["twice"]:
        label = int(one["name"])
        if one["count"] <= may_repeat.get(label, 0) and not (rules.skip or rules.once):
            found.twice.append(label)
        else:
            found.repeated.append(label)
    if found.repeated:
        complain(f"twice and not announced: {found.repeated}")
    if len(found.twice) + len(found.missing) > 1:
        complain(f"one fault, several labels: twice {found.twice}, missing {found.missing}")

    found.out_of_order = [int(one) for one in said["out_of_order"]]
    if found.out_of_order:
        complain(f"out of order: {found.out_of_order}")
    _judge_strangers(record, rules, found, labels, len(said["unknown"]))
    _judge_job(record, rules, found, labels)
    _judge_count(record, rules, found, set(came), may_miss if rules.skip else {})
    # A cancel can end a backend that has not begun; nobody then knows of the job's frames.
    unborn = any(f"[Job {record.job}]" in line and UNBORN in line for line in record.log)
    found.left = [one for one in record.left if not (unborn and "/page_" in one)]
    if found.left:
        complain(f"left over: {found.left}")
    return found


def _judge_strangers(record, rules, found, labels, unknown):
    """Whatever came that is no label of the job."""
    known = set(record.wanted + record.tail)
    found.white = sum(one["digest"] not in known and one["white_tail"] > 0 for one in labels)
    if unknown > found.white or found.white > (1 if rules.white else 0):
        found.complaints.append(f"{unknown} labels that nobody wanted")
    found.torn = sum(one["event"] == "label" and not one["whole"] for one in record.events)
    if found.torn > (1 if rules.tears else 0):
        found.complaints.append(f"{found.torn} torn labels")
    found.garbage = sum(one["bytes"] for one in record.events if one["event"] == "garbage")
    faults = [one for one in record.events if one["event"] == "fault"]
    found.garbage += len(faults)
    if found.garbage:
        found.complaints.append(f"garbage: {found.garbage} bytes, {faults[:3]}")


def _judge_job(record, rules, found, labels):
    wanted_state = rig.CANCELED if rules.cancels else rig.COMPLETED
    if record.state != wanted_state and not (rules.cancels and record.state == rig.COMPLETED):
        found.complaints.append(f"the job's state is {record.state}, not {wanted_state}")
    if record.helped and rules.heals:
        found.complaints.append("the job needed a person")
    if rules.cancels and record.state == rig.CANCELED:
        late = [one for one in labels if one["digest"] in record.wanted
                and one["first"] > record.stopped_at + CANCEL_SECONDS]
        if late:
            found.complaints.append(f"{len(late)} labels began after the cancel")


def _judge_count(record, rules, found, came, unsure):
    """A label counts once however often it comes; one left out in doubt may have been counted."""
    places = {place for place, one in enumerate(record.wanted, 1) if one in came}
    fewest, most = len(places - unsure.keys()), len(places | unsure.keys())
    if record.pages > most or (record.pages < fewest and rules.counts):
        found.complaints.append(f"{record.pages} pages counted, but {len(places)} labels came")
