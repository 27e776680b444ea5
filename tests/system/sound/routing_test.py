"""Applications through the bridge: what the output sink plays, measured. On PulseAudio and on PipeWire."""

import os
import pathlib
import signal
import subprocess
import sys

import numpy

from bridge_host import LISTEN_BUS, LIVE_BUS, source
from sound import PIPEWIRE, PULSEAUDIO, held_level_db, level_db, tone
from sound_case import APPS, SIMPLE_CLIENT, SPEAKERS, SoundCase, main
from stage import wait_until

TONE = 1000
OTHER_TONE = 3000
AMPLITUDE = 0.25
LEVEL_DB = 20 * numpy.log10(AMPLITUDE)
# A tone below this level counts as gone.
GONE_DB = LEVEL_DB - 60

# The playback that virtual microphones hear.
LIVE_MIX = ("Stream mix", "vexo_live_mix")

# A program that plays two tones in two streams of one process, as a browser does.
TWO_STREAMS = SIMPLE_CLIENT + """
import array, math, sys, threading
def play(frequency):
    sample_format = SampleFormat(5, 48000, 2)
    stream = pulse.pa_simple_new(None, b"two", 1, sys.argv[1].encode(), b"tone",
                                 ctypes.byref(sample_format), None, None, None)
    block = array.array("f")
    for frame in range(4800):
        value = 0.25 * math.sin(2 * math.pi * frequency * frame / 48000)
        block.extend((value, value))
    data = block.tobytes()
    while True:
        pulse.pa_simple_write(stream, data, len(data), None)
for frequency in (1000, 3000):
    threading.Thread(target=play, args=(frequency,)).start()
"""

# A program whose child process plays.
FORKING = """
import subprocess, sys
subprocess.run(["pacat", "--playback", "--raw", "--format=float32le", "--rate=48000", "--channels=2",
                "--latency-msec=20", "--device=" + sys.argv[1], sys.argv[2]])
"""


