"""The kinds of faults: whom each strikes, and what it may do to labels.

A kind's `strike` does its fault to a round at work and says whether there was something to strike;
what heals by a hand (a cable, a print system) it heals itself, as the fault is over then.
"""

import dataclasses
import os
import shutil
import signal
import time
import typing

import machine
import rig
from fault_judge import Rules


@dataclasses.dataclass
class Kind:
    name: str
    strike: typing.Callable
    rules: Rules = dataclasses.field(default_factory=Rules)
    document: str = ""  # only this kind; else mostly raster documents
    aim: str = ""  # a program of the job: the moment lies in its life
    queue: str = "label"
    tail: bool = True  # a small job follows, which must come clean
    shares: tuple = (0, 1)  # where in the job, or in the program's life, the moment may lie
    did_strike: typing.Callable = lambda events, moment: True  # as the printers' records show


def _kill(pids, sign=signal.SIGKILL):
    struck = False
    for pid in pids:
        try:
            os.kill(pid, sign)
            struck = True
        except ProcessLookupError:
            pass
    return struck


def _sender(round_):
    return _kill(round_.stage.senders())


def _front(round_):
    # Of a job without a sender nobody knows yet; the print system takes it for printed.
    try:
        rig.eventually(round_.stage.senders, 1, interval=0.001)
    except rig.Failure:
        return False
    return _kill(round_.stage.fronts())


def _both(round_):
    # Of a job that nobody has noted down yet nobody can know.
    try:
        rig.eventually(round_.stage.is_noted, 1, interval=0.001)
    except rig.Failure:
        return False
    return _kill(round_.stage.fronts() + round_.stage.senders())


def _program(name, sign=signal.SIGKILL):
    return lambda round_: _kill(machine.processes(name), sign)


def _one_of(name, sign=signal.SIGKILL):
    """Of several processes of a program, one by chance."""
    def strike(round_):
        found = machine.processes(name)
        return bool(found) and _kill([round_.random.choice(found)], sign)
    return strike


def _restart(round_):
    busy = bool(round_.stage.fronts())
    round_.system.restart()
    return busy


def _restart_service(round_):
    busy = bool(round_.stage.fronts())
    round_.system.stop_service(round_.random)
    round_.system.start()
    return busy


def _crash(round_):
    busy = bool(round_.stage.fronts())
    round_.system.kill9()
    time.sleep(round_.random.choice([0, 0.05, 0.3]))
    round_.system.start()
    return busy


def _everything(round_):
    busy = bool(round_.stage.fronts())
    round_.system.kill_service()
    round_.system.start()
    return busy


def _printer(action):
    """The printer does something of its own, which concerns whoever is connected."""
    def strike(round_):
        printer = round_.printers[0]
        opened = sum(one["what"] == "opened" for one in printer.events("connection"))
        closed = sum(one["what"] == "closed" for one in printer.events("connection"))
        printer.act(action)
        return opened > closed
    return strike


def _cable(round_):
    busy = bool(round_.stage.senders())
    round_.stage.ip("link", "set", "cable", "down")
    time.sleep(round_.random.uniform(0.3, 1))
    round_.stage.ip("link", "set", "cable", "up")
    return busy


def _cancel(round_):
    try:
        round_.system.cancel(round_.number)
    except rig.Failure:
        return False  # it had ended
    rig.eventually(machine.has_heard_the_end)
    round_.stopped_at = time.time()
    return True


def _hold(round_):
    try:
        round_.system.hold(round_.number)
    except rig.Failure:
        return False
    job = round_.system.wait(round_.number, rig.ENDED + (rig.HELD,))
    time.sleep(round_.random.choice([0, 0.1]))
    if job.state == rig.HELD:
        round_.system.resume(round_.number)
    return job.state == rig.HELD


def _disable(round_):
    busy = bool(round_.stage.fronts())
    round_.system.disable(round_.queue)
    time.sleep(round_.random.choice([0, 0.1, 0.3]))
    round_.system.enable(round_.queue)
    return busy


def _die(round_):
    """The printer that has the job goes, and does not come back."""
    for printer in round_.printers:
        opened = sum(one["what"] == "opened" for one in printer.events("connection"))
        closed = sum(one["what"] == "closed" for one in printer.events("connection"))
        if opened > closed:
            printer.act("die")
            printer.process.wait(rig.PATIENCE)
            return True
    return False


def _empty(round_):
    # What goes before the sender has looked once nobody can keep.
    try:
        rig.eventually(round_.stage.listens, 2, interval=0.001)
    except rig.Failure:
        return False
    time.sleep(0.005)
    there = os.path.isdir(rig.FRAMES) and bool(os.listdir(rig.FRAMES))
    shutil.rmtree(rig.FRAMES, ignore_errors=True)
    return there


def _in_a_page(events, moment):
    return any(one["event"] == "label" and one["first"] < moment < one["last"] for one in events)


#: Not two of many kinds but a figure of its own.
RESTARTS_IN_A_PAGE = [
    Kind(name, strike, Rules(once=True), "large", shares=(0.1, 0.9), did_strike=_in_a_page)
    for name, strike in (("restart in a page", _restart),
                         ("restart in a page, of all processes", _restart_service))]

KINDS = [
    Kind("sender killed", _sender, Rules(tears=True)),
    Kind("front killed", _front, Rules(counts=False)),
    Kind("front and sender killed", _both, Rules(tears=True, counts=False)),
    Kind("filter killed", _program("rastertokestra"), aim="rastertokestra"),
    Kind("filter ended (TERM)", _program("rastertokestra", signal.SIGTERM), aim="rastertokestra"),
    Kind("page fitter killed", _one_of("kestrafit"), Rules(heals=False), aim="kestrafit"),
    Kind("page fitter ended (TERM)", _one_of("kestrafit", signal.SIGTERM), Rules(heals=False),
         aim="kestrafit"),
    Kind("page fitter crashes", _program("kestrafit", signal.SIGSEGV), Rules(heals=False),
         aim="kestrafit"),
    Kind("page sizer killed", _program("kestrasize"), document="pdf", aim="kestrasize"),
    Kind("renderer killed", _program("gs"), Rules(heals=False), "pdf", "gs"),
    Kind("PDF filter killed", _program("pdftopdf"), document="pdf", aim="pdftopdf"),
    Kind("print system restarted", _restart),
    Kind("print system killed", _crash),
    Kind("everything killed", _everything, Rules(tears=True)),
    Kind("reset", _printer("reset"), Rules(tears=True)),
    Kind("reset, bytes unread", _printer("reset-unread"), Rules(tears=True)),
    Kind("printer closes", _printer("close"), Rules(tears=True)),
    Kind("refuses for 0.5 s", _printer("refuse 0.5"), Rules(tears=True)),
    Kind("power off for 0.5 s", _printer("power-cycle 0.5"), Rules(tears=True)),
    Kind("no paper for 1 s", _printer("pause 1")),
    Kind("printer sends garbage", _printer("garbage 1B 40 00 FF 0A 1B 2A")),
    Kind("cable out, 0.3-1 s", _cable, queue="cable"),
    Kind("cancelled", _cancel, Rules(white=True, cancels=True)),
    Kind("held, resumed", _hold, Rules(white=True)),
    Kind("queue stopped, started", _disable, Rules(white=True)),
    Kind("class: a printer dies", _die, Rules(tears=True), queue="pair", tail=False),
    Kind("frames folder removed", _empty, aim="rastertokestra"),
    Kind("USB program killed", lambda round_: _kill(round_.stage.stand_ins()), Rules(tears=True),
         queue="usb"),
]
