"""What may be wrong with the sound server, and many starts and programs."""

import collections
import os
import pathlib
import socket
import subprocess
import threading
import time

import numpy

from bridge_host import source
from sound import level_db, tone
from sound_case import APPS, BUILD, LONG, SPEAKERS, SoundCase, main
from stage import LIMIT, wait_until

AMPLITUDE = 0.25
LEVEL_DB = 20 * numpy.log10(AMPLITUDE)
TONE = 1000
OTHER_TONE = 3000
# Eight applications at once.
ONE_OF_EIGHT = 0.05
EIGHT_TONES = [300 + 200 * at for at in range(8)]


# How long the client library waits for an answer of the server.
CLIENT_LIBRARY_SECONDS = 30


AWAY_SECONDS = 6


def threads_of(pid):
    return sorted(path.read_text().strip() for path in pathlib.Path(f"/proc/{pid}/task").glob("*/comm"))


class WithoutServer(SoundCase):
    """The bridge before, without and beside a server that does not answer."""

    def setUp(self):
        super().setUp()
        self.sound.stop(kill=True)

    def listen_in_place_of_the_server(self):
        listener = socket.socket(socket.AF_UNIX)
        self.addCleanup(listener.close)
        listener.bind(str(self.sound.runtime / "pulse" / "native"))
        listener.listen(50)
        return listener

    def test_start_without_a_server_succeeds_and_says_so(self):
        bridge = self.start_bridge()
        self.assertIn("[ERROR] No devices available, Solo forwarding will be disabled.", bridge.log)
        self.assertEqual(bridge.call("getRunningApplications"), [])
        self.assertEqual(bridge.end(), 0)

    def test_server_that_does_not_answer_holds_nothing_up(self):
        # A socket that takes connections and never answers. The client library gives up after 30 s.
        self.listen_in_place_of_the_server()
        started = time.monotonic()
        bridge = self.start_bridge()
        bridge.route(source(4711))
        self.assertEqual(bridge.call("GetDeviceList"), [])
        self.assertEqual(bridge.call("getRunningApplications"), [])
        self.assertTrue(bridge.call("AddInputDevice", "Desk Microphone", 0))
        wait_until(lambda: "Input device not found: Desk Microphone" in bridge.log, "the microphone to be missed")
        bridge.call("Stop")
        self.assertEqual(bridge.end(), 0)
        self.assertLess(time.monotonic() - started, CLIENT_LIBRARY_SECONDS / 2)

    def test_server_that_comes_later_is_used_for_applications_and_microphones(self):
        bridge = self.start_bridge()
        self.assertTrue(bridge.call("AddInputDevice", "Desk Microphone", 0))
        wait_until(lambda: "Input device not found: Desk Microphone" in bridge.log, "the microphone to be missed")
        self.assertFalse((self.sound.runtime / "pulse" / "native").exists(), "a server was started in its place")
        self.sound.start()
        self.sound.add_microphone("mic", "Desk Microphone")
        self.keep_applications_apart()
        self.sound.play(tone(OTHER_TONE, 2, AMPLITUDE), "mic_in", "speaker")
        player = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)
        bridge.route(source(player.pid), source(0))
        self.wait_for_tones(TONE, OTHER_TONE)

    def test_list_heals_when_the_server_comes_late_and_when_it_was_away(self):
        bridge = self.start_bridge()
        self.assertEqual(bridge.call("GetDeviceList", 1), [])
        self.assertEqual(bridge.call("GetDeviceList", 2), [])
        for _ in range(2):
            self.sound.start()
            self.sound.add_microphone("mic", "Desk Microphone")
            wait_until(lambda: "Desk Microphone" in [device["name"] for device in bridge.call("GetDeviceList", 1)], "the microphone in the list")
            wait_until(lambda: "Speakers" in [device["name"] for device in bridge.call("GetDeviceList", 2)], "the output in the list")
            self.assertIn("Desk Microphone", [entry["name"] for entry in bridge.call("getRunningApplications")])
            self.sound.stop(kill=True)
            self.sound.modules = {words: number for words, number in self.sound.modules.items() if "mic" not in " ".join(words)}
            wait_until(lambda: bridge.call("GetDeviceList") == [], "the list without a server")
            # Longer than a library that asks again would do so.
            away = time.monotonic()
            wait_until(lambda: time.monotonic() - away > AWAY_SECONDS, "the server to have been away")

    def test_outputs_that_come_after_their_server_are_used(self):
        modules, self.sound.modules = self.sound.modules, {}
        self.sound.default_sink = None
        self.sound.start()
        bridge = self.start_bridge()
        wait_until(lambda: "Vexo Deck" in self.sound.pactl("list", "clients"), "the bridge at the server")
        self.assertNotIn("[BusForwarder] Solo thread started successfully.", bridge.log)
        for words in modules:
            self.sound.load(*words)
        self.keep_applications_apart()
        player = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)
        bridge.route(source(player.pid))
        self.wait_for_tones(TONE)
        # One start without the output and one with it. Sinks that the bridge does not play to cause no start.
        self.assertEqual(bridge.log.count("AudioRouterAPI initialized successfully"), 2)

    def wait_for_tones(self, *frequencies):
        speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(speakers.stop)
        self.wait_heard(speakers, lambda heard: all(abs(level_db(heard, frequency) - LEVEL_DB) < 0.1 for frequency in frequencies),
                        f"tones of {frequencies} Hz")

    def test_refused_connections_ask_again_twice_a_second_at_most(self):
        refusing = self.listen_in_place_of_the_server()
        bridge = self.start_bridge_among_refusals(refusing)
        began = time.monotonic()
        # The bridge's own connection, and that of the live mix.
        for _ in range(2 * 4):
            refusing.accept()[0].close()
        # The first attempt of each may have waited in the queue.
        self.assertGreater(time.monotonic() - began, 1.0)
        self.assertIsNone(bridge.process.poll())

    def start_bridge_among_refusals(self, refusing):
        """What the bridge's libraries ask at the start is refused as well; the bridge once its capture service idles."""
        ended = threading.Event()

        def refuse():
            while not ended.is_set():
                try:
                    refusing.accept()[0].close()
                except TimeoutError:
                    pass

        refusing.settimeout(0.1)
        thread = threading.Thread(target=refuse)
        thread.start()
        try:
            bridge = self.start_bridge()
            wait_until(lambda: "Audio routing service started" in bridge.log, "the capture service")
        finally:
            ended.set()
            thread.join()
            refusing.settimeout(LIMIT)
        return bridge


