"""The idle program with a connected device beside an empty window of the same style, in one run.

    tools/env python3 benchmarks/idle.py --build build/release [--seconds 20] [--starts 7] [--server pulseaudio|pipewire]

Prints time to the first frame, processor time while idle, and resident memory, each with its budget. Processor time is
measured without a sound server, and beside one, where the microphone "VEXO Live" and the threads of the mixer run. Ends with
1 when a budget is missed. The empty window is drawn as Qt chooses; the program chooses by the graphics card, so where
there is none memory is also told beside an empty window of the software scene graph.
"""

import argparse
import pathlib
import re
import statistics
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tools" / "stage"))

from sound import PIPEWIRE, PULSEAUDIO, SoundServer  # noqa: E402
from stage import Stage, wait_until  # noqa: E402

# Qt's own account of its frames, stamped with the machine's monotonic clock.
TRACE = {"QT_LOGGING_RULES": "qt.scenegraph.time.renderloop.debug=true", "QT_MESSAGE_PATTERN": "%{time boot} %{message}"}
FIRST_FRAME_BUDGET = 2.5
IDLE_BUDGET_PERCENT = 2.0
IDLE_WITH_SOUND_BUDGET_PERCENT = 6.0
MEMORY_BUDGET = 1.5


def first_frame(stage, executable):
    """Milliseconds from the start of the process to the end of its first frame."""
    started = time.clock_gettime(time.CLOCK_MONOTONIC)
    program = stage.start_program(executable=executable, environment=TRACE)
    pattern = re.compile(r"^ *([0-9.]+) .*(?:[Ff]rame rendered|syncAndRender)", re.MULTILINE)
    found = wait_until(lambda: pattern.search(program.log), "the first frame")
    stage.end_program(program)
    return (float(found.group(1)) - started) * 1000


def idle(stage, program, seconds):
    """Percent of one core, and resident KiB afterwards."""
    before = program.cpu_seconds()
    time.sleep(seconds)
    return (program.cpu_seconds() - before) / seconds * 100, program.resident_kib()


def idle_window(stage, executable, seconds, environment=None):
    reference = stage.start_program(executable=executable, environment=environment)
    wait_until(lambda: stage.windows("Empty window"), "the empty window")
    time.sleep(2)
    figures = idle(stage, reference, seconds)
    stage.end_program(reference)
    return figures


def idle_program(stage, seconds, ready):
    """The program with the device that is plugged in, once `ready` is true."""
    program = stage.start_program()
    stage.emulator("wait ready 20000")
    stage.wait_text("已连接")
    wait_until(ready, "the program to be ready")
    time.sleep(2)
    figures = idle(stage, program, seconds)
    stage.end_program(program)
    return figures


def idle_with_sound(stage, seconds, kind):
    with SoundServer(stage.folder, stage.env, kind) as sound:
        sound.add_sink("speakers", "Speakers")
        return idle_program(stage, seconds, lambda: ("Stream mix", "vexo_live_mix") in sound.playbacks())


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", required=True, type=pathlib.Path)
    parser.add_argument("--seconds", type=float, default=20)
    parser.add_argument("--starts", type=int, default=7)
    parser.add_argument("--server", choices=(PULSEAUDIO, PIPEWIRE), default=PULSEAUDIO)
    arguments = parser.parse_args()
    empty = arguments.build.resolve() / "benchmarks" / "idle" / "vexo_empty_window"

    with Stage(arguments.build, ["r2"]) as stage:
        starts = {"empty": [], "vexo": []}
        for _ in range(arguments.starts + 1):
            starts["empty"].append(first_frame(stage, empty))
            starts["vexo"].append(first_frame(stage, None))
        # The first pair fills the disk's cache.
        frame_empty, frame_vexo = (statistics.median(starts[name][1:]) for name in ("empty", "vexo"))

        cpu_empty, memory_empty = idle_window(stage, empty, arguments.seconds)
        _, memory_software = idle_window(stage, empty, 1, {"QT_QUICK_BACKEND": "software"})

        stage.emulator("plug")
        cpu_vexo, memory_vexo = idle_program(stage, arguments.seconds, lambda: True)
        cpu_sound, _ = idle_with_sound(stage, arguments.seconds, arguments.server)

    rows = [
        ("first frame, ms", frame_empty, frame_vexo, frame_vexo / frame_empty, FIRST_FRAME_BUDGET, "times"),
        ("idle, % of a core", cpu_empty, cpu_vexo, cpu_vexo - cpu_empty, IDLE_BUDGET_PERCENT, "more"),
        ("the same with sound", cpu_empty, cpu_sound, cpu_sound - cpu_empty, IDLE_WITH_SOUND_BUDGET_PERCENT, "more"),
        ("resident, KiB", memory_empty, memory_vexo, memory_vexo / memory_empty, MEMORY_BUDGET, "times"),
    ]
    good = True
    print(f"{'':20}{'empty window':>14}{'Vexo Deck':>14}{'':>4}{'compared':>10}{'budget':>10}")
    for name, a, b, compared, budget, word in rows:
        good = good and compared <= budget
        print(f"{name:20}{a:14.2f}{b:14.2f}{'':>4}{compared:10.2f}{budget:10.2f} {word}{'' if compared <= budget else '   MISSED'}")
    print(f"An empty window of the software scene graph: {memory_software} KiB; Vexo Deck {memory_vexo / memory_software:.2f} times (no budget).")
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