class Routing(SoundCase):
    def setUp(self):
        super().setUp()
        self.bridge = self.start_bridge()
        self.speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(self.speakers.stop)

    def wait_tone(self, frequency, level=LEVEL_DB):
        return self.wait_heard(self.speakers, lambda heard: abs(level_db(heard, frequency) - level) < 0.1,
                               f"{frequency} Hz at {level:.1f} dB")

    def wait_alone(self, frequency, gone):
        return self.wait_heard(self.speakers,
                               lambda heard: abs(level_db(heard, frequency) - LEVEL_DB) < 0.1 and held_level_db(heard, gone) < GONE_DB,
                               f"{frequency} Hz without {gone} Hz")

    def wait_silence(self):
        # Longer than a dropout of a busy machine.
        return self.wait_heard(self.speakers, lambda heard: not numpy.any(heard), "silence", seconds=1.0)

    def test_solo_output_opens_on_the_real_sink(self):
        wait_until(lambda: self.sound.playbacks() == [("Solo", SPEAKERS), LIVE_MIX],
                   "Solo at the speakers alone, and the live mix")

    def test_application_is_heard_at_its_level_and_another_is_not(self):
        wanted = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS, "wanted")
        self.sound.play(tone(OTHER_TONE, 2, AMPLITUDE), APPS, "other")
        self.bridge.route(source(wanted.pid))
        self.wait_alone(TONE, gone=OTHER_TONE)

    def test_application_itself_plays_on_untouched(self):
        player = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)
        untouched = self.sound.recorder(APPS)
        self.addCleanup(untouched.stop)
        index = self.sound.playback_of(player.pid)
        before = self.sound.pactl("list", "sink-inputs")
        self.bridge.route(source(player.pid))
        self.wait_tone(TONE)
        self.bridge.route()
        self.wait_silence()
        self.wait_heard(untouched, lambda heard: abs(level_db(heard, TONE) - LEVEL_DB) < 0.1, "the application itself", seconds=0.5)
        self.assertEqual(self.sound.playback_of(player.pid), index)
        sink_of = [line.strip() for line in before.splitlines() if line.strip().startswith("Sink:")]
        now = [line.strip() for line in self.sound.pactl("list", "sink-inputs").splitlines()]
        self.assertTrue(set(sink_of) <= set(now), "the playback was moved")

    def test_volume_of_the_strip_is_a_gain(self):
        player = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)
        self.bridge.route(source(player.pid, volume=0.5))
        self.wait_tone(TONE, LEVEL_DB - 6.02)
        self.bridge.route(source(player.pid, volume=1.0), listen_volume=0.25)
        self.wait_tone(TONE, LEVEL_DB - 12.04)

    def test_mute_of_the_strip_and_of_the_bus_silence_it(self):
        player = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)
        self.bridge.route(source(player.pid))
        self.wait_tone(TONE)
        self.bridge.route(source(player.pid, muted1=True))
        self.wait_silence()
        self.bridge.route(source(player.pid))
        self.wait_tone(TONE)
        self.bridge.route(source(player.pid), listen_muted=True)
        self.wait_silence()

    def test_solo_of_a_strip_plays_that_source_alone(self):
        one = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS, "one")
        two = self.sound.play(tone(OTHER_TONE, 2, AMPLITUDE), APPS, "two")
        self.bridge.route(source(one.pid), source(two.pid))
        self.wait_tone(TONE)
        self.wait_tone(OTHER_TONE)
        self.bridge.route(source(one.pid), source(two.pid, solo=True, muted1=True, muted2=True), listen_solo=False)
        self.wait_alone(OTHER_TONE, gone=TONE)

    def test_solo_plays_either_bus(self):
        one = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS, "one")
        two = self.sound.play(tone(OTHER_TONE, 2, AMPLITUDE), APPS, "two")
        records = source(one.pid, bus2=False), source(two.pid, bus1=False)
        self.bridge.route(*records)
        self.wait_alone(TONE, gone=OTHER_TONE)
        self.bridge.route(*records, listen_solo=False, mix_solo=True)
        self.wait_alone(OTHER_TONE, gone=TONE)

    def test_levels_are_reported_again_and_again_for_source_and_buses(self):
        player = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)
        self.bridge.route(source(player.pid))
        self.wait_tone(TONE)
        reports = self.bridge.take_reports()

        def forty():
            reports.extend(self.bridge.take_reports())
            return len(reports) >= 40

        wait_until(forty, "40 reports")
        # The reports are 50 ms apart; on a busy machine a little more.
        period = numpy.median(numpy.diff([report["ms"] for report in reports]))
        self.assertGreater(period, 45)
        self.assertLess(period, 75)
        # 0.7 of a sine's mean and 0.3 of its peak, times 1.5.
        expected = (0.7 * AMPLITUDE / 2 ** 0.5 + 0.3 * AMPLITUDE) * 1.5

        def at_level():
            reports.extend(self.bridge.take_reports())
            last = {level["processID"]: level for level in reports[-1]["levels"]}
            return last.keys() >= {player.pid, LISTEN_BUS, LIVE_BUS} and all(
                abs(last[process_id][side] - expected) < 0.01
                for process_id in (player.pid, LISTEN_BUS, LIVE_BUS) for side in ("levelLeft", "levelRight"))

        try:
            wait_until(at_level, f"levels of {expected:.3f}")
        except AssertionError as error:
            raise AssertionError(f"{error}: {reports[-1]}") from error

    def test_two_streams_of_one_process_are_heard_together(self):
        player = self.sound.client([sys.executable, "-c", TWO_STREAMS, APPS])
        self.bridge.route(source(player.pid))
        self.wait_heard(self.speakers,
                        lambda heard: all(abs(level_db(heard, frequency) - LEVEL_DB) < 0.1
                                          for frequency in (TONE, OTHER_TONE)), "both tones at their level")

    def test_child_process_is_heard(self):
        path = self.folder / "child.raw"
        path.write_bytes(tone(TONE, 60, AMPLITUDE).tobytes())
        parent = self.sound.client([sys.executable, "-c", FORKING, APPS, path])
        self.addCleanup(subprocess.run, ["pkill", "-P", str(parent.pid)])
        self.bridge.route(source(parent.pid))
        self.wait_tone(TONE)

    def test_stream_that_begins_later_and_again_is_followed(self):
        follower = self.sound.follower()
        self.bridge.route(source(follower.pid))
        for _ in range(2):
            self.sound.play_in(follower, tone(TONE, 60, AMPLITUDE), APPS)
            self.wait_tone(TONE)
            subprocess.run(["pkill", "-P", str(follower.pid)], check=True)
            self.wait_silence()

    def test_process_that_ends_and_one_that_never_plays_are_harmless(self):
        ended = self.sound.client(["true"])
        ended.wait()
        idle = self.sound.client(["sleep", "60"])
        player = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)
        self.bridge.route(source(ended.pid), source(idle.pid), source(player.pid))
        self.wait_tone(TONE)
        player.kill()
        self.wait_silence()
        self.bridge.route()
        self.assertEqual(self.bridge.end(), 0)

    def test_moved_playback_is_followed(self):
        self.sound.add_sink("elsewhere", "Elsewhere", hardware=False)
        player = self.sound.play(tone(TONE, 0.2, AMPLITUDE), APPS)
        self.bridge.route(source(player.pid))
        self.wait_tone(TONE)
        self.sound.pactl("move-sink-input", self.sound.playback_of(player.pid), "elsewhere")
        # This tone cannot be left over from before the move.
        next_signal = player.signal_path.with_suffix(".next")
        next_signal.write_bytes(tone(OTHER_TONE, 0.2, AMPLITUDE).tobytes())
        next_signal.replace(player.signal_path)
        self.wait_tone(OTHER_TONE)

    def test_file_of_another_rate_format_and_channel_count_is_heard_at_its_pitch_and_level(self):
        path = self.folder / "mono.wav"
        subprocess.run(["sox", "-n", "-r", "44100", "-b", "16", "-c", "1", path, "synth", "60", "sine", str(TONE), "vol", str(AMPLITUDE)],
                       check=True)
        player = self.sound.client(["paplay", f"--device={APPS}", path])
        self.bridge.route(source(player.pid))
        self.wait_heard(self.speakers,
                        lambda heard: abs(level_db(heard, TONE) - LEVEL_DB) < 0.1 and numpy.array_equal(heard[:, 0], heard[:, 1]),
                        "the file on both sides")

    def test_suspended_sink_or_server_interrupts_the_sound_only_so_long(self):
        player = self.sound.play(tone(TONE, 0.2, AMPLITUDE), APPS)
        self.bridge.route(source(player.pid))
        self.wait_tone(TONE)
        lines = self.bridge.log.splitlines()
        if self.kind == PULSEAUDIO:  # PipeWire wakes a sink at once that somebody plays to
            self.suspend(APPS, self.wait_silence)
            self.suspend(SPEAKERS, self.wait_standstill)
        self.suspend_server()
        self.assertEqual(self.bridge.log.splitlines(), lines)

    def suspend(self, sink, wait_effect):
        self.sound.pactl("suspend-sink", sink, "1")
        wait_effect()
        self.sound.pactl("suspend-sink", sink, "0")
        self.wait_tone(TONE)

    def suspend_server(self):
        for server in self.sound.servers:
            server.send_signal(signal.SIGSTOP)
        self.wait_standstill()
        for server in self.sound.servers:
            server.send_signal(signal.SIGCONT)
        self.wait_tone(TONE)

    def wait_standstill(self):
        """Waits until nothing has been recorded for 15 looks, which are 0.3 s at least."""
        seen = []

        def still():
            seen.append(self.speakers.frames())
            return len(seen) > 15 and seen[-1] == seen[-16]

        wait_until(still, "the recording to stand still")

    def test_volume_and_mute_of_the_playback_itself_count(self):
        player = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)
        self.bridge.route(source(player.pid))
        self.wait_tone(TONE)
        self.sound.pactl("set-sink-input-mute", self.sound.playback_of(player.pid), "1")
        self.wait_silence()

    def test_server_restart_brings_the_sound_back(self):
        player = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)
        self.bridge.route(source(player.pid))
        self.wait_tone(TONE)
        self.speakers.stop()
        self.sound.stop(kill=True)
        # The bridge gets its record before it plays.
        follower = self.sound.follower()
        self.bridge.route(source(follower.pid))
        self.sound.start()
        self.speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(self.speakers.stop)
        self.sound.play_in(follower, tone(TONE, 60, AMPLITUDE), APPS)
        self.wait_tone(TONE)
        self.assertLessEqual(self.bridge.log.count("Sound server lost"), 1)

    def test_sink_that_disappears_while_playing_is_played_on_when_it_is_back(self):
        player = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)
        self.bridge.route(source(player.pid))
        self.wait_tone(TONE)
        words = self.unload_speakers()
        self.sound.load(*words)
        self.speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(self.speakers.stop)
        self.wait_tone(TONE)

    def unload_speakers(self):
        """Takes the sink of Solo away; the words that bring it back."""
        words = self.sound.sink_words(SPEAKERS, "Speakers")
        self.sound.unload(*words)
        self.speakers.stop()
        return words

    def test_another_sink_stays_silent_while_that_of_solo_is_gone(self):
        self.sound.add_sink("other", "Other Speakers")
        # Where PipeWire plays what names a sink that is not there. Servers move streams of the old default sink to a new
        # one, so the application comes later.
        self.sound.set_default_sink("other")
        player = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)
        self.bridge.route(source(player.pid))
        self.wait_tone(TONE)
        words = self.unload_speakers()
        self.assert_silent("other")
        # A server that comes back without the sink, too.
        self.sound.stop(kill=True)
        follower = self.sound.follower()
        self.bridge.route(source(follower.pid))
        self.sound.start()
        self.sound.play_in(follower, tone(TONE, 60, AMPLITUDE), APPS)
        wait_until(lambda: any(level["processID"] == follower.pid for report in self.bridge.take_reports() for level in report["levels"]),
                   "the application to be captured")
        self.assert_silent("other")
        self.sound.load(*words)
        self.speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(self.speakers.stop)
        self.wait_tone(TONE)
        self.assert_silent("other")

    def assert_silent(self, sink):
        """Nothing is played into a sink for as long as the bridge needs for three more attempts."""
        self.assertFalse(numpy.any(self.sound.record(sink, 2.0)))

    def test_captures_and_outputs_run_in_real_time_where_that_is_granted(self):
        policy = os.SCHED_RR if self.real_time_is_granted() else os.SCHED_OTHER
        for name in ("SoundServer", "Mixer solo"):
            wait_until(lambda: self.policy_of(name) == policy, f"{name} with policy {policy}")
        self.assertEqual(self.policy_of("vexo_bridge_hos"), os.SCHED_OTHER)

    def policy_of(self, name):
        """The scheduling policy of the bridge's thread of this name; None where there is none."""
        for thread in pathlib.Path(f"/proc/{self.bridge.pid}/task").iterdir():
            if (thread / "comm").read_text().strip() == name:
                return os.sched_getscheduler(int(thread.name)) & ~os.SCHED_RESET_ON_FORK
        return None

    def real_time_is_granted(self):
        script = "import os\nos.sched_setscheduler(0, os.SCHED_RR, os.sched_param(5))"
        return subprocess.run([sys.executable, "-c", script], capture_output=True).returncode == 0

    def test_end_stops_everything_in_order(self):
        player = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)
        self.bridge.route(source(player.pid))
        self.wait_tone(TONE)
        self.assertEqual(self.bridge.end(), 0)
        lines = [line for line in self.bridge.log.splitlines() if "Cleaning up" in line or "routing service stopped" in line]
        self.assertIn("SystemBridge::cleanupNativeBridge() - Cleaning up", lines[0])
        self.assertIn("Audio routing service stopped", lines[1])
        wait_until(lambda: "Vexo Deck" not in self.sound.pactl("list", "clients"), "the connections to be gone")