class Endurance(SoundCase):
    def test_captures_start_and_stop_without_a_leak(self):
        bridge = self.start_bridge()
        wait_until(lambda: "Audio routing service started" in bridge.log, "the capture service")
        player = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)
        cycles = 1000 if LONG else 100
        settled = None
        for cycle in range(cycles):
            bridge.route(source(player.pid))
            bridge.route()
            if cycle == cycles // 2:
                settled = bridge.open_files(), threads_of(bridge.pid), bridge.resident_kib()
        self.assertEqual(bridge.log.count("[INFO] Started capture for PID"), cycles)
        self.assertNotIn("[ERROR]", bridge.log)
        wait_until(lambda: "Vexo Deck capture" not in self.sound.pactl("list", "source-outputs"), "the captures to be gone")
        files, threads, resident = settled
        wait_until(lambda: bridge.open_files() <= files, "no more open files than before")
        self.assertEqual(threads_of(bridge.pid), threads)
        # The client library's pools grow during the first hundreds of streams. A leak does not stop growing.
        self.assertLess(bridge.resident_kib(), resident + 4096)
        speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(speakers.stop)
        bridge.route(source(player.pid))
        self.wait_heard(speakers, lambda heard: abs(level_db(heard, TONE) - LEVEL_DB) < 0.1, "the application")

    def test_server_that_restarts_again_and_again_is_told_of_once_a_second_at_most(self):
        bridge = self.start_bridge()
        wait_until(lambda: "Audio routing service started" in bridge.log, "the capture service")
        known = len(bridge.log.splitlines())
        began = time.monotonic()
        for _ in range(4):
            self.sound.stop(kill=True)
            self.sound.start()
            wait_until(lambda: "Vexo Deck" in self.sound.pactl("list", "clients"), "the bridge to be back")
        seconds = time.monotonic() - began
        lines = collections.Counter(bridge.log.splitlines()[known:])
        connection = [count for line, count in lines.items() if "Sound server" in line]
        self.assertGreater(sum(connection), 0)
        self.assertLessEqual(sum(connection), seconds + 1, lines)
        self.assertLessEqual(max(lines.values()), seconds + 1, lines)

    def test_process_of_another_user_is_captured_and_listed_without_a_path(self):
        # The server gives the sound of all users.
        host = BUILD / "tests" / "system" / "vexo_bridge_host"
        if os.geteuid() != 0 or subprocess.run(["test", "-x", host], user=65533).returncode != 0:
            self.skipTest("takes root's right to be others, and a build folder that others may enter")
        path = self.folder / "other.raw"
        path.write_bytes(tone(TONE, 60, AMPLITUDE).tobytes())
        os.chmod(self.folder, 0o755)
        os.chmod(path, 0o644)
        os.chmod(self.sound.runtime, 0o755)
        os.chmod(self.sound.runtime / "pulse", 0o755)
        os.chmod(self.sound.runtime / "pulse" / "native", 0o777)
        player = self.sound.client(["pacat", "--raw", "--format=float32le", "--rate=48000", "--channels=2",
                                    "--latency-msec=20", f"--device={APPS}", path], user=65534,
                                   env_extra={"HOME": "/nonexistent", "PULSE_COOKIE": ""})
        wait_until(lambda: self.sound.playback_of(player.pid), "the other user's player")
        bridge = self.start_bridge(user=65533)
        bridge.route(source(player.pid))
        speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(speakers.stop)
        self.wait_heard(speakers, lambda heard: abs(level_db(heard, TONE) - LEVEL_DB) < 0.1, "the application")
        record = next(entry for entry in bridge.call("getRunningApplications") if entry["processIdentifier"] == str(player.pid))
        self.assertTrue(record["name"])
        self.assertEqual(record["bundleIdentifier"], "file:///" + record["name"])

    def test_eight_applications_are_heard_at_once(self):
        bridge = self.start_bridge()
        players = [self.sound.play(tone(frequency, 2, ONE_OF_EIGHT), APPS, f"player{frequency}") for frequency in EIGHT_TONES]
        speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(speakers.stop)
        bridge.route(*[source(player.pid) for player in players])
        level = 20 * numpy.log10(ONE_OF_EIGHT)
        self.wait_heard(speakers, lambda heard: all(abs(level_db(heard, frequency) - level) < 0.1 for frequency in EIGHT_TONES),
                        "all eight at their level")


if __name__ == "__main__":
    main()
