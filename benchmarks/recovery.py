"""How soon the bridge starts and its sound is back, whatever happens to the sound server.

    tools/env python3 benchmarks/recovery.py --build build/dev [--runs 5] [--server pulseaudio|pipewire]

A return is timed from the server's first answer after a restart, or from the end of a suspension; beside that of a plain
player that is started anew then. A start without a server, and beside one that takes connections and never answers, is
timed beside a start with a server. A bridge whose server refuses it is measured beside an idle one. The medians count.
Ends with 1 when a budget is missed. Run it alone on the machine.
"""

import argparse
import pathlib
import signal
import socket
import statistics
import sys
import tempfile
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path[:0] = [str(ROOT / "tools" / "stage"), str(ROOT / "tests" / "system" / "sound")]

from bridge_host import BridgeHost, source  # noqa: E402
from budget_table import Row, print_table  # noqa: E402
from sound import PIPEWIRE, PULSEAUDIO, SoundServer, level_db, sound_environment, tone  # noqa: E402
from stage import cpu_seconds, wait_until  # noqa: E402

RETURN_BUDGET_SECONDS = 2.0
START_WITHOUT_SERVER_BUDGET_SECONDS = 3.0
START_BESIDE_SILENT_SERVER_BUDGET_SECONDS = 4.0
REFUSED_BUDGET_PERCENT = 20.0
IDLE_SECONDS = 10
TONE, OTHER_TONE = 1000, 3000
AMPLITUDE = 0.25
LEVEL_DB = -12.04


class Measurement:
    def __init__(self, build, folder, sound):
        self.build, self.folder, self.sound = build, folder, sound
        self.count = 0

    def new_bridge(self):
        self.count += 1
        return BridgeHost(self.build / "tests" / "system" / "vexo_bridge_host", self.sound.env,
                          self.folder / f"bridge-{self.count}.log")

    def seconds_to_start(self):
        began = time.monotonic()
        bridge = self.new_bridge()
        taken = time.monotonic() - began
        bridge.kill()
        return taken

    @staticmethod
    def time_of(recorder, frequency):
        """The time at which a tone is first recorded at its level."""
        block = recorder.rate // 20

        def began():
            signal_so_far = recorder.signal()
            return [at for at in range(0, len(signal_so_far) - block + 1, block)
                    if abs(level_db(signal_so_far[at:at + block], frequency) - LEVEL_DB) < 0.1]

        return recorder.began + wait_until(began, f"{frequency} Hz")[0] / recorder.rate

    def restart(self, bridge):
        """Seconds from the server's first answer to the bridge's sound, and to that of a plain player."""
        sound = self.sound
        sound.stop(kill=True)
        follower = sound.follower()
        bridge.route(source(follower.pid))
        sound.start()
        answered = sound.answered
        recorders = [sound.recorder(sink) for sink in ("spk", "plain")]
        sound.play(tone(OTHER_TONE, 2, AMPLITUDE), "plain")
        sound.play_in(follower, tone(TONE, 60, AMPLITUDE), "apps")
        taken = [self.time_of(recorder, frequency) - answered for recorder, frequency in zip(recorders, (TONE, OTHER_TONE))]
        for recorder in recorders:
            recorder.stop()
        return taken

    def suspend(self):
        """Seconds from the end of the server's suspension to the tone of the bridge."""
        recorder = self.sound.recorder("spk")
        for server in self.sound.servers:
            server.send_signal(signal.SIGSTOP)
        time.sleep(1.0)
        # Drops what the pipe still held.
        recorder.take(recorder.frames() / recorder.rate)
        resumed = time.monotonic()
        for server in self.sound.servers:
            server.send_signal(signal.SIGCONT)
        stretches = recorder.stretches(0.1)
        wait_until(lambda: abs(level_db(next(stretches), TONE) - LEVEL_DB) < 0.1, "the tone again")
        taken = time.monotonic() - resumed
        recorder.stop()
        return taken

    def percent_of_core(self, bridge):
        before = cpu_seconds(bridge.pid)
        time.sleep(IDLE_SECONDS)
        return (cpu_seconds(bridge.pid) - before) / IDLE_SECONDS * 100


class SilentServer:
    """Takes connections in the server's place; with `refusing` it closes them at once, otherwise it says nothing."""

    def __init__(self, sound, refusing):
        self.refusing = refusing
        self.ended = threading.Event()
        self.connections = []
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(str(sound.runtime / "pulse" / "native"))
        self.listener.listen(50)
        self.listener.settimeout(0.1)
        self.thread = threading.Thread(target=self._serve)

    def _serve(self):
        while not self.ended.is_set():
            try:
                connection = self.listener.accept()[0]
            except TimeoutError:
                continue
            if self.refusing:
                connection.close()
            else:
                self.connections.append(connection)

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.ended.set()
        self.thread.join()
        path = self.listener.getsockname()
        for held in (self.listener, *self.connections):
            held.close()
        pathlib.Path(path).unlink()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", required=True, type=pathlib.Path)
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--server", choices=(PULSEAUDIO, PIPEWIRE), default=PULSEAUDIO)
    arguments = parser.parse_args()
    runs = range(arguments.runs)
    with tempfile.TemporaryDirectory(prefix="vexo-recovery-") as name:
        folder = pathlib.Path(name)
        sound = SoundServer(folder, sound_environment(folder), arguments.server)
        measurement = Measurement(arguments.build.resolve(), folder, sound)
        with sound:
            sound.add_sink("apps", "Applications", hardware=False)
            sound.add_sink("plain", "Plain", hardware=False)
            sound.add_sink("spk", "Speakers")
            sound.set_default_sink("apps")
            started = statistics.median(measurement.seconds_to_start() for _ in runs)
            bridge = measurement.new_bridge()
            idle = measurement.percent_of_core(bridge)
            returns = [measurement.restart(bridge) for _ in runs]
            suspensions = statistics.median(measurement.suspend() for _ in runs)
            bridge.end()
            sound.stop(kill=True)
            without = statistics.median(measurement.seconds_to_start() for _ in runs)
            with SilentServer(sound, refusing=False):
                silent = statistics.median(measurement.seconds_to_start() for _ in runs)
            with SilentServer(sound, refusing=True):
                bridge = measurement.new_bridge()
                wait_until(lambda: "Audio routing service started" in bridge.log, "the capture service")
                refused = measurement.percent_of_core(bridge)
                bridge.end()
    ours, theirs = (statistics.median(run[at] for run in returns) for at in (0, 1))
    return print_table(arguments.server, [
        Row("sound after a restart, s", ours, None, RETURN_BUDGET_SECONDS, f"{ours / theirs:.2f} times a plain player"),
        Row("sound after a suspension, s", suspensions, None, RETURN_BUDGET_SECONDS),
        Row("start without a server, s", without, None, START_WITHOUT_SERVER_BUDGET_SECONDS,
            f"{without / started:.2f} times a start with one"),
        Row("start beside a silent server, s", silent, None, START_BESIDE_SILENT_SERVER_BUDGET_SECONDS,
            f"{silent / started:.2f} times a start with one"),
        Row("refused, % of a core", refused, None, REFUSED_BUDGET_PERCENT, f"idle {idle:.1f} %"),
    ])


if __name__ == "__main__":
    sys.exit(main())
