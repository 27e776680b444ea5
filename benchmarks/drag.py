"""Frames while a slider of the device drawer is dragged, on software rendering, with and without a storm of reports,
while a colour is drawn, and how long the window takes to answer while the device takes nothing.

    tools/env python3 benchmarks/drag.py --build build/release [--seconds 10]

Prints the time that a frame takes and the time from one frame to the next, as Qt itself logs them, and how long the
main thread kept an event waiting (less the time in which the system ran something else); under storms also beside the
drag without one. Ends with 1 when a budget is missed: a frame's work within the 16.7 ms of 60 frames a second (95 %),
and no event waiting 50 ms, or 100 ms with the device that takes nothing (which is given up and opened anew meanwhile, so
that the screens change). Run it alone on the machine.
"""

import argparse
import math
import pathlib
import re
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tools" / "stage"))

from budget_table import Row, print_table  # noqa: E402
from screens import LIGHTING_PAGE, open_drawer, open_main  # noqa: E402
from stage import Stage  # noqa: E402
from stall_log import StallLog  # noqa: E402

# Software rendering draws on the main thread, where it is measured.
SOFTWARE_DRAWING = {"QT_QUICK_BACKEND": "software"}
TRACE = {"QT_LOGGING_RULES": "qt.scenegraph.time.renderloop.debug=true", "QT_MESSAGE_PATTERN": "%{time boot} %{message}"}
FRAME_BUDGET_MS = 1000 / 60
STALL_BUDGET_MS = 50
HUNG_STALL_BUDGET_MS = 100
HUNG = "a device that takes nothing"
# The surfaces of the colour picker, by the names that a screen reader says.
SURFACES = {"hue and saturation of a light": "色相和饱和度", "lightness of a light": "明度"}
# The line of a write of the user's.
WRITTEN = "发送消息到设备:"
# The lines of Qt's two render loops at the end of a frame.
FRAME = re.compile(r"^ *([0-9.]+) .*?(?:[Ff]rame rendered).*? in (\d+)ms", re.MULTILINE)
# A longer pause is not a late frame: nothing had changed.
IDLE_MS = 200
# Attributes that the screens show, one that they do not, and private messages.
EVERY_KIND = ("mute", "auto_gain_on", "listen_volume", "mic_listen_ratio", "anti_noise", "ai_jianzao", "other_light_off",
              "0x8002", "0x8003")


def percentile(numbers, share):
    ordered = sorted(numbers)
    return ordered[min(len(ordered) - 1, math.ceil(share * len(ordered)) - 1)]


def press(stage, slider):
    """The mouse, down on the slider's handle."""
    left, top, width, height = slider["extents"]
    low, high = slider["range"]
    handle = left + 7 + (slider["value"] - low) / (high - low) * (width - 14)
    stage.xdotool("mousemove", round(handle), top + height // 2, "mousedown", 1)


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


def draw_colour(stage, surface, seconds):
    """A hand that goes through a surface once a second, in steps of 8 ms. Each step makes thirty colours for the device."""
    left, top, width, height = stage.wait_text(surface, "slider")["extents"]
    words = []
    for step in range(125):
        share = abs(2 * ((step / 125) % 1) - 1)
        words += ["mousemove", round(left + 1 + share * (width - 2)), round(top + height / 4 + share * height / 2), "sleep",
                  "0.008"]
    stage.xdotool("mousemove", left + width // 2, top + height // 2, "mousedown", 1)
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        stage.xdotool(*words)
    stage.xdotool("mouseup", 1)


def measure_colours(build, seconds):
    """What measure() gives for each surface of the picker."""
    with Stage(build, ["t40"], plugged=True) as stage:
        stalls = StallLog(build.resolve(), stage.folder / "stalls.log")
        program = stage.start_program(environment=TRACE | SOFTWARE_DRAWING | stalls.environment)
        open_main(stage)
        open_drawer(stage)
        stage.click(LIGHTING_PAGE, "page tab")
        stage.click("静态", "radio button")
        stage.click("颜色 选择颜色", "button")
        stage.wait_text("HEX", "text")
        stage.steady_screenshot(stage.folder / "picker.png")
        measured = {}
        for name, surface in SURFACES.items():
            draw_colour(stage, surface, 1)
            written = program.log.count(WRITTEN)
            measured[name] = measure(program, stalls, lambda chosen=surface: draw_colour(stage, chosen, seconds))
            if program.log.count(WRITTEN) == written:
                raise SystemExit(f"{name}: nothing was written")
        return measured


def storm_of_every_kind(stage, seconds):
    count = round(1000 * seconds / len(EVERY_KIND))
    for attribute in EVERY_KIND:
        stage.emulator(f"storm {count} 1000 {attribute}")
        stage.emulator("wait storm 60000")


def measure(program, stalls, act):
    """The work of each frame, the pauses between frames, and the stalls, while something is done."""
    begin = stalls.now()
    act()
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

    phases = {}
    with Stage(arguments.build, ["m40"], plugged=True) as stage:
        stalls = StallLog(arguments.build.resolve(), stage.folder / "stalls.log")
        program = stage.start_program(environment=TRACE | SOFTWARE_DRAWING | stalls.environment)
        open_main(stage)
        open_drawer(stage)
        stage.steady_screenshot(stage.folder / "drawer.png")
        slider = stage.wait_text("增益", "slider")
        press(stage, slider)
        drag(stage, slider, 1)
        phases["drag"] = measure(program, stalls, lambda: drag(stage, slider, arguments.seconds))
        count = round(1000 * (arguments.seconds + 1))
        stage.emulator(f"storm {count} 1000 mic_gain")
        phases["drag, 1000 reports/s"] = measure(program, stalls, lambda: drag(stage, slider, arguments.seconds))
        stage.xdotool("mouseup", 1)
        stage.emulator("wait storm 60000")
        phases["all kinds, 1000 reports/s"] = measure(program, stalls, lambda: storm_of_every_kind(stage, arguments.seconds))

        # The user's writes are among those that the device does not take.
        press(stage, stage.wait_text("增益", "slider"))
        drag(stage, slider, 1)
        stage.emulator("deaf on")
        written = program.log.count(WRITTEN)
        phases[HUNG] = measure(program, stalls, lambda: drag(stage, slider, 2 * arguments.seconds))
        if program.log.count(WRITTEN) == written:
            raise SystemExit("the device that takes nothing was written nothing")
    phases |= measure_colours(arguments.build, arguments.seconds)

    rows = []
    plain_work, _, plain_waits = phases["drag"]
    for name, (work, gaps, waits) in phases.items():
        if name != HUNG:
            rows.append(Row(
                f"{name}: frame, ms", percentile(work, 0.95), None, FRAME_BUDGET_MS,
                f"{percentile(work, 0.95) / max(1, percentile(plain_work, 0.95)):.2f} times a plain drag; of {len(work)} frames; "
                f"median {percentile(work, 0.5)}, to the next {percentile(gaps, 0.5):.1f}, 95 % {percentile(gaps, 0.95):.1f}"))
        rows.append(Row(
            f"{name}: stall, ms", waits.longest, None, HUNG_STALL_BUDGET_MS if name == HUNG else STALL_BUDGET_MS,
            f"{waits.p99 / max(0.1, plain_waits.p99):.2f} times a plain drag (99 %); {waits}"))
    return print_table("95 % of frames, longest stall", rows)


if __name__ == "__main__":
    sys.exit(main())
