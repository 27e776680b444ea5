"""What the sound tests share: a server of their own with two outputs, and the bridge on it."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[3]
sys.path.insert(0, str(ROOT / "tools" / "stage"))

from bridge_host import BridgeHost  # noqa: E402
from sound import PIPEWIRE, PULSEAUDIO, SoundServer, available, held_level_db, highest_level_db, level_db, tone  # noqa: E402, F401
from stage import cpu_seconds, wait_until  # noqa: E402, F401

BUILD = pathlib.Path(os.environ["VEXO_BUILD"])
LONG = "VEXO_LONG" in os.environ

# Where applications play, and where the bridge does.
APPS = "apps"
SPEAKERS = "spk"


class SoundCase(unittest.TestCase):
    kind = PULSEAUDIO

    @classmethod
    def setUpClass(cls):
        if not available(cls.kind):
            raise unittest.SkipTest(f"{cls.kind} is not installed")

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vexo-sound-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.env = dict(os.environ, HOME=str(self.folder), TMPDIR=str(self.folder), LANG="C.UTF-8", LC_ALL="C.UTF-8",
                        XDG_CONFIG_HOME=str(self.folder / "config"), XDG_DATA_HOME=str(self.folder / "data"),
                        XDG_CACHE_HOME=str(self.folder / "cache"), XDG_STATE_HOME=str(self.folder / "state"))
        self.env.pop("DISPLAY", None)
        if self.kind == PIPEWIRE:
            self._start_bus()
        self.sound = SoundServer(self.folder, self.env, self.kind)
        self.addCleanup(self.sound.__exit__, None, None, None)
        self.sound.start()
        self.make_devices()
        self.bridges = []
        self.addCleanup(self._log_of_failure)

    def make_devices(self):
        self.sound.add_sink(APPS, "Applications", hardware=False)
        self.sound.add_sink(SPEAKERS, "Speakers")
        self.keep_applications_apart()

    def keep_applications_apart(self):
        """PulseAudio moves streams to a default sink that comes; PipeWire leaves them."""
        if self.kind == PULSEAUDIO:
            self.sound.set_default_sink(APPS)

    def _start_bus(self):
        bus = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address=1",
                                f"--address=unix:path={self.folder}/bus"], stdout=subprocess.PIPE,
                               stderr=subprocess.DEVNULL, env=self.env)
        self.addCleanup(bus.stdout.close)
        self.addCleanup(bus.wait)
        self.addCleanup(bus.terminate)
        self.env["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().decode().strip()

    def _log_of_failure(self):
        outcome = self._outcome.result
        if any(case is self for case, _ in outcome.failures + outcome.errors):
            for bridge in self.bridges:
                print(f"the bridge's log:\n{bridge.log[-8000:]}", file=sys.stderr)
            codes = [server.poll() for server in self.sound.servers]
            print(f"the server's log, with exit codes {codes}:\n{self.sound.log[-4000:]}", file=sys.stderr)

    def start_bridge(self, user=None, **environment):
        bridge = BridgeHost(BUILD / "tests" / "system" / "vexo_bridge_host", dict(self.env, **environment),
                            self.folder / f"bridge-{len(self.bridges)}.log", user)
        self.bridges.append(bridge)
        self.addCleanup(bridge.kill)
        return bridge

    def wait_heard(self, recorder, condition, what, seconds=0.2):
        """Waits until a stretch of what is recorded from now on fulfils the condition; that stretch."""
        stretches = recorder.stretches(seconds)
        last = []

        def heard():
            last[:] = [next(stretches)]
            return condition(last[0])

        try:
            wait_until(heard, what)
        except AssertionError:
            if last:
                loudest = {frequency: round(highest_level_db(last[0], frequency), 1) for frequency in range(300, 3100, 100)}
                print(f"the loudest of the last stretch, in dB: {loudest}", file=sys.stderr)
            raise
        return last[0]

    def wait_began(self, recorder, frequency, level):
        """Waits until a tone is recorded at its level; the time at which it began."""
        block = recorder.rate // 20

        def began():
            signal = recorder.signal()
            return [at for at in range(0, len(signal) - block + 1, block)
                    if abs(level_db(signal[at:at + block], frequency) - level) < 0.1]

        first = wait_until(began, f"{frequency} Hz at {level:.1f} dB")[0]
        return recorder.began + first / recorder.rate

    def assert_once_within(self, seconds, act):
        """`act` gives the seconds that something took. Once is enough: a machine that is busy with other things is late now
        and then, a bridge that is late is so always."""
        taken = []
        for _ in range(6):
            taken.append(act())
            if taken[-1] <= seconds:
                return
        self.fail(f"took {', '.join(f'{time:.2f}' for time in taken)} s, never within {seconds:g} s")


def main():
    """Runs the test cases of the server named on the command line, or all."""
    words = sys.argv[1:]
    servers = (PULSEAUDIO, PIPEWIRE)
    if "--server" in words:
        at = words.index("--server")
        servers = (words[at + 1],)
        del words[at:at + 2]
    module = sys.modules["__main__"]
    for name, case in list(vars(module).items()):
        if isinstance(case, type) and issubclass(case, SoundCase) and case.kind not in servers:
            delattr(module, name)
    unittest.main(module, argv=[sys.argv[0], *words])
