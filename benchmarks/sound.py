"""The sound engine on a private server: latency, render callback, reports, dropouts, processor time.

    tools/env python3 benchmarks/sound.py --build build/dev [--seconds 10] [--runs 3] [--server pulseaudio|pipewire] [--only NAME...]

The delay is from an application, or a microphone, to the sink, less that of the application itself: both are heard on one
sink, and the distance is found by correlation. It stands beside that of a chain of a plain recorder and a plain player with
the same buffers, as do the dropouts with 8 applications, and the processor time with 8 applications, a microphone with 12
bands and three outputs. Processor time with a crowd of applications stands beside that of plain recorders. Each measurement
has a server of its own, and one that fails leaves the others alone; `--only` names single ones. Takes some four minutes, and
tells how far it is. Ends with 1 when a budget is missed, or something could not be measured. Run it alone on the machine.
"""

import argparse
import contextlib
import json
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass

import numpy

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path[:0] = [str(ROOT / "tools" / "stage"), str(ROOT / "tests" / "system" / "sound")]

from bridge_host import BridgeHost, source  # noqa: E402
from budget_table import Row, print_table  # noqa: E402
from sound import PIPEWIRE, PULSEAUDIO, RATE, SoundServer, sound_environment, tone  # noqa: E402
from stage import cpu_seconds, wait_until  # noqa: E402

APPLICATIONS = 8
# Of the engine's delay over that of a plain chain, and of any single one.
ADDED_BUDGET_MS = 10
WORST_BUDGET_MS = 60
CALLBACK_BUDGET = 0.20
STRETCHES = 4  # of each run of a delay
LEAST_FOUND = 0.75  # of all stretches, in which the copy has to be found
COPY_GAIN = 0.5
PULSE_FRAMES = RATE // 500
BANDS = 12
OUTPUTS = ("Monitor mix", "Stream mix", "Solo")
PROCESSOR_BUDGET = 0.6
CROWD_BUDGET_PERCENT = 100
REPORT_MS = 50
REPORT_BUDGET_MS = 56
CROWD = 50
# The applications: an amplitude, and frequencies with whole periods of all of them in 10 ms.
AMPLITUDE = 0.05
FREQUENCIES = [300 + 100 * at for at in range(APPLICATIONS)]
FORMAT = "--raw --format=float32le --rate=48000 --channels=2"
DEVICE = "VEXO Mixdesk R2"
EARS = "Ears"


