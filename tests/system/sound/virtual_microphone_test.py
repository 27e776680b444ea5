"""The virtual microphone of `run`: its signals, heard on its source."""

import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest
import wave

import numpy

from bridge_host import source
from sound import RATE, Recorder, level_db, rms_db
from sound_case import ROOT, SPEAKERS, SoundCase
from stage import wait_until
from virtual_microphone import signal_of

SOURCE = "vexo_virtual_microphone"
PROGRAM = ROOT / "tools" / "stage" / "virtual_microphone.py"
TONE_DB = -12.04
NAME = "VEXO Voxmic M40"  # as its USB descriptor says it


def write_wave(path, samples, width, rate=RATE):
    """A WAV file of whole numbers; `samples` are of full scale 1, a column for each channel."""
    numbers = numpy.round(numpy.asarray(samples) * (2 ** (8 * width - 1) - 1)).astype("<i8")
    if width == 1:
        numbers += 128
    octets = numbers.view(numpy.uint8).reshape(*numbers.shape, 8)[..., :width]
    with wave.open(str(path), "wb") as file:
        file.setnchannels(numbers.shape[1])
        file.setsampwidth(width)
        file.setframerate(rate)
        file.writeframes(octets.tobytes())


class WaveFiles(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vexo-wave-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.path = self.folder / "file.wav"

    def test_every_width_sounds_the_same(self):
        stereo = numpy.column_stack([numpy.linspace(-1, 1, 1000), numpy.linspace(0.5, -0.5, 1000)])
        for width in (1, 2, 3, 4):
            write_wave(self.path, stereo, width)
            numpy.testing.assert_allclose(signal_of(f"file {self.path}"), stereo, atol=2.0 ** (1 - 8 * width) * 1.6)

    def test_one_channel_is_heard_on_both(self):
        write_wave(self.path, [[0.25], [-0.5]], 2)
        numpy.testing.assert_allclose(signal_of(f"file {self.path}"), [[0.25, 0.25], [-0.5, -0.5]], atol=1e-4)

    def test_what_cannot_be_played_as_it_is_is_refused(self):
        write_wave(self.path, numpy.zeros((10, 2)), 2, 44100)
        self.assertRaisesRegex(ValueError, "2 channels of 16 bits at 44100 Hz", signal_of, f"file {self.path}")
        write_wave(self.path, numpy.zeros((10, 3)), 2)
        self.assertRaisesRegex(ValueError, "3 channels", signal_of, f"file {self.path}")
        whole = self.path.read_bytes()
        for length in (4, 12, 30):
            self.path.write_bytes(whole[:length])
            self.assertRaisesRegex(ValueError, "cannot be read", signal_of, f"file {self.path}")
        # The format code of floating-point samples.
        self.path.write_bytes(whole[:20] + b"\3\0" + whole[22:])
        self.assertRaisesRegex(ValueError, "cannot be read", signal_of, f"file {self.path}")
        write_wave(self.path, numpy.zeros((0, 2)), 2)
        self.assertRaisesRegex(ValueError, "is empty", signal_of, f"file {self.path}")

    def test_a_first_signal_that_is_none_ends_it(self):
        result = subprocess.run([sys.executable, PROGRAM, self.folder, "file", "none"], capture_output=True, text=True,
                                timeout=60)
        self.assertEqual(result.returncode, 2)
        self.assertRegex(result.stderr, r"\Avirtual microphone: .*No such file.*none.*\n\Z")


class VirtualMicrophone(SoundCase):
    def make_devices(self):
        """The microphone brings its own."""

    def start_microphone(self, *words):
        process = subprocess.Popen([sys.executable, PROGRAM, "--model", "m40", self.folder, *words], env=self.env, text=True,
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
        write_wave(self.folder / "constant.wav", numpy.full((4800, 1), -0.3), 2)
        self.choose(f"file {self.folder / 'constant.wav'}")
        self.wait_heard(recorder, lambda heard: numpy.allclose(heard, -0.3, atol=1e-3), "the WAV file")
        self.choose("tone 300")
        self.wait_heard(recorder, lambda heard: abs(level_db(heard, 300) - TONE_DB) < 0.1, "300 Hz")

    def test_it_has_the_name_that_it_is_given(self):
        self.start_microphone("tone", "1000")
        self.assertIn(f"Description: {NAME}\n", self.sound.pactl("list", "sources"))
        self.sound.add_sink(SPEAKERS, "Speakers")
        bridge = self.start_bridge()
        self.assertTrue(bridge.call("AddInputDevice", NAME, 0))
        bridge.route(source(0))
        heard = self.sound.recorder(SPEAKERS)
        self.addCleanup(heard.stop)
        self.wait_heard(heard, lambda heard: abs(level_db(heard, 1000) - TONE_DB) < 0.1, "1000 Hz")

    def test_speech_comes_and_goes(self):
        _, recorder = self.start_microphone("speech")
        blocks = recorder.stretches(0.05)
        wait_until(lambda: rms_db(next(blocks)) > -20, "speech")
        wait_until(lambda: rms_db(next(blocks)) < -45, "a pause")
        wait_until(lambda: rms_db(next(blocks)) > -20, "speech again")

    def test_words_that_are_no_signal_leave_it_as_it_is(self):
        process, recorder = self.start_microphone("tone", "1000")
        (self.folder / "broken.wav").write_bytes(b"RIFF\x24\0\0\0WAVEjunk")
        for words, reason in (("shouting", "'shouting' is no signal"),
                              (f"file {self.folder / 'broken.wav'}", "broken.wav cannot be read"),
                              (f"file {self.folder / 'none.wav'}", "No such file")):
            self.choose(words)
            self.assertIn(reason, process.stderr.readline())
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
