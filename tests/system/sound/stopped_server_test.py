"""A sound server that is stopped (SIGSTOP), which takes connections and says nothing: before the start, in use, at the end."""

import contextlib
import threading
import time

import numpy

from bridge_host import source
from sound import level_db, tone
from sound_case import APPS, SPEAKERS, SoundCase, main
from stage import wait_until

DEVICE = "VEXO Mixdesk R2"
AMPLITUDE = 0.25
LEVEL_DB = 20 * numpy.log10(AMPLITUDE)
# How long the client library waits for an answer of the server: who asks it is held up that long.
CLIENT_LIBRARY_SECONDS = 30


class StoppedServer(SoundCase):
    def make_devices(self):
        super().make_devices()
        self.sound.add_microphone("mic", DEVICE)
        self.keep_applications_apart()

    def setUp(self):
        super().setUp()
        self.addCleanup(self.sound.thaw)

    def listen(self):
        speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(speakers.stop)
        return speakers

    def wait_tones(self, speakers):
        self.wait_heard(speakers, lambda heard: all(abs(level_db(heard, frequency) - LEVEL_DB) < 0.1 for frequency in (500, 2000)),
                        "microphone and application")

    @contextlib.contextmanager
    def slow_server(self):
        """The server answers now and then."""
        ended = threading.Event()

        def work():
            while not ended.wait(0.05):
                self.sound.freeze()
                ended.wait(0.3)
                self.sound.thaw()

        worker = threading.Thread(target=work)
        worker.start()
        try:
            yield
        finally:
            ended.set()
            worker.join()

    def test_slow_from_the_start_to_the_end(self):
        self.sound.play(tone(500, 2, AMPLITUDE), "mic_in", "speaker")
        player = self.sound.play(tone(2000, 2, AMPLITUDE), APPS)
        speakers = self.listen()
        with self.slow_server():
            bridge = self.start_bridge()
            self.assertTrue(bridge.call("AddInputDevice", DEVICE, 0))
            bridge.route(source(player.pid), source(0))
            wait_until(lambda: DEVICE in [device["name"] for device in bridge.call("GetDeviceList")], "the microphone in the list")
            wait_until(lambda: str(player.pid) in [entry["processIdentifier"] for entry in bridge.call("getRunningApplications")],
                       "the application in the list")
        self.wait_tones(speakers)
        with self.slow_server():
            began = time.monotonic()
            self.assertEqual(bridge.end(), 0)
            self.assertLess(time.monotonic() - began, CLIENT_LIBRARY_SECONDS / 2)

    def test_stopped_before_the_start(self):
        self.sound.play(tone(500, 2, AMPLITUDE), "mic_in", "speaker")
        player = self.sound.play(tone(2000, 2, AMPLITUDE), APPS)
        speakers = self.listen()
        self.sound.freeze()
        began = time.monotonic()
        bridge = self.start_bridge()
        self.assertTrue(bridge.call("AddInputDevice", DEVICE, 0))
        bridge.route(source(player.pid), source(0))
        self.assertEqual(bridge.call("GetDeviceList"), [])
        self.assertEqual(bridge.call("getRunningApplications"), [])
        self.assertLess(time.monotonic() - began, CLIENT_LIBRARY_SECONDS / 2)
        self.sound.thaw()
        self.wait_tones(speakers)

    def test_stopped_in_use_and_going_on(self):
        self.sound.play(tone(500, 2, AMPLITUDE), "mic_in", "speaker")
        player = self.sound.play(tone(2000, 2, AMPLITUDE), APPS)
        bridge = self.start_bridge()
        self.assertTrue(bridge.call("AddInputDevice", DEVICE, 0))
        bridge.route(source(player.pid), source(0))
        speakers = self.listen()
        self.wait_tones(speakers)
        names = [device["name"] for device in bridge.call("GetDeviceList")]
        self.sound.freeze()
        began = time.monotonic()
        self.assertEqual([device["name"] for device in bridge.call("GetDeviceList")], names)
        self.assertTrue(bridge.call("RemoveInputDevice", DEVICE))
        wait_until(lambda: bridge.call("GetInputDevices") == [], "its removal")
        self.assertTrue(bridge.call("AddInputDevice", DEVICE, 0))
        wait_until(lambda: bridge.call("GetInputDevices") != [], "its return")
        bridge.route(source(0))
        bridge.route(source(player.pid), source(0))
        self.assertTrue(bridge.call("Restart"))
        self.assertLess(time.monotonic() - began, CLIENT_LIBRARY_SECONDS / 2)
        self.sound.thaw()
        self.wait_tones(speakers)

    def test_stopped_at_the_end(self):
        player = self.sound.play(tone(2000, 2, AMPLITUDE), APPS)
        bridge = self.start_bridge()
        self.assertTrue(bridge.call("AddInputDevice", DEVICE, 0))
        bridge.route(source(player.pid), source(0))
        wait_until(lambda: [name for _, name in self.sound.recordings() if name == "mic"], "the microphone")
        self.sound.freeze()
        began = time.monotonic()
        self.assertEqual(bridge.end(), 0)
        self.assertLess(time.monotonic() - began, CLIENT_LIBRARY_SECONDS / 2)


if __name__ == "__main__":
    main()