def clicks(seconds):
    """One short pulse every half second, none like its neighbour in length of silence. It is longer than the distance by which
    the correction of drift moves the copy in one stretch."""
    signal = numpy.zeros((seconds * RATE, 2), numpy.float32)
    for at in range(0, len(signal) - RATE, RATE // 2):
        start = at + (at // 7) % 4000
        signal[start:start + PULSE_FRAMES] = 0.8 * numpy.hanning(PULSE_FRAMES)[:, None]
    return signal


def delay_ms(signal):
    """The distance of the quieter copy behind each click, by correlation of the signal with itself."""
    mono = signal[:, 0].astype(float)
    size = 1 << (2 * len(mono) - 1).bit_length()
    spectrum = numpy.fft.rfft(mono, size)
    correlation = numpy.fft.irfft(numpy.abs(spectrum) ** 2, size)[:RATE // 5]
    first = 2 * PULSE_FRAMES  # nothing is copied faster than that, and the pulse itself is over
    at = int(numpy.argmax(correlation[first:])) + first
    return at * 1000 / RATE, correlation[at] / correlation[0]


@dataclass(frozen=True)
class Delay:
    """Milliseconds."""
    median: float
    worst: float
    chain: float  # the median of the plain chains

    def rows(self, what):
        return [Row(f"{what} to output, ms more than plain", self.median - self.chain, None, ADDED_BUDGET_MS,
                    f"{self.median:.1f} beside {self.chain:.1f}"),
                Row(f"{what} to output, worst, ms", self.worst, None, WORST_BUDGET_MS)]


def new_bridge(build, sound, folder, number):
    bridge = BridgeHost(build / "tests" / "system" / "vexo_bridge_host", sound.env, folder / f"bridge-{number}.log")
    sound.clients.append(bridge.process)  # ends with the server at the latest, should the measurement fail
    return bridge


def delays(sound):
    """The delays in short stretches of what the sink plays, once the copy of the clicks is in it: a dropout on a busy machine
    moves it."""
    time.sleep(2.0)
    recorder = sound.recorder("spk")
    values = []
    for _ in range(STRETCHES):
        milliseconds, likeness = delay_ms(recorder.next(1.5))
        if likeness > 0.2:
            values.append(milliseconds)
    recorder.stop()
    return values


def measure_delay(sound, runs, ways):
    """Delays of the engine and of a plain chain, each set up anew for every run. `ways` are two functions that set one up
    and return what ends it."""
    ours, theirs = [], []
    for _ in range(runs):
        for begin, values in zip(ways, (ours, theirs)):
            stop = begin()
            values += delays(sound)
            stop()
    if min(len(ours), len(theirs)) < LEAST_FOUND * STRETCHES * runs:
        raise RuntimeError(f"the copy was found in {len(ours)} and {len(theirs)} of {STRETCHES * runs} stretches only: "
                           "this machine is too busy to measure on")
    return Delay(statistics.median(ours), max(ours), statistics.median(theirs))


def measure_delay_of(sound, runs, begin, what):
    """The delay of the clicks that play on the speakers through what `begin(player)` sets up, and through a plain chain from
    what `what(player)` names."""
    player = sound.play(clicks(20), "spk", "clicks")

    def begin_bridge():
        return begin(player).end

    def begin_chain():
        processes = plain_chain(sound, what(player), "spk", f"--volume={round(65536 * COPY_GAIN ** (1 / 3))}")
        return lambda: end(processes)

    delay = measure_delay(sound, runs, (begin_bridge, begin_chain))
    player.kill()
    return delay


def measure_application_delay(build, sound, folder, runs):
    def begin(player):
        bridge = new_bridge(build, sound, folder, "delay")
        bridge.route(source(player.pid, volume=COPY_GAIN))
        return bridge

    return measure_delay_of(sound, runs, begin, lambda player: stream_of(sound, player))


def measure_microphone_delay(build, sound, folder, runs):
    """Of a microphone that hears the sink."""
    def begin(_player):
        bridge = bridge_with_microphone(build, sound, folder, "delay", EARS)
        bridge.route(source(0, volume=COPY_GAIN))
        return bridge

    return measure_delay_of(sound, runs, begin, lambda _player: "--device=ears")


def bridge_with_microphone(build, sound, folder, number, device):
    """A bridge that reads an input of the server as input 0."""
    bridge = new_bridge(build, sound, folder, number)
    bridge.call("AddInputDevice", device, 0)
    wait_until(lambda: bridge.log.count("Audio stream initialized") >= 2, "the microphone")
    return bridge


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
    bridge = bridge_with_microphone(build, sound, folder, "engine", DEVICE)
    bridge.store(device_equalizer=True, device_equalizer_current=json.dumps({"value": [3.0, -3.0] * (BANDS // 2)}))
    bridge.call("updateMonitorDevice")
    # Solo at the speakers, Bus 1 at a virtual sink, Bus 2 in the live microphone.
    bridge.start_router(bus1="Plain")
    bridge.route(source(0), *[source(player.pid) for player in players])
    wait_until(lambda: len([name for name, _ in sound.playbacks() if name in OUTPUTS]) == len(OUTPUTS), "three outputs")
    share = processor_share([bridge.process], seconds)
    bridge.end()
    return share


def plain_chain(sound, what, sink, *words):
    """A plain recorder piped into a plain player, with the buffers of the engine; both processes."""
    recorder = sound.client(["parec", *FORMAT.split(), "--latency-msec=20", what], stdout=subprocess.PIPE)
    player = sound.client(["pacat", *FORMAT.split(), "--latency-msec=30", "--process-time-msec=5", f"--device={sink}", *words],
                          stdin=recorder.stdout)
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


def measure_crowd(build, sound, folder, seconds):
    """Percent of a core with many applications, and that of as many plain recorders."""
    path = folder / "quiet.raw"
    with open(path, "wb") as quiet:
        quiet.truncate(600 * RATE * 8)
    players = []
    for number in range(CROWD):
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


class Bench:
    """The measurements by name, on one server. Each stands for itself: one that fails is told, and the others go on."""

    def __init__(self, build, sound, folder, seconds, runs):
        self.build, self.sound, self.folder, self.seconds, self.runs = build, sound, folder, seconds, runs

    @contextlib.contextmanager
    def applications(self):
        players = [self.sound.play(tone(frequency, 10, AMPLITUDE), "apps", f"player{frequency}") for frequency in FREQUENCIES]
        try:
            yield players
        finally:
            end(players)

    def application(self):
        return measure_application_delay(self.build, self.sound, self.folder, self.runs).rows("application")

    def microphone(self):
        return measure_microphone_delay(self.build, self.sound, self.folder, self.runs).rows("microphone")

    def callback(self):
        with self.applications() as players:
            callback = measure_callback(self.build, self.sound, self.seconds, players)
        return [Row("callback p99.9, of its period", callback["p999_share"], None, CALLBACK_BUDGET,
                    f"{callback['p999_us']:.0f} us, median {callback['median_us']:.0f} us, {callback['calls']} calls")]

    def reports(self):
        with self.applications() as players:
            period = measure_reports(self.build, self.sound, self.folder, players)
        return [Row("between reports of levels, ms", period, None, REPORT_BUDGET_MS, f"{REPORT_MS} are meant")]

    def dropouts(self):
        ours, theirs = measure_dropouts(self.build, self.sound, self.folder, self.seconds)
        return [Row(f"dropouts in {self.seconds} s", ours, None, most_dropouts(theirs), f"{theirs} through plain chains")]

    def processor(self):
        with self.applications() as players:
            engine = measure_engine(self.build, self.sound, self.folder, self.seconds, players)
            chains = measure_chains(self.sound, self.seconds, players)
        return [Row("processor, % of a core", engine, chains, PROCESSOR_BUDGET,
                    f"microphone, {BANDS} bands, {len(OUTPUTS)} outputs; beside {APPLICATIONS + 1} plain chains")]

    def crowd(self):
        crowd, recorders = measure_crowd(self.build, self.sound, self.folder, self.seconds)
        return [Row(f"{CROWD} captures, % of a core", crowd, None, CROWD_BUDGET_PERCENT,
                    f"{crowd / recorders:.2f} times plain recorders, which mix and play nothing")]


MEASUREMENTS = ("application", "microphone", "callback", "reports", "dropouts", "processor", "crowd")


@contextlib.contextmanager
def benched_server(kind):
    """A server with the devices of the measurements, and the folder that it lives in."""
    with tempfile.TemporaryDirectory(prefix="vexo-sound-") as name:
        folder = pathlib.Path(name)
        with SoundServer(folder, sound_environment(folder), kind) as sound:
            sound.add_sink("apps", "Applications", hardware=False)
            sound.add_sink("spk", "Speakers")
            sound.add_sink("plain", "Plain", hardware=False)
            sound.add_microphone("mic", DEVICE)
            sound.load("module-remap-source", "master=spk.monitor", "source_name=ears",
                       f"source_properties=device.description={EARS}")
            yield sound, folder


def measure(name, arguments):
    """The rows of one measurement, on a server of its own."""
    began = time.monotonic()
    print(f"{name} ...", end="", file=sys.stderr, flush=True)
    with benched_server(arguments.server) as (sound, folder):
        rows = getattr(Bench(arguments.build.resolve(), sound, folder, arguments.seconds, arguments.runs), name)()
    print(f" {time.monotonic() - began:.0f} s", file=sys.stderr, flush=True)
    return rows


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", required=True, type=pathlib.Path)
    parser.add_argument("--seconds", type=int, default=10)
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--server", choices=(PULSEAUDIO, PIPEWIRE), default=PULSEAUDIO)
    parser.add_argument("--only", choices=MEASUREMENTS, nargs="+", default=MEASUREMENTS)
    arguments = parser.parse_args()
    rows, failed = [], []
    for name in arguments.only:
        try:
            rows += measure(name, arguments)
        except (RuntimeError, AssertionError) as error:
            print(f" failed: {error}", file=sys.stderr, flush=True)
            failed.append(name)
    code = print_table(f"{arguments.server}, {APPLICATIONS} applications", rows)
    if failed:
        print(f"not measured: {', '.join(failed)}")
    return 1 if failed else code


if __name__ == "__main__":
    sys.exit(main())