class WithoutPipeWireItself(SoundCase):
    """Where PipeWire's own connection does not serve, its Pulse server does."""

    def hear_application(self, remote):
        if self.kind != PIPEWIRE:
            self.skipTest("there is no PipeWire")
        player = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)
        bridge = self.start_bridge(PIPEWIRE_REMOTE=str(remote))
        bridge.route(source(player.pid))
        speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(speakers.stop)
        self.wait_heard(speakers, lambda heard: abs(level_db(heard, TONE) - LEVEL_DB) < 0.1, "the tone")

    def test_application_is_heard_where_it_takes_no_connection(self):
        self.hear_application(self.folder / "nowhere")

    def test_application_is_heard_where_it_is_another_server(self):
        other = self.folder / "other"
        other.mkdir(mode=0o700)
        if self.kind == PIPEWIRE:
            self.sound.client(["pipewire"], env_extra={"XDG_RUNTIME_DIR": str(other), "PIPEWIRE_RUNTIME_DIR": str(other)})
            wait_until((other / "pipewire-0").exists, "the other server")
        self.hear_application(other / "pipewire-0")


class SlowSink(SoundCase):
    def make_devices(self):
        self.sound.add_sink(APPS, "Applications", hardware=False, rate=44100)
        self.sound.add_sink(SPEAKERS, "Speakers", rate=44100)
        self.keep_applications_apart()

    def test_sinks_of_44100_hz_play_the_right_pitch_and_level(self):
        bridge = self.start_bridge()
        player = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)
        bridge.route(source(player.pid))
        speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(speakers.stop)
        self.wait_heard(speakers, lambda heard: abs(level_db(heard, TONE) - LEVEL_DB) < 0.1, "the tone", seconds=0.5)


