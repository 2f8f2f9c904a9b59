#!/usr/bin/python3
"""Random faults against a private print system and a printer without paper; one table.

Each round prints 20 labels, of which no two are equal, lets one fault happen at a random moment and
judges what came. Rounds are shared among processes, each with namespaces of its own.
"""

import argparse
import dataclasses
import json
import os
import random
import shutil
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)

import fault_check  # noqa: E402
import fault_kinds  # noqa: E402
import fault_round  # noqa: E402
import fault_stage  # noqa: E402
import fault_table  # noqa: E402
import machine  # noqa: E402

REFUSED = 77


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("rounds", nargs="?", type=int, default=100)
    parser.add_argument("--build", default="build-test", help="build directory")
    parser.add_argument("--seed", default=None, help="as an earlier run printed it")
    parser.add_argument("--only", type=int, help="this round of the seed alone")
    parser.add_argument("--kind", default="", help="only kinds whose name holds this")
    parser.add_argument("--jobs", type=int, default=min(2, os.cpu_count() or 1),
                        help="processes at once")
    parser.add_argument("--self-check", action="store_true", help="only whether the judge can fail")
    parser.add_argument("--restart", action="store_true",
                        help="every fault is a restart of the print system in the middle of a page")
    parser.add_argument("--worker", type=int, help=argparse.SUPPRESS)
    return parser.parse_args()


def kinds_of(options):
    kinds = fault_kinds.RESTARTS_IN_A_PAGE if options.restart else fault_kinds.KINDS
    return [kind for kind in kinds if options.kind in kind.name]


def plan(options):
    """(number, kind) of all rounds: every kind equally often, in an order of the seed's."""
    kinds = kinds_of(options)
    chance = random.Random(options.seed)
    rounds = []
    while len(rounds) < options.rounds:
        rounds += chance.sample(kinds, len(kinds))
    rounds = list(enumerate(rounds[:options.rounds], 1))
    return [one for one in rounds if options.only in (None, one[0])]


def folder_of(options):
    return f"{os.path.realpath(options.build)}/delivery-faults"


# --- a process that does rounds -------------------------------------------------------------------


def work(options):
    """Does every n-th round and writes what came of it, a line each."""
    build, folder = os.path.realpath(options.build), folder_of(options)
    refused = machine.enter([build, HERE])
    if refused:
        print(f"faults: {refused}")
        return REFUSED
    stage = fault_stage.Stage(build, links=options.worker % 2 == 1)
    with open(f"{folder}/outcomes-{options.worker}", "a", encoding="utf-8") as out:
        if options.worker == 0:
            wrong, planted = fault_check.run(stage, "/tmp/rig/check")
            for text in wrong:
                print(f"The judge does not see what it should: {text}", flush=True)
            if wrong:
                return 1
            print(f"Self-check: the judge sees each of {planted} planted faults", flush=True)
        if not options.self_check:
            rounds(options, stage, folder, out)
    stage.system.stop()
    return 0


def rounds(options, stage, folder, out):
    mine = plan(options)[options.worker::options.jobs]
    fault_round.calibrate(stage, [kind for _, kind in mine])
    for number, kind in mine:
        place = f"{folder}/round-{number}"
        try:
            outcome = fault_round.run(stage, kind, f"{options.seed} {number}", place)
            found = dataclasses.asdict(outcome)
        except Exception as failure:  # the next rounds are worth having
            os.makedirs(place, exist_ok=True)
            with open(f"{place}/failure", "w", encoding="utf-8") as why:
                why.write(repr(failure))
            found = {"kind": kind.name, "failure": repr(failure)[:500]}
            try:
                stage.clean_up(0)
            except Exception as worse:
                found["failure"] += f"; no way on: {worse!r}"[:500]
        found["round"] = number
        out.write(json.dumps(found) + "\n")
        out.flush()
        complaints = found.get("failure") or "; ".join(found["findings"]["complaints"])
        if complaints:
            print(f"Round {number} (seed {options.seed}), {kind.name}: {complaints}\n"
                  f"  kept in {place}", flush=True)


# --- the process that shares them -----------------------------------------------------------------


def share(options):
    folder = folder_of(options)
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    print(f"Seed {options.seed}", flush=True)
    begun = time.monotonic()
    if options.self_check or options.only:
        options.jobs = 1
    words = [str(options.rounds), f"--build={options.build}", f"--kind={options.kind}"]
    words += [f"--only={options.only}"] if options.only else []
    words += ["--self-check"] * options.self_check + ["--restart"] * options.restart
    workers = [subprocess.Popen([sys.executable, os.path.abspath(__file__), *words,
                                 f"--seed={options.seed}", f"--jobs={options.jobs}",
                                 f"--worker={number}"]) for number in range(options.jobs)]
    codes = [worker.wait() for worker in workers]
    if any(codes):
        print("faults: not all rounds could be done" if REFUSED not in codes else
              "faults: this needs root, or a machine that grants namespaces to its users")
        return 1
    return 0 if options.self_check else conclude(options, folder, time.monotonic() - begun)


def conclude(options, folder, seconds):
    found = []
    for number in range(options.jobs):
        with open(f"{folder}/outcomes-{number}", encoding="utf-8") as lines:
            found += [json.loads(line) for line in lines]
    good = [one for one in found if "failure" not in one]
    bad = [one for one in found if "failure" in one or one["findings"]["complaints"]]
    if good:
        text = fault_table.table(good)
        print(text)
        with open(f"{folder}/table", "w", encoding="utf-8") as out:
            out.write(text + "\n")
    wanted = len(plan(options))
    print(f"{len(found)} rounds of {wanted}, {len(bad)} with a violation; seed {options.seed}; "
          f"{seconds:.0f} s, {seconds / max(1, len(found)):.2f} s a round")
    return 1 if bad or len(found) != wanted else 0


def main():
    options = arguments()
    if not kinds_of(options):
        sys.exit(f"faults: no kind's name holds \"{options.kind}\"")
    if options.worker is not None:
        return work(options)
    options.seed = options.seed or str(random.SystemRandom().randrange(10**6))
    return share(options)


if __name__ == "__main__":
    sys.exit(main())
