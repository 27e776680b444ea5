"""What may be wrong with the sound server, and what many programs ask of the bridge."""

import os
import socket
import sys
import time

import numpy

from bridge_host import source
from sound_case import APPS, LONG, PIPEWIRE, SPEAKERS, SoundCase, level_db, main, tone, wait_until

AMPLITUDE = 0.25
LEVEL_DB = 20 * numpy.log10(AMPLITUDE)
TONE = 1000


def threads_of(pid):
    return sorted(open(f"/proc/{pid}/task/{task}/comm").read().strip() for task in os.listdir(f"/proc/{pid}/task"))


def open_files(pid):
    return len(os.listdir(f"/proc/{pid}/fd"))


class WithoutServer(SoundCase):
    """The bridge before, without and beside a server that does not answer."""

    def setUp(self):
        super().setUp()
        self.sound.stop(kill=True)

    def test_start_without_a_server_is_immediate_and_says_so(self):
        started = time.monotonic()
        bridge = self.start_bridge()
        self.assertLess(time.monotonic() - started, 3.0)
        self.assertIn("[ERROR] No devices available, Solo forwarding will be disabled.", bridge.log)
        self.assertEqual(bridge.call("getRunningApplications"), [])
        self.assertEqual(bridge.end(), 0)

    def test_server_that_does_not_answer_holds_nothing_up(self):
        # A socket that takes connections and never says a word.
        path = self.sound.runtime / "pulse" / "native"
        silent = socket.socket(socket.AF_UNIX)
        self.addCleanup(silent.close)
        silent.bind(str(path))
        silent.listen(50)
        started = time.monotonic()
        bridge = self.start_bridge()
        self.assertLess(time.monotonic() - started, 4.0)
        bridge.route(source(4711))
        # The bridge's own destruction; PortAudio's worker waits for the silent server in the system's library.
        bridge.kill()

    def test_nothing_is_started_in_its_place(self):
        bridge = self.start_bridge()
        bridge.route(source(4711))
        time.sleep(1.0)  # two attempts to connect
        self.assertFalse((self.sound.runtime / "pulse" / "native").exists())
        self.assertEqual(bridge.end(), 0)

    def test_server_that_comes_later_is_used(self):
        bridge = self.start_bridge()
        self.sound.start()
        player = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)
        bridge.route(source(player.pid))
        speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(speakers.stop)
        self.wait_heard(speakers, lambda heard: abs(level_db(heard, TONE) - LEVEL_DB) < 0.1, "the application")

    def test_idle_bridge_without_a_server_burns_no_core(self):
        bridge = self.start_bridge()
        before = self.cpu_seconds(bridge.pid)
        time.sleep(3.0)
        self.assertLess((self.cpu_seconds(bridge.pid) - before) / 3.0, 0.05)

    def cpu_seconds(self, pid):
        fields = open(f"/proc/{pid}/stat").read().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class Endurance(SoundCase):
    def test_captures_start_and_stop_without_a_leak(self):
        bridge = self.start_bridge()
        player = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)
        cycles = 1000 if LONG else 100
        settled = None
        for cycle in range(cycles):
            bridge.route(source(player.pid))
            bridge.route()
            if cycle == 20:
                settled = open_files(bridge.pid), threads_of(bridge.pid), self.resident(bridge.pid)
        self.assertEqual(bridge.log.count("[INFO] Started capture for PID"), cycles)
        self.assertNotIn("[ERROR]", bridge.log)
        wait_until(lambda: "Vexo Deck capture" not in self.sound.pactl("list", "source-outputs"), "the captures to be gone")
        files, threads, resident = settled
        wait_until(lambda: open_files(bridge.pid) <= files, "no more open files than before")
        self.assertEqual(threads_of(bridge.pid), threads)
        self.assertLess(self.resident(bridge.pid), resident + 2048)
        # And it still works.
        speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(speakers.stop)
        bridge.route(source(player.pid))
        self.wait_heard(speakers, lambda heard: abs(level_db(heard, TONE) - LEVEL_DB) < 0.1, "the application")

    def resident(self, pid):
        for line in open(f"/proc/{pid}/status"):
            if line.startswith("VmRSS:"):
                return int(line.split()[1])
        raise AssertionError("no VmRSS")

    def test_server_that_restarts_again_and_again_is_told_of_once_a_second_at_most(self):
        bridge = self.start_bridge()
        began = time.monotonic()
        for _ in range(4):
            self.sound.stop(kill=True)
            self.sound.start()
            wait_until(lambda: "Vexo Deck" in self.sound.pactl("list", "clients"), "the bridge to be back", 5)
        lines = bridge.log.count("Sound server lost") + bridge.log.count("Sound server is back")
        self.assertGreater(lines, 0)
        self.assertLessEqual(lines, time.monotonic() - began + 1)

    def test_process_of_another_user_is_captured_and_listed_without_a_path(self):
        # The sound belongs to the server, whoever plays it.
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
        bridge = self.start_bridge()
        bridge.route(source(player.pid))
        speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(speakers.stop)
        self.wait_heard(speakers, lambda heard: abs(level_db(heard, TONE) - LEVEL_DB) < 0.1, "the application")
        record = next(entry for entry in bridge.call("getRunningApplications") if entry["processIdentifier"] == str(player.pid))
        self.assertTrue(record["name"])

    def test_fifty_programs_are_listed_and_one_of_them_is_heard(self):
        players = []
        path = self.folder / "quiet.raw"
        path.write_bytes(numpy.zeros((48000 * 60, 2), numpy.float32).tobytes())
        for _ in range(49):
            players.append(self.sound.client(["pacat", "--raw", "--format=float32le", "--rate=48000", "--channels=2",
                                              f"--device={APPS}", path]))
        heard_player = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)
        bridge = self.start_bridge()
        wanted = {str(player.pid) for player in [*players, heard_player]}
        # PulseAudio takes 32 playbacks of one sink by default.
        listed = lambda: {entry["processIdentifier"] for entry in bridge.call("getRunningApplications") if entry.get("type") == "app"}
        playing = lambda: self.sound.pactl("list", "short", "sink-inputs").count("\n") - 1  # without the bridge's own
        wait_until(lambda: playing() >= 30 and len(listed() & wanted) == playing(), "every playing program in the list", 30)
        bridge.route(source(heard_player.pid))
        speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(speakers.stop)
        self.wait_heard(speakers, lambda heard: abs(level_db(heard, TONE) - LEVEL_DB) < 0.1, "the application", limit=40)

    def test_eight_applications_play_without_a_dropout_that_a_plain_client_would_not_have(self):
        """Beside the bridge's eight captures, a plain recorder of the same output's monitor counts its own."""
        seconds = 1800 if LONG else 120
        bridge = self.start_bridge()
        players = [self.sound.play(tone(300 + 100 * at, 10, 0.05), APPS, f"player{at}") for at in range(8)]
        plain_source = self.sound.recorder(APPS)
        self.addCleanup(plain_source.stop)
        bridge.route(*[source(player.pid) for player in players])
        speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(speakers.stop)
        self.wait_heard(speakers, lambda heard: all(abs(level_db(heard, 300 + 100 * at) - 20 * numpy.log10(0.05)) < 0.3 for at in range(8)),
                        "all eight", limit=60)
        first, first_plain = speakers.frames(), plain_source.frames()
        speakers.wait_frames(first + seconds * 48000, seconds * 2 + 60)
        plain_source.wait_frames(first_plain + seconds * 48000, 60)
        ours = self.dropouts(speakers.signal()[first:first + seconds * 48000])
        theirs = self.dropouts(plain_source.signal()[first_plain:first_plain + seconds * 48000])
        print(f"dropouts in {seconds} s: {ours} through the bridge, {theirs} of the applications themselves", file=sys.stderr)
        self.assertLessEqual(ours, theirs + seconds // 60)

    def dropouts(self, signal):
        """Stretches of 10 ms or more in which nothing plays: eight tones are never silent together so long."""
        quiet = (numpy.abs(signal).max(axis=1) < 1e-4).astype(int)
        edges = numpy.flatnonzero(numpy.diff(numpy.concatenate([[0], quiet, [0]])))
        return int(((edges[1::2] - edges[::2]) > 480).sum())


class WithoutServerOnPipeWire(WithoutServer):
    kind = PIPEWIRE


class EnduranceOnPipeWire(Endurance):
    kind = PIPEWIRE


if __name__ == "__main__":
    main()