class Endpoints(SoundCase):
    """Outputs by name, virtual and real, and the server's defaults."""

    def make_devices(self):
        self.sound.add_sink(APPS, "Applications", hardware=False)
        self.sound.add_sink("headset", "Headset", hardware=False, properties="device.bus=usb device.form_factor=headset")
        self.sound.add_sink(SPEAKERS, "Speakers")
        self.sound.add_sink("one", "Cable One", hardware=False)
        self.sound.add_sink("two", "Cable Two", hardware=False)
        self.sound.load("module-remap-source", "master=two.monitor", "source_name=talk",
                        "source_properties=\"device.description='Desk Microphone'\"")
        self.keep_applications_apart()

    def setUp(self):
        super().setUp()
        self.bridge = self.start_bridge()

    def test_solo_prefers_the_built_in_sink_to_the_usb_one_before_it(self):
        wait_until(lambda: self.sound.playbacks() == [("Solo", SPEAKERS), LIVE_MIX],
                   "Solo at the speakers alone, and the live mix")

    def test_buses_play_to_the_virtual_sinks_of_their_names(self):
        one = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS, "one")
        two = self.sound.play(tone(OTHER_TONE, 2, AMPLITUDE), APPS, "two")
        self.assertTrue(self.bridge.start_router(bus1="Cable One", bus2="cable two", solo="Headset"))
        self.bridge.route(source(one.pid, bus2=False), source(two.pid, bus1=False))
        for sink, wanted, other in (("one", TONE, OTHER_TONE), ("two", OTHER_TONE, TONE), ("headset", TONE, OTHER_TONE)):
            recorder = self.sound.recorder(sink)
            self.addCleanup(recorder.stop)
            self.wait_heard(recorder, lambda heard: abs(level_db(heard, wanted) - LEVEL_DB) < 0.1 and held_level_db(heard, other) < GONE_DB,
                            f"{wanted} Hz alone in {sink}")

    def test_buses_refuse_microphones_and_real_outputs(self):
        self.assertTrue(self.bridge.start_router(bus1="Desk Microphone", bus2="Speakers"))
        # The microphone is found, since some virtual ones take sound. The server's take none, so it does not open.
        for line in ("[BusForwarder] Found virtual input device (microphone): Desk Microphone", "[ERROR] Input2 device not found: Speakers"):
            wait_until(lambda: line in self.bridge.log, line)
        wait_until(lambda: self.sound.playbacks() == [("Solo", SPEAKERS)], "Solo alone")

    def test_default_device_is_set_by_id_and_by_a_part_of_it(self):
        for endpoint, is_render, key, name in (("hdaudio#spk", True, "Default Sink", SPEAKERS), ("USB#HEADSET", True, "Default Sink", "headset"),
                                               ("talk", False, "Default Source", "talk")):
            self.assertTrue(self.bridge.set_default_device(endpoint, is_render), endpoint)
            wait_until(lambda: f"{key}: {name}\n" in self.sound.pactl("info"), f"{name} as the default")
        for endpoint, is_render in (("nobody", True), ("talk", True), (SPEAKERS, False), ("", True)):
            self.assertFalse(self.bridge.set_default_device(endpoint, is_render), endpoint)


if __name__ == "__main__":
    main()
