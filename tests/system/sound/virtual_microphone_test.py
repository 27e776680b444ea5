"""The virtual microphone of `run`: its signals, heard on its source."""

import subprocess
import sys
import unittest

import numpy

from sound_case import ROOT, SoundCase, wait_until
from sound import RATE, Recorder, level_db, rms_db  # isort: skip

SOURCE = "vexo_virtual_microphone"
PROGRAM = ROOT / "tools" / "stage" / "virtual_microphone.py"
TONE_DB = -12.04


class VirtualMicrophone(SoundCase):
    def make_devices(self):
        """The microphone brings its own."""

    def start_microphone(self, *words):
        process = subprocess.Popen([sys.executable, PROGRAM, self.folder, *words], env=self.env, text=True,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stderr.close)
        self.assertIn("virtual microphone:", process.stdout.readline())
        recorder = Recorder(["parec", "--raw", "--format=float32le", f"--rate={RATE}", "--channels=2",
                             f"--device={SOURCE}", "--latency-msec=20"], self.env)
        self.addCleanup(recorder.stop)
        return process, recorder

    def choose(self, words):
        (self.folder / "microphone").write_text(words + "\n", encoding="utf-8")

    def test_a_tone_is_heard_as_it_is(self):
        _, recorder = self.start_microphone("tone", "1000")
        self.wait_heard(recorder, lambda heard: abs(level_db(heard, 1000) - TONE_DB) < 0.1, "1000 Hz")

    def test_the_signal_can_be_changed_while_it_runs(self):
        _, recorder = self.start_microphone("tone", "1000")
        self.choose("silence")
        self.wait_heard(recorder, lambda heard: not numpy.any(heard), "silence")
        constant = numpy.full((4800, 2), 0.1, dtype=numpy.float32)
        (self.folder / "constant.raw").write_bytes(constant.tobytes())
        self.choose(f"file {self.folder / 'constant.raw'}")
        self.wait_heard(recorder, lambda heard: numpy.allclose(heard, 0.1, atol=1e-3), "the file")
        self.choose("tone 300")
        self.wait_heard(recorder, lambda heard: abs(level_db(heard, 300) - TONE_DB) < 0.1, "300 Hz")

    def test_speech_comes_and_goes(self):
        _, recorder = self.start_microphone("speech")
        heard = recorder.next(4)
        blocks = [rms_db(block) for block in numpy.array_split(heard, 80)]
        self.assertGreater(max(blocks), -20)
        self.assertLess(min(blocks), -45)

    def test_words_that_are_no_signal_leave_it_as_it_is(self):
        process, recorder = self.start_microphone("tone", "1000")
        self.choose("shouting")
        self.assertIn("'shouting' is no signal", process.stderr.readline())
        self.wait_heard(recorder, lambda heard: abs(level_db(heard, 1000) - TONE_DB) < 0.1, "1000 Hz")

    def test_it_leaves_nothing_behind(self):
        process, _ = self.start_microphone("silence")
        self.assertIn(SOURCE, self.sound.pactl("list", "short", "sources"))
        process.terminate()
        self.assertEqual(process.wait(20), 0)
        wait_until(lambda: SOURCE not in self.sound.pactl("list", "short", "sources"), "the source to go")

    def test_without_a_server_it_says_so(self):
        self.sound.stop()
        result = subprocess.run([sys.executable, PROGRAM, self.folder], env=self.env, capture_output=True, text=True,
                                timeout=60)
        self.assertEqual(result.returncode, 1)
        self.assertIn("no sound server here", result.stderr)


if __name__ == "__main__":
    unittest.main()
