"""The sound engine on a private server: latency, render callback, processor time; each beside a plain client.

    tools/env python3 benchmarks/sound.py --build build/dev [--seconds 20] [--server pulseaudio|pipewire]

Latency is from an application to the sink, less that of the application itself: both are heard on one sink, and the
distance is found by correlation. Processor time is that of the engine with 8 applications and a microphone, beside
that of 9 chains of a plain recorder and a plain player. Ends with 1 when a budget is missed.
"""

import argparse
import json
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

import numpy

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path[:0] = [str(ROOT / "tools" / "stage"), str(ROOT / "tests" / "system" / "sound")]

from bridge_host import BridgeHost, source  # noqa: E402
from sound import PIPEWIRE, PULSEAUDIO, RATE, SoundServer, tone  # noqa: E402
from stage import cpu_seconds, wait_until  # noqa: E402

APPLICATIONS = 8
LATENCY_BUDGET_MS = 60
CALLBACK_BUDGET = 0.20
LEAST_STRETCHES = 15  # of 20, in which the copy has to be found
PROCESSOR_BUDGET = 1.5
FORMAT = "--raw --format=float32le --rate=48000 --channels=2"
DEVICE = "VEXO Mixdesk R2"


def clicks(seconds):
    """One short click every half second, none like its neighbour in length of silence."""
    signal = numpy.zeros((seconds * RATE, 2), numpy.float32)
    for at in range(0, len(signal) - RATE, RATE // 2):
        signal[at + (at // 7) % 4000] = 0.8
    return signal


def delay_ms(signal):
    """The distance of the quieter copy behind each click, by correlation of the signal with itself."""
    mono = signal[:, 0].astype(float)
    size = 1 << (2 * len(mono) - 1).bit_length()
    spectrum = numpy.fft.rfft(mono, size)
    correlation = numpy.fft.irfft(numpy.abs(spectrum) ** 2, size)[:RATE // 5]
    first = RATE // 1000  # nothing is copied faster than a millisecond
    at = int(numpy.argmax(correlation[first:])) + first
    return at * 1000 / RATE, correlation[at] / correlation[0]


def new_bridge(build, sound, folder, number):
    return BridgeHost(build / "tests" / "system" / "vexo_bridge_host", sound.env, folder / f"bridge-{number}.log")


def measure_latency(build, sound, folder):
    player = sound.play(clicks(20), "spk", "clicks")
    values = []
    for run in range(5):
        bridge = new_bridge(build, sound, folder, f"latency{run}")
        bridge.route(source(player.pid, volume=0.5))
        time.sleep(2.0)
        recorder = sound.recorder("spk")
        for _ in range(4):
            # In short stretches: a dropout on a busy machine moves the copy.
            milliseconds, likeness = delay_ms(recorder.next(1.5))
            if likeness > 0.2:
                values.append(milliseconds)
        recorder.stop()
        bridge.end()
    player.kill()
    if len(values) < LEAST_STRETCHES:
        raise RuntimeError(f"the copy was found in {len(values)} of 20 stretches only: this machine is too busy to measure on")
    return statistics.median(values), max(values), len(values)


def measure_callback(build, sound, seconds, players):
    result = subprocess.run([str(build / "benchmarks" / "vexo_render_callback_benchmark"), str(seconds),
                             *[str(player.pid) for player in players]], env=sound.env, capture_output=True, text=True)
    if result.returncode != 0:
        raise RuntimeError(result.stderr)
    return json.loads(result.stdout)


def measure_engine(build, sound, folder, seconds, players):
    sound.write_alsa_devices({DEVICE: "mic"})
    bridge = new_bridge(build, sound, folder, "engine")
    bridge.call("AddInputDevice", DEVICE, 0)
    bridge.route(source(0), *[source(player.pid) for player in players])
    wait_until(lambda: bridge.log.count("Audio stream initialized") >= 2, "the microphone")
    time.sleep(2.0)
    before = cpu_seconds(bridge.pid)
    time.sleep(seconds)
    spent = cpu_seconds(bridge.pid) - before
    bridge.end()
    return spent / seconds * 100


def measure_chain(sound, seconds, players):
    processes = []
    for number in range(len(players) + 1):
        # The microphone, and the applications' own streams.
        what = "--device=mic" if number == 0 else f"--monitor-stream={sound.playback_of(players[number - 1].pid)}"
        recorder = sound.client(["parec", *FORMAT.split(), "--latency-msec=20", what], stdout=subprocess.PIPE)
        processes += [recorder, sound.client(["pacat", *FORMAT.split(), "--latency-msec=30", "--device=spk"], stdin=recorder.stdout)]
        recorder.stdout.close()
    time.sleep(2.0)
    before = sum(cpu_seconds(process.pid) for process in processes)
    time.sleep(seconds)
    spent = sum(cpu_seconds(process.pid) for process in processes) - before
    for process in processes:
        process.kill()
    return spent / seconds * 100


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", required=True, type=pathlib.Path)
    parser.add_argument("--seconds", type=int, default=20)
    parser.add_argument("--server", choices=(PULSEAUDIO, PIPEWIRE), default=PULSEAUDIO)
    arguments = parser.parse_args()
    build = arguments.build.resolve()
    with tempfile.TemporaryDirectory(prefix="vexo-sound-") as name:
        folder = pathlib.Path(name)
        env = dict(os.environ, HOME=name, TMPDIR=name, LC_ALL="C.UTF-8")
        bus = None
        if arguments.server == PIPEWIRE:
            bus = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address=1", f"--address=unix:path={name}/bus"],
                                   stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
            env["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().decode().strip()
        with SoundServer(folder, env, arguments.server) as sound:
            sound.add_sink("apps", "Applications", hardware=False)
            sound.add_sink("spk", "Speakers")
            sound.add_microphone("mic", DEVICE)
            latency, worst_latency, stretches = measure_latency(build, sound, folder)
            players = [sound.play(tone(300 + 100 * at, 10, 0.05), "apps", f"player{at}") for at in range(APPLICATIONS)]
            callback = measure_callback(build, sound, arguments.seconds, players)
            engine = measure_engine(build, sound, folder, arguments.seconds, players)
            chain = measure_chain(sound, arguments.seconds, players)
        if bus is not None:
            bus.terminate()
            bus.wait()
    rows = [
        ("latency, ms", latency, LATENCY_BUDGET_MS, f"worst {worst_latency:.1f}, of {stretches} stretches"),
        ("callback p99.9, of its period", callback["p999_share"], CALLBACK_BUDGET,
         f"{callback['p999_us']:.0f} us, median {callback['median_us']:.0f} us, {callback['calls']} calls"),
        ("processor, times the plain chain", engine / chain, PROCESSOR_BUDGET, f"{engine:.1f} % of a core, chain {chain:.1f} %"),
    ]
    print(f"{arguments.server}, {APPLICATIONS} applications")
    good = True
    for what, value, budget, remark in rows:
        kept = value <= budget
        good = good and kept
        print(f"{what:34}{value:9.3f}   budget {budget:7.2f}   {remark}{'' if kept else '   MISSED'}")
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
