"""What every figure of delivery is measured with: rows of goals, times as text, one whole job.

Ours and the peer take turns, job by job, in one run: both see the same weather.
"""

import statistics
import time
from dataclasses import dataclass

from delivery_stage import Printer

MB = 1024 * 1024


@dataclass
class Row:
    figure: str
    peers: str
    wanted: str
    measured: str
    met: bool | None  # None: there is no goal


def ms(samples):
    """Median, least and most of seconds, as text."""
    digits = 1 if statistics.median(samples) < 0.1 else 0
    return (f"{1000 * statistics.median(samples):.{digits}f} ms "
            f"({1000 * min(samples):.{digits}f} to {1000 * max(samples):.{digits}f})")


def seconds(samples):
    return f"{statistics.median(samples):.2f} s ({min(samples):.2f} to {max(samples):.2f})"


def megabytes(size):
    return f"{size / MB:.1f} MB"


class Measurement:
    """rounds: of those that take turns. slow: whether what takes minutes is measured as well."""

    def __init__(self, stage, rounds, slow):
        self.stage = stage
        self.system = stage.system
        self.rounds = rounds
        self.slow = slow
        self.papers = 0

    def paper(self, **words):
        self.papers += 1
        return Printer(self.stage.build, f"/tmp/rig/paper-{self.papers}", **words)

    def one_job(self, queue, printer, labels, first=1):
        """Prints and waits; seconds from lp to the first byte, the last one and the job's end."""
        document = self.stage.document(labels, first)
        self.stage.await_quiet()
        printer.clear()
        start = time.time()
        number = self.system.lp(queue, document)
        printer.await_ended(1, 120)
        end = self.stage.await_end(number)
        self.stage.clear_away(number, start)
        return printer.first() - start, printer.last() - start, end - start
