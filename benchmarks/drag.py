"""Frames while a slider of the device drawer is dragged, on software rendering, with and without a storm of reports.

    tools/env python3 benchmarks/drag.py --build build/release [--seconds 10]

Prints the time that a frame takes and the time from one frame to the next, as Qt itself logs them, and how long the
main thread kept an event waiting (less the time in which the system ran something else). Ends with 1 when a budget
is missed: a frame's work within the 16.7 ms of 60 frames a second (95 %), and no event waiting 50 ms.
"""

import argparse
import math
import pathlib
import re
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tools" / "stage"))

from stage import Stage  # noqa: E402
from stall_log import StallLog  # noqa: E402

TRACE = {"QT_LOGGING_RULES": "qt.scenegraph.time.renderloop.debug=true", "QT_MESSAGE_PATTERN": "%{time boot} %{message}"}
FRAME_BUDGET_MS = 1000 / 60
STALL_BUDGET_MS = 50
# The lines of Qt's two render loops at the end of a frame.
FRAME = re.compile(r"^ *([0-9.]+) .*?(?:[Ff]rame rendered).*? in (\d+)ms", re.MULTILINE)
# A pause this long is no frame that came late: nothing had changed.
IDLE_MS = 200


def percentile(numbers, share):
    ordered = sorted(numbers)
    return ordered[min(len(ordered) - 1, math.ceil(share * len(ordered)) - 1)]


def drag(stage, slider, seconds):
    """A hand that moves from end to end once a second, in steps of 8 ms."""
    left, top, width, height = slider["extents"]
    words = []
    for step in range(125):
        share = abs(2 * ((step / 125) % 1) - 1)
        words += ["mousemove", round(left + 7 + share * (width - 14)), top + height // 2, "sleep", "0.008"]
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        stage.xdotool(*words)


def measure(stage, program, stalls, slider, seconds):
    begin = stalls.now()
    drag(stage, slider, seconds)
    end = stalls.now()
    frames = [(float(at), int(ms)) for at, ms in FRAME.findall(program.log) if begin <= float(at) <= end]
    if len(frames) < 2:
        raise SystemExit("no frames in the log")
    gaps = [(later - earlier) * 1000 for (earlier, _), (later, _) in zip(frames, frames[1:])]
    return [ms for _, ms in frames], [gap for gap in gaps if gap < IDLE_MS], stalls.between(begin, end)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", required=True, type=pathlib.Path)
    parser.add_argument("--seconds", type=float, default=10)
    arguments = parser.parse_args()

    rows = []
    with Stage(arguments.build, ["m40"], plugged=True) as stage:
        stalls = StallLog(arguments.build.resolve(), stage.folder / "stalls.log")
        program = stage.start_program(environment=TRACE | stalls.environment)
        stage.wait_text("已连接")
        stage.click("开启高清音质之旅", "button")
        stage.wait_no_text("开启高清音质之旅", "button")
        stage.click("设备设置", "button")
        stage.wait_text("返回", "button")
        stage.steady_screenshot(stage.folder / "drawer.png")
        slider = stage.wait_text("增益", "slider")
        left, top, _, height = slider["extents"]
        low, high = slider["range"]
        handle = left + 7 + (slider["value"] - low) / (high - low) * (slider["extents"][2] - 14)
        stage.xdotool("mousemove", round(handle), top + height // 2, "mousedown", 1)
        drag(stage, slider, 1)
        rows.append(("drag", *measure(stage, program, stalls, slider, arguments.seconds)))
        count = round(1000 * (arguments.seconds + 1))
        stage.emulator(f"storm {count} 1000 mic_gain")
        rows.append(("drag, 1000 reports/s", *measure(stage, program, stalls, slider, arguments.seconds)))
        stage.xdotool("mouseup", 1)

    good = True
    print(f"{'':22}{'frames':>8}{'work p50':>10}{'p95':>7}{'next p50':>10}{'p95':>7}{'stall p95':>11}{'longest':>9}  ms")
    for name, work, gaps, waits in rows:
        missed = percentile(work, 0.95) > FRAME_BUDGET_MS or waits.longest > STALL_BUDGET_MS
        good = good and not missed
        print(f"{name:22}{len(work):8}{percentile(work, 0.5):10}{percentile(work, 0.95):7}{percentile(gaps, 0.5):10.1f}"
              f"{percentile(gaps, 0.95):7.1f}{waits.p95:11.1f}{waits.longest:9.1f}{'   MISSED' if missed else ''}")
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
