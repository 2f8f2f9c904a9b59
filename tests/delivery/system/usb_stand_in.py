#!/usr/bin/python3 -S
"""A backend `usb` for machines without a printer: it speaks as the print system's own one does.

The address names a folder (usb://Stand/In?place=FOLDER) with a virtual printer that keeps its state
(`socket`, `log`, `pid`): what was written is out when the printer has read it, as on a bus, and a
soft reset makes the printer forget the label under way.
"""

import fcntl
import os
import select
import signal
import socket
import struct
import sys
import termios
import time

PART = 2048
SIDE_CHANNEL = 4
SOFT_RESET, OK, NOT_IMPLEMENTED = 1, 1, 7  # of the print system's side channel


def connections(place):
    with open(f"{place}/log", encoding="utf-8") as log:
        return sum('"what":"opened"' in line.replace(" ", "") for line in log)


def connect(place):
    """Connected when the printer has done with whoever was there before."""
    before = connections(place)
    printer = socket.socket(socket.AF_UNIX)
    printer.connect(f"{place}/socket")
    while connections(place) == before:
        time.sleep(0.002)
    return printer


def wait_until_read(printer):
    while struct.unpack("i", fcntl.ioctl(printer, termios.TIOCOUTQ, b"\0" * 4))[0]:
        time.sleep(0.001)


def answer(place):
    request = os.read(SIDE_CHANNEL, 65540)
    if len(request) < 4:
        return False
    status = NOT_IMPLEMENTED
    if request[0] == SOFT_RESET:
        with open(f"{place}/pid", encoding="utf-8") as pid:
            os.kill(int(pid.read()), signal.SIGUSR1)
        status = OK
    os.write(SIDE_CHANNEL, bytes([request[0], status, 0, 0]))
    return True


def main():
    if len(sys.argv) < 6:
        print('direct usb://Stand/In "Stand In" "Stand-in for a printer" "MFG:Stand;MDL:In;" ""')
        return 0
    place = os.environ["DEVICE_URI"].partition("place=")[2]
    printer = connect(place)
    listened = [0, SIDE_CHANNEL]
    while True:
        ready, _, _ = select.select(listened, [], [])
        if SIDE_CHANNEL in ready and not answer(place):
            listened.remove(SIDE_CHANNEL)
        if 0 in ready:
            part = os.read(0, PART)
            if not part:
                break
            printer.sendall(part)
            wait_until_read(printer)
            sys.stderr.write(f"DEBUG: Wrote {len(part)} bytes of print data...\n")
            sys.stderr.flush()
    sys.stderr.write("DEBUG: Sent all data.\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())
