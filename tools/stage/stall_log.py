"""How long the program's main thread keeps an event waiting: the log of the plugin in stallProbe/."""

import math
import time
from dataclasses import dataclass


@dataclass(frozen=True)
class Stalls:
    """Milliseconds until an event was handled, less the time in which the main thread was ready to run and the
    system ran something else; `wall` is with that time."""
    count: int
    p50: float
    p95: float
    p99: float
    longest: float
    longest_wall: float

    def __str__(self):
        return (f"{self.count} events: median {self.p50:.1f} ms, 95 % {self.p95:.1f} ms, 99 % {self.p99:.1f} ms, "
                f"longest {self.longest:.1f} ms ({self.longest_wall:.1f} ms with waiting for a processor)")


class StallLog:
    def __init__(self, build, path):
        self.path = path
        self.environment = {
            "QT_PLUGIN_PATH": str(build / "tools" / "stage" / "stallProbe" / "plugins"),
            "QT_QPA_GENERIC_PLUGINS": "stallprobe",
            "VEXO_STALL_LOG": str(path),
        }

    @staticmethod
    def now():
        return time.clock_gettime(time.CLOCK_BOOTTIME)

    def between(self, begin, end):
        """Of the events that were posted between two times of now()."""
        rows = [tuple(map(float, line.split())) for line in self.path.read_text().splitlines() if line.count(" ") == 2]
        rows = [row for row in rows if begin <= row[0] <= end]
        if not rows:
            raise AssertionError("the probe has measured nothing")
        own = sorted(max(0.0, latency - waited) for _, latency, waited in rows)

        def percentile(share):
            return own[min(len(own) - 1, math.ceil(share * len(own)) - 1)]

        return Stalls(len(own), percentile(0.5), percentile(0.95), percentile(0.99), own[-1], max(row[1] for row in rows))
