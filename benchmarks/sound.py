"""The sound engine on a private server: latency, render callback, reports, dropouts, processor time.

    tools/env python3 benchmarks/sound.py --build build/dev [--seconds 20] [--server pulseaudio|pipewire]

Latency is from an application to the sink, less that of the application itself: both are heard on one sink, and the
distance is found by correlation. Processor time and dropouts of the engine with 8 applications (and a microphone) stand
beside those of chains of a plain recorder and a plain player, processor time with a crowd of applications beside that of
plain recorders. Ends with 1 when a budget is missed. Run it alone on the machine.
"""

import argparse
import json
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
from budget_table import Row, print_table  # noqa: E402
from sound import PIPEWIRE, PULSEAUDIO, RATE, SoundServer, sound_environment, tone  # noqa: E402
from stage import cpu_seconds, wait_until  # noqa: E402

APPLICATIONS = 8
LATENCY_BUDGET_MS = 60
CALLBACK_BUDGET = 0.20
LEAST_STRETCHES = 15  # of 20, in which the copy has to be found
PROCESSOR_BUDGET = 1.5
CROWD_BUDGET_PERCENT = 100
REPORT_MS = 50
REPORT_BUDGET_MS = 56
# PipeWire's Pulse server takes 64 clients in all; each capture is one of them.
CROWD = {PULSEAUDIO: 50, PIPEWIRE: 8}
# The applications: an amplitude, and frequencies with whole periods of all of them in 10 ms.
AMPLITUDE = 0.05
FREQUENCIES = [300 + 100 * at for at in range(APPLICATIONS)]
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


def processor_share(processes, seconds):
    """Percent of a core that processes take, once they run."""
    time.sleep(2.0)
    before = sum(cpu_seconds(process.pid) for process in processes)
    time.sleep(seconds)
    return (sum(cpu_seconds(process.pid) for process in processes) - before) / seconds * 100


def measure_engine(build, sound, folder, seconds, players):
    bridge = new_bridge(build, sound, folder, "engine")
    bridge.call("AddInputDevice", DEVICE, 0)
    bridge.route(source(0), *[source(player.pid) for player in players])
    wait_until(lambda: bridge.log.count("Audio stream initialized") >= 2, "the microphone")
    share = processor_share([bridge.process], seconds)
    bridge.end()
    return share


def plain_chain(sound, what, sink):
    """A plain recorder piped into a plain player, with the latencies of the engine; both processes."""
    recorder = sound.client(["parec", *FORMAT.split(), "--latency-msec=20", what], stdout=subprocess.PIPE)
    player = sound.client(["pacat", *FORMAT.split(), "--latency-msec=30", f"--device={sink}"], stdin=recorder.stdout)
    recorder.stdout.close()
    return [recorder, player]


def stream_of(sound, player):
    return f"--monitor-stream={sound.playback_of(player.pid)}"


def end(processes):
    for process in processes:
        process.kill()
        process.wait()


def measure_chains(sound, seconds, players):
    processes = []
    for what in ["--device=mic", *(stream_of(sound, player) for player in players)]:
        processes += plain_chain(sound, what, "spk")
    share = processor_share(processes, seconds)
    end(processes)
    return share


def measure_reports(build, sound, folder, players):
    """The median of the milliseconds between reports of the levels."""
    bridge = new_bridge(build, sound, folder, "reports")
    bridge.route(*[source(player.pid) for player in players])
    reports = bridge.take_reports()

    def enough():
        reports.extend(bridge.take_reports())
        return len(reports) >= 200

    wait_until(enough, "200 reports")
    bridge.end()
    return statistics.median(numpy.diff([report["ms"] for report in reports]))


class DropoutCounter:
    """Counts the stretches in which one of the tones is not whole, in blocks of 10 ms. Each tone has whole periods in a
    block, so none disturbs another, and a gap of a millisecond in one of them shows."""

    BLOCK_FRAMES = RATE // 100

    def __init__(self, recorder):
        self.recorder = recorder
        self.dropouts = 0
        self.began = False  # whether all tones have been there at once
        self.broken = True  # the last block
        time_axis = numpy.arange(self.BLOCK_FRAMES) / RATE
        self.tones = numpy.exp(-2j * numpy.pi * numpy.outer(time_axis, FREQUENCIES)) * 2 / self.BLOCK_FRAMES

    def count_next(self, seconds):
        """Whether all tones have begun."""
        blocks = self.recorder.take(seconds)[:, 0].reshape(-1, self.BLOCK_FRAMES)
        broken = (numpy.abs(numpy.abs(blocks @ self.tones) - AMPLITUDE) > AMPLITUDE / 10).any(axis=1)
        begins = broken & ~numpy.concatenate([[self.broken], broken[:-1]])
        # A stretch that is broken throughout counts as a dropout, too.
        self.dropouts += int(begins.sum()) or int(broken.all())
        self.broken = broken[-1]
        self.began = self.began or not broken.all()
        return self.began


