"""Puts a test program into namespaces of its own: mounts, network and processes.

The print system's places are fixed and a fault test kills and cuts at random: here nothing can
reach the machine's own printers, and when the program ends the kernel ends whatever it started.
"""

import contextlib
import os
import signal
import subprocess
import sys
import threading

INSIDE = "KESTRA_RIG_INSIDE"
OUTER_TMP = "/var/spool/outer-tmp"

_orders = -1  # the first process of the namespace reads what is written here


def _refusal(command):
    """Why this machine does not grant the namespaces; empty where it does."""
    try:
        done = subprocess.run(command + ["true"], capture_output=True, text=True, check=False)
    except FileNotFoundError:
        return "unshare is missing: install the package util-linux"
    return done.stderr.strip() if done.returncode else ""


def enter(keep):
    """Runs this program again inside. `keep`: folders that must stay visible, also below /tmp.

    Comes back only inside, or with the reason (a text) where the machine refuses; the caller then
    skips its tests. Inside, the network has a working `lo` and nothing else.
    """
    if os.environ.get(INSIDE):
        _furnish(keep)
        _leave_first_process()
        return ""
    command = ["unshare", "--mount", "--net", "--pid", "--fork", "--mount-proc", "--kill-child"]
    if os.geteuid() != 0:
        # The print system wants two users, root and lp, so one mapped user is not enough.
        command[1:1] = ["--user", "--map-root-user", "--map-auto"]
    refused = _refusal(command)
    if refused:
        return f"no namespaces here: {refused}"
    os.environ[INSIDE] = "1"
    sys.stdout.flush()
    os.execvp(command[0], command + [sys.executable] + sys.argv)
    return ""  # never comes here


def _furnish(keep):
    def run(*words):
        subprocess.run(words, check=True)

    # A filter runs as lp with umask 077; what these tests make must be passable for it.
    os.umask(0o022)
    run("ip", "link", "set", "lo", "up")
    run("mount", "-t", "tmpfs", "-o", "mode=0755", "tmpfs", "/var/spool")
    os.mkdir(OUTER_TMP)
    run("mount", "--rbind", "/tmp", OUTER_TMP)
    run("mount", "-t", "tmpfs", "-o", "mode=1777", "tmpfs", "/tmp")
    for folder in keep:
        folder = os.path.realpath(folder)
        if folder.startswith("/tmp/"):
            os.makedirs(folder, exist_ok=True)
            run("mount", "--bind", OUTER_TMP + folder[len("/tmp"):], folder)
    run("umount", "-l", OUTER_TMP)
    os.rmdir(OUTER_TMP)
    for folder in keep:
        _let_others_enter(os.path.realpath(folder), run)
    os.chdir("/")


def _let_others_enter(folder, run):
    """Programs run as lp, which cannot enter a home folder of mode 0700 above `folder`: here its
    place is taken by a folder of mode 0755 with the same things in it."""
    above = [folder[:end] for end, letter in enumerate(folder) if letter == "/" and end > 0]
    for closed in above:
        if os.stat(closed).st_mode & 0o001:
            continue
        os.mkdir(OUTER_TMP)
        run("mount", "--rbind", closed, OUTER_TMP)
        run("mount", "-t", "tmpfs", "-o", "mode=0755", "tmpfs", closed)
        for entry in os.scandir(OUTER_TMP):
            place = f"{closed}/{entry.name}"
            if entry.is_symlink():
                os.symlink(os.readlink(entry.path), place)
            elif entry.is_dir():
                os.mkdir(place)
                run("mount", "--rbind", entry.path, place)
            elif entry.is_file():
                run("touch", place)
                run("mount", "--bind", entry.path, place)
        run("umount", "-l", OUTER_TMP)
        os.rmdir(OUTER_TMP)


def _leave_first_process():
    """The first process of the namespace buries orphans; the tests go on in a child of it.

    A sender that outlived its print system would otherwise stay a zombie and look alive.
    """
    global _orders
    orders, _orders = os.pipe()
    child = os.fork()
    if child == 0:
        os.close(orders)
        return
    os.close(_orders)
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    threading.Thread(target=_end_as_ordered, args=[orders], daemon=True).start()
    while True:
        pid, status = os.wait()
        if pid == child:
            code = os.waitstatus_to_exitcode(status)
            os._exit(code if code >= 0 else 128 - code)


def _end_as_ordered(orders):
    with open(orders, encoding="ascii") as lines:
        for line in lines:
            for pid in line.split():
                with contextlib.suppress(ProcessLookupError):
                    os.kill(int(pid), signal.SIGTERM)


def ask_to_end(pids):
    """Has the machine's first process, the service manager, ask processes to end, all at once."""
    os.write(_orders, (" ".join(map(str, pids)) + "\n").encode())


def is_stopped(pid):
    """Whether a process waits for the signal to go on."""
    try:
        with open(f"/proc/{pid}/stat", encoding="utf-8", errors="replace") as stat:
            return stat.read().rsplit(") ", 1)[1][0] == "T"
    except OSError:
        return False


def is_pending(pid, sign):
    """Whether a signal was sent to a process that has not taken notice of it yet."""
    try:
        with open(f"/proc/{pid}/status", encoding="utf-8", errors="replace") as status:
            masks = [int(line.split()[1], 16) for line in status
                     if line.startswith(("SigPnd:", "ShdPnd:"))]
    except OSError:
        return False
    return any(mask >> (sign - 1) & 1 for mask in masks)


def has_heard_the_end():
    """Whether no process of ours was asked to end that has not taken notice yet."""
    return not any(is_pending(pid, signal.SIGTERM) for pid in processes("kestra"))


def owner(pid):
    """The user of a process; None of one that has ended."""
    try:
        return os.stat(f"/proc/{pid}").st_uid
    except OSError:
        return None


def processes(name):
    """Ids of the living processes of this namespace whose program's file is called `name`."""
    found = []
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            with open(f"/proc/{entry}/stat", encoding="utf-8", errors="replace") as stat:
                text = stat.read()
        except OSError:
            continue
        comm, state = text[text.index("(") + 1:].rsplit(") ", 1)
        if comm == name[:15] and state[0] not in "ZX":
            found.append(int(entry))
    return sorted(found)


def leads_session(pid):
    """Whether a process has begun a session of its own, as one does that outlives its starter."""
    try:
        return os.getsid(pid) == pid
    except ProcessLookupError:
        return False
