#!/usr/bin/env python3
"""Fails when a test lacks the label of its drawer, or has a name that is another at each run.

`ctest -L DRAWER` must run all that lies in tests/DRAWER, and a test that failed once must be found
again by its name.
Usage: tests_are_labelled.py CTEST BUILD
"""

import json
import os
import re
import subprocess
import sys

UNREADABLE = re.compile(r"0x[0-9a-f]{4}|byte object|GetParam")


def faults(build, tests):
    """One sentence for each fault, and the drawers that have tests."""
    found, drawers = [], set()
    for test in tests:
        name = test["name"]
        if name.endswith("_NOT_BUILT"):  # stands for all tests of a program, until it is built
            continue
        properties = {each["name"]: each["value"] for each in test["properties"]}
        folder = os.path.relpath(properties["WORKING_DIRECTORY"], os.path.join(build, "tests"))
        drawer = folder.split("/")[0]
        drawers.add(drawer)
        if drawer not in properties.get("LABELS", []):
            found.append(f"{name} has no label {drawer}: use kestra_discover_tests, or LABELS")
        if UNREADABLE.search(name):
            found.append(f"{name}: give its suite a function that names the parameter")
    return found, drawers


def judge_is_awake(build):
    """The check itself: a good test, one without label, one with an address for a name."""
    def test(name, labels):
        return {"name": name, "properties": [
            {"name": "WORKING_DIRECTORY", "value": f"{build}/tests/tools"},
            {"name": "LABELS", "value": labels}]}
    found, _ = faults(build, [test("A.B", ["tools"]), test("A.C", ["other"]),
                              test("A.D/0x5598cc41", ["tools"])])
    return len(found) == 2 and found[0].startswith("A.C ") and found[1].startswith("A.D/")


def main():
    ctest, build = sys.argv[1:]
    listed = subprocess.run([ctest, "--show-only=json-v1"], cwd=build, check=True,
                            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    found, drawers = faults(build, json.loads(listed.stdout)["tests"])
    if not judge_is_awake(build):
        found.append("the check itself takes anything")
    if "structure" not in drawers:
        found.append("ctest lists no tests of this drawer")
    print("\n".join(found), file=sys.stderr)
    sys.exit(1 if found else 0)


main()