def measure_dropouts(build, sound, folder, seconds):
    """Dropouts through the engine, and through plain chains that run at the same time."""
    # With so much latency the applications themselves do not drop out.
    players = [sound.play(tone(frequency, 10, AMPLITUDE), "apps", f"steady{frequency}", latency_ms=500)
               for frequency in FREQUENCIES]
    chains = []
    for player in players:
        chains += plain_chain(sound, stream_of(sound, player), "plain")
    bridge = new_bridge(build, sound, folder, "dropouts")
    bridge.route(*[source(player.pid) for player in players])
    counters = [DropoutCounter(sound.recorder(sink)) for sink in ("spk", "plain")]
    wait_until(lambda: all([counter.count_next(0.2) for counter in counters]), "all tones to be heard on both sinks")
    for counter in counters:
        counter.dropouts = 0
    for _ in range(seconds):
        for counter in counters:
            counter.count_next(1.0)
    for counter in counters:
        counter.recorder.stop()
    bridge.end()
    end([*chains, *players])
    return [counter.dropouts for counter in counters]


def most_dropouts(theirs):
    """How often the engine may drop out beside so many dropouts of the plain chains: as chance makes of one rate, or half
    as often again. The machine does not stop both in the same places."""
    return theirs + max(2 * (2 * theirs) ** 0.5, theirs / 2)


def measure_crowd(build, sound, folder, seconds, kind):
    """Percent of a core with many applications, and that of as many plain recorders."""
    path = folder / "quiet.raw"
    with open(path, "wb") as quiet:
        quiet.truncate(600 * RATE * 8)
    players = []
    for number in range(CROWD[kind]):
        players.append(sound.client(["pacat", *FORMAT.split(), "--device=apps", path]))
        # PulseAudio refuses a client while 5 others are connecting.
        wait_until(lambda number=number: sound.playback_of(players[number].pid), f"{number + 1} programs to play")
    bridge = new_bridge(build, sound, folder, "crowd")
    bridge.route(*[source(player.pid) for player in players])
    ours = processor_share([bridge.process], seconds)
    bridge.end()
    recorders = [sound.client(["parec", *FORMAT.split(), "--latency-msec=20", stream_of(sound, player)]) for player in players]
    plain = processor_share(recorders, seconds)
    end([*recorders, *players])
    return ours, plain


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", required=True, type=pathlib.Path)
    parser.add_argument("--seconds", type=int, default=20)
    parser.add_argument("--server", choices=(PULSEAUDIO, PIPEWIRE), default=PULSEAUDIO)
    arguments = parser.parse_args()
    build, seconds = arguments.build.resolve(), arguments.seconds
    with tempfile.TemporaryDirectory(prefix="vexo-sound-") as name:
        folder = pathlib.Path(name)
        with SoundServer(folder, sound_environment(folder), arguments.server) as sound:
            sound.add_sink("apps", "Applications", hardware=False)
            sound.add_sink("spk", "Speakers")
            sound.add_sink("plain", "Plain", hardware=False)
            sound.add_microphone("mic", DEVICE)
            latency, worst_latency, stretches = measure_latency(build, sound, folder)
            ours, theirs = measure_dropouts(build, sound, folder, seconds)
            players = [sound.play(tone(frequency, 10, AMPLITUDE), "apps", f"player{frequency}") for frequency in FREQUENCIES]
            callback = measure_callback(build, sound, seconds, players)
            engine = measure_engine(build, sound, folder, seconds, players)
            chains = measure_chains(sound, seconds, players)
            period = measure_reports(build, sound, folder, players)
            end(players)
            crowd, recorders = measure_crowd(build, sound, folder, seconds, arguments.server)
    return print_table(f"{arguments.server}, {APPLICATIONS} applications", [
        Row("latency, ms", latency, None, LATENCY_BUDGET_MS, f"worst {worst_latency:.1f}, of {stretches} stretches"),
        Row("callback p99.9, of its period", callback["p999_share"], None, CALLBACK_BUDGET,
            f"{callback['p999_us']:.0f} us, median {callback['median_us']:.0f} us, {callback['calls']} calls"),
        Row("between reports of levels, ms", period, None, REPORT_BUDGET_MS, f"{REPORT_MS} are meant"),
        Row(f"dropouts in {seconds} s", ours, None, most_dropouts(theirs), f"{theirs} through plain chains"),
        Row("processor, % of a core", engine, chains, PROCESSOR_BUDGET, "beside plain chains"),
        Row(f"{CROWD[arguments.server]} captures, % of a core", crowd, None, CROWD_BUDGET_PERCENT,
            f"{crowd / recorders:.2f} times plain recorders, which mix and play nothing"),
    ])


if __name__ == "__main__":
    sys.exit(main())
