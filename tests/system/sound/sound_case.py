"""What the sound tests share: a server of their own with two outputs, and the bridge on it."""

import os
import pathlib
import shutil
import sys
import tempfile
import unittest

from bridge_host import BridgeHost
from sound import PULSEAUDIO, SoundServer, available, highest_level_db, sound_environment
from stage import wait_until

ROOT = pathlib.Path(__file__).resolve().parents[3]
BUILD = pathlib.Path(os.environ["VEXO_BUILD"])
LONG = "VEXO_LONG" in os.environ

# The sink of the applications, and that of the bridge.
APPS = "apps"
SPEAKERS = "spk"

# How a program in Python plays by PulseAudio's simple interface: what its text begins with.
SIMPLE_CLIENT = """
import ctypes
pulse = ctypes.CDLL("libpulse-simple.so.0")
class SampleFormat(ctypes.Structure):
    _fields_ = [("format", ctypes.c_int), ("rate", ctypes.c_uint32), ("channels", ctypes.c_uint8)]
pulse.pa_simple_new.restype = ctypes.c_void_p
pulse.pa_simple_new.argtypes = [ctypes.c_char_p, ctypes.c_char_p, ctypes.c_int, ctypes.c_char_p, ctypes.c_char_p,
                                ctypes.POINTER(SampleFormat), ctypes.c_void_p, ctypes.c_void_p, ctypes.c_void_p]
pulse.pa_simple_write.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_size_t, ctypes.c_void_p]
"""


class SoundCase(unittest.TestCase):
    # main() sets it.
    kind = PULSEAUDIO

    @classmethod
    def setUpClass(cls):
        if not available(cls.kind):
            raise unittest.SkipTest(f"{cls.kind} is not installed")

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vexo-sound-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.env = sound_environment(self.folder)
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


def main():
    """Runs the tests, with `--server NAME` on that server instead of PulseAudio."""
    words = sys.argv[1:]
    if "--server" in words:
        at = words.index("--server")
        SoundCase.kind = words[at + 1]
        del words[at:at + 2]
    unittest.main(argv=[sys.argv[0], *words])
