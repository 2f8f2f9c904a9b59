"""Writes down when files appear in a folder: `folder_watch.py FOLDER OUT`, until it is ended.

A process of its own that goes before all others: one that had to wait for a busy processor would
see a file late, and what is done with it would look quick.
"""

import ctypes
import os
import struct
import sys
import time

_CREATE, _MOVED_TO = 0x100, 0x80


def main():
    try:
        os.sched_setscheduler(0, os.SCHED_FIFO, os.sched_param(10))
    except OSError:
        pass  # then its own delay is part of what is measured
    libc = ctypes.CDLL(None, use_errno=True)
    notify = libc.inotify_init()
    if libc.inotify_add_watch(notify, sys.argv[1].encode(), _CREATE | _MOVED_TO) < 0:
        sys.exit(f"{sys.argv[1]}: {os.strerror(ctypes.get_errno())}")
    with open(sys.argv[2], "w", encoding="utf-8") as out:
        print("ready", file=out, flush=True)
        while True:
            events = os.read(notify, 65536)
            now = time.time()
            at = 0
            while at < len(events):
                length = struct.unpack_from("I", events, at + 12)[0]
                name = events[at + 16:at + 16 + length].rstrip(b"\0").decode()
                print(f"{now:.6f} {name}", file=out, flush=True)
                at += 16 + length


main()
