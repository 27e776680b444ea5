"""The whole program beside a sound server that is stopped (SIGSTOP), which takes connections and says nothing, or gone."""

import contextlib
import ctypes
import os
import pathlib
import time
import unittest

from screens import close_drawer, open_drawer, open_main
from sound import PIPEWIRE, PULSEAUDIO, SoundServer, available
from stage import wait_until
from stall_log import StallLog
from system_case import BUILD, SystemCase

DEVICE = "VEXO Mixdesk R2"
SPEAKERS = "spk"
# How long the client library waits for an answer of the server: who asks it is held up that long.
CLIENT_LIBRARY_SECONDS = 30
# Requests of ptrace().
SEIZE, INTERRUPT, DETACH = 0x4206, 0x4207, 17
WAIT_FOR_THREADS = 0x40000000  # __WALL


def thread_of(program, name):
    return next(int(task.name) for task in pathlib.Path(f"/proc/{program.pid}/task").iterdir()
                if (task / "comm").read_text().strip() == name)


@contextlib.contextmanager
def held(thread):
    """A single thread of a program stands still meanwhile."""
    def trace(request):
        if library.ptrace(request, thread, None, None) != 0:
            raise OSError(ctypes.get_errno(), f"ptrace({request:#x}) of thread {thread}")

    library = ctypes.CDLL(None, use_errno=True)
    trace(SEIZE)
    trace(INTERRUPT)
    os.waitpid(thread, WAIT_FOR_THREADS)
    try:
        yield
    finally:
        trace(DETACH)


class SilentServer(SystemCase):
    plugged = True
    kind = PULSEAUDIO

    @classmethod
    def setUpClass(cls):
        if not available(cls.kind):
            raise unittest.SkipTest(f"{cls.kind} is not installed")

    def setUp(self):
        super().setUp()
        self.sound = SoundServer(self.stage.folder, self.stage.env, self.kind)
        self.addCleanup(self.sound.__exit__, None, None, None)
        self.sound.start()
        self.sound.add_sink(SPEAKERS, "Speakers")
        self.sound.add_microphone("mic", DEVICE)
        if self.kind == PULSEAUDIO:
            self.sound.set_default_sink(SPEAKERS)
        self.stalls = StallLog(BUILD, self.stage.folder / "stalls.log")

    def start_measured(self):
        return self.start(environment=self.stalls.environment)

    def close(self, program):
        """Asks the main window to close; the seconds until no window shows, and until the program has ended."""
        began = time.monotonic()
        self.stage.close_window(self.stage.windows("Vexo Deck")[0])
        wait_until(lambda: not self.stage.windows("Vexo Deck"), "the window to hide")
        hidden = time.monotonic() - began
        self.assertEqual(program.wait_exit(), 0, program.log)
        return hidden, time.monotonic() - began

    def expect_swift_end(self, program, began):
        """The longest stall since a time of the probe, and the end, are far from what the client library would wait."""
        longest = self.stalls.between(began, self.stalls.now()).longest
        hidden, ended = self.close(program)
        print(f"longest stall {longest:.0f} ms, windows hidden after {hidden:.2f} s, ended after {ended:.2f} s", flush=True)
        self.assertLess(longest, CLIENT_LIBRARY_SECONDS / 2 * 1000)
        self.assertLess(ended, CLIENT_LIBRARY_SECONDS / 2)

    def test_stopped_before_the_start(self):
        self.sound.freeze()
        began = self.stalls.now()
        program = self.start_measured()
        open_main(self.stage)
        program.wait_log("AudioRouterAPI initialized successfully")
        program.wait_log(f"Input device not found: {DEVICE}")
        self.expect_swift_end(program, began)

    def test_stopped_in_use(self):
        program = self.start_measured()
        open_main(self.stage)
        wait_until(lambda: "mic" in [name for _, name in self.sound.recordings()], "the microphone to be read")
        self.sound.freeze()
        began = self.stalls.now()
        open_drawer(self.stage)
        close_drawer(self.stage)
        self.expect_swift_end(program, began)

    def test_windows_hide_before_the_sound_is_stopped(self):
        program = self.start()
        open_main(self.stage)
        program.wait_log("AudioRouterAPI initialized successfully")
        with held(thread_of(program, "Mixer solo")):
            self.stage.close_window(self.stage.windows("Vexo Deck")[0])
            wait_until(lambda: not self.stage.windows("Vexo Deck"), "the window to hide")
            self.assertIsNone(program.process.poll(), "it waits for the thread of an output")
        self.assertEqual(program.wait_exit(), 0, program.log)

    def test_killed_in_use(self):
        program = self.start_measured()
        open_main(self.stage)
        wait_until(lambda: "mic" in [name for _, name in self.sound.recordings()], "the microphone to be read")
        began = self.stalls.now()
        self.sound.stop(kill=True)
        program.wait_log(f"Input device not found: {DEVICE}")
        open_drawer(self.stage)
        self.expect_swift_end(program, began)


class SilentPipeWire(SilentServer):
    kind = PIPEWIRE


if __name__ == "__main__":
    unittest.main()
