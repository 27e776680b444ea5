"""The microphone "VEXO Live", in which other programs hear the live mix. On PulseAudio and on PipeWire."""

import json
import signal

import numpy

from bridge_host import source
from sound import PULSEAUDIO, RATE, Recorder, level_db, tone
from sound_case import APPS, SPEAKERS, SoundCase, main
from stage import wait_until

NAME = "VEXO Live"
MICROPHONE = "vexo_live"
MIX = "vexo_live_mix"
SPARE = "vexo_spare"
TONE = 1000
AMPLITUDE = 0.25
LEVEL_DB = 20 * numpy.log10(AMPLITUDE)


class LiveMicrophone(SoundCase):
    def names(self, kind):
        return [line.split("\t")[1] for line in self.sound.pactl("list", "short", kind).splitlines()]

    def ours(self):
        """What there is of the microphone on the server."""
        return sorted(name for name in [*self.names("sinks"), *self.names("sources")] if name in (MIX, MICROPHONE, SPARE))

    def number(self, kind, name):
        """That of a sink or source; None: there is none."""
        return next((line.split("\t")[0] for line in self.sound.pactl("list", "short", kind).splitlines() if line.split("\t")[1] == name),
                    None)

    def module(self, words):
        """The number of the module with these words; None: there is none."""
        return next((line.split()[0] for line in self.sound.pactl("list", "short", "modules").splitlines() if words in line), None)

    def wait_ours(self, *names):
        wait_until(lambda: self.ours() == sorted(names), f"{names} on the server, and no more of the microphone")

    def defaults(self):
        return [self.sound.pactl(f"get-default-{kind}").strip() for kind in ("sink", "source")]

    def start_and_kill_bridge(self):
        bridge = self.start_bridge()
        self.wait_ours(MICROPHONE, MIX)
        bridge.process.send_signal(signal.SIGKILL)
        bridge.process.wait()

    def listen(self):
        """Records the microphone as a plain program does."""
        self.wait_ours(MICROPHONE, MIX)
        recorder = Recorder(["parec", "--raw", "--format=float32le", f"--rate={RATE}", "--channels=2", f"--device={MICROPHONE}",
                             "--latency-msec=20"], self.env)
        self.addCleanup(recorder.stop)
        return recorder

    def wait_tone(self, recorder, level=LEVEL_DB):
        self.wait_heard(recorder, lambda heard: abs(level_db(heard, TONE) - level) < 0.1, f"{TONE} Hz at {level:.1f} dB")

    def wait_silence(self, recorder):
        self.wait_heard(recorder, lambda heard: not numpy.any(heard), "silence", seconds=1.0)

    def play(self):
        return self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)


class Sound(LiveMicrophone):
    def test_live_mix_is_recorded_at_its_level(self):
        bridge = self.start_bridge()
        self.assertIn(f"[INFO] Input2 plays into the virtual microphone: {NAME}", bridge.log)
        heard, speakers = self.listen(), self.sound.recorder(SPEAKERS)
        self.addCleanup(speakers.stop)
        player = self.play()
        bridge.route(source(player.pid))
        self.wait_tone(heard)
        bridge.route(source(player.pid), mix_volume=0.5)
        self.wait_tone(heard, LEVEL_DB - 6.02)
        # Muted for the listeners alone.
        bridge.route(source(player.pid, muted2=True))
        self.wait_silence(heard)
        self.wait_tone(speakers)
        bridge.route(source(player.pid, muted1=True))
        self.wait_tone(heard)
        self.wait_silence(speakers)

    def test_every_program_sees_it_by_its_name(self):
        self.start_bridge()
        self.wait_ours(MICROPHONE, MIX)
        sources = {entry["name"]: entry for entry in json.loads(self.sound.pactl("-f", "json", "list", "sources"))}
        self.assertEqual(sources[MICROPHONE]["description"], NAME)
        # Programs that leave monitors out show it.
        self.assertNotEqual(sources[MICROPHONE]["properties"].get("device.class"), "monitor")

    def test_it_is_in_none_of_our_lists(self):
        self.sound.add_microphone("mic", "Desk Microphone")
        bridge = self.start_bridge()
        bridge.route(source(self.play().pid))
        self.wait_tone(self.listen())
        for listed in (bridge.call("getRunningApplications"), *(bridge.call("GetDeviceList", kind) for kind in (0, 1, 2))):
            self.assertTrue(listed)
            self.assertNotIn(NAME, json.dumps(listed))
            self.assertNotIn(MICROPHONE, json.dumps(listed))

    def test_it_is_none_of_our_outputs(self):
        bridge = self.start_bridge()
        self.wait_ours(MICROPHONE, MIX)
        self.assertTrue(bridge.start_router(bus1=NAME))
        self.assertIn(f"[WARNING] Input1 device not found: {NAME}", bridge.log)

    def test_it_is_back_after_a_restart_of_the_server(self):
        bridge = self.start_bridge()
        self.wait_ours(MICROPHONE, MIX)
        self.sound.stop(kill=True)
        follower = self.sound.follower()
        bridge.route(source(follower.pid))
        self.sound.start()
        heard = self.listen()
        self.sound.play_in(follower, tone(TONE, 60, AMPLITUDE), APPS)
        self.wait_tone(heard)

    def test_it_is_made_anew_when_somebody_takes_it_away(self):
        bridge = self.start_bridge()
        self.wait_ours(MICROPHONE, MIX)
        bridge.route(source(self.play().pid))
        for kind, name, mark in (("sources", MICROPHONE, "source_name"), ("sinks", MIX, "sink_name")):
            number = self.number(kind, name)
            self.sound.pactl("unload-module", self.module(f"{mark}={name} "))
            wait_until(lambda: self.number(kind, name) not in (None, number), "another one in its place")
            self.wait_tone(self.listen())
        self.assertEqual(bridge.end(), 0)
        self.wait_ours()

    def test_server_that_comes_later_gets_it(self):
        self.sound.stop(kill=True)
        bridge = self.start_bridge()
        self.sound.start()
        heard = self.listen()
        bridge.route(source(self.play().pid))
        self.wait_tone(heard)

    def test_named_output_takes_its_place(self):
        self.sound.add_sink("cable", "Cable", hardware=False)
        cable = self.sound.recorder("cable")
        self.addCleanup(cable.stop)
        bridge = self.start_bridge()
        heard = self.listen()
        self.assertTrue(bridge.start_router(bus2="Cable"))
        bridge.route(source(self.play().pid))
        self.wait_tone(cable)
        self.wait_silence(heard)


class Traces(LiveMicrophone):
    def test_nothing_is_left_behind(self):
        before = self.defaults(), self.sound.pactl("list", "short", "modules")
        bridge = self.start_bridge()
        self.wait_ours(MICROPHONE, MIX)
        self.assertEqual(bridge.end(), 0)
        self.wait_ours()
        self.assertEqual((self.defaults(), self.sound.pactl("list", "short", "modules")), before)

    def test_what_a_killed_program_left_is_used_again_and_removed(self):
        self.start_and_kill_bridge()
        heard = self.listen()
        modules = self.sound.pactl("list", "short", "modules")
        bridge = self.start_bridge()
        bridge.route(source(self.play().pid))
        self.wait_tone(heard)
        self.assertEqual(self.sound.pactl("list", "short", "modules"), modules)
        self.assertEqual(bridge.end(), 0)
        self.wait_ours()

    def test_half_of_what_was_left_is_completed(self):
        self.start_and_kill_bridge()
        self.sound.pactl("unload-module", self.module(f"source_name={MICROPHONE} "))
        # And one that is not as this program makes it.
        self.sound.load("module-null-sink", "sink_name=old", "sink_properties=vexo.live=1")
        self.wait_ours(MIX)
        bridge = self.start_bridge()
        heard = self.listen()
        wait_until(lambda: "old" not in self.names("sinks"), "the other one to be removed")
        bridge.route(source(self.play().pid))
        self.wait_tone(heard)


class Defaults(LiveMicrophone):
    """The server's default output and input stay where they are."""

    def check_that_they_stay(self):
        before = self.defaults()
        bridge = self.start_bridge()
        self.listen()
        self.assertEqual(self.defaults(), before)
        self.assertEqual(bridge.end(), 0)
        self.wait_ours()
        self.assertEqual(self.defaults(), before)

    def test_they_stay_without_another_microphone(self):
        self.check_that_they_stay()

    def test_they_stay_beside_a_microphone(self):
        self.sound.add_microphone("mic", "Desk Microphone")
        self.sound.pactl("set-default-source", "mic")
        self.assertEqual(self.defaults()[1], "mic")
        self.check_that_they_stay()

    def test_microphone_that_comes_and_goes_is_the_default_as_without_the_program(self):
        if self.kind != PULSEAUDIO:
            self.skipTest("PipeWire prefers no microphone to what an output plays")
        before = self.defaults()
        bridge = self.start_bridge()
        self.listen()
        for _ in range(2):
            self.sound.load("module-null-source", "source_name=plugged")
            wait_until(lambda: self.defaults()[1] == "plugged", "the microphone to be the default")
            self.sound.unload("module-null-source", "source_name=plugged")
            wait_until(lambda: self.defaults() == before, "the default as before")
        self.assertEqual(bridge.end(), 0)
        self.sound.load("module-null-source", "source_name=plugged")
        wait_until(lambda: self.defaults()[1] == "plugged", "the microphone to be the default without the program")

    def test_output_that_was_chosen_for_the_default_input_stays_it(self):
        if self.kind != PULSEAUDIO:
            self.skipTest("PipeWire's default is not held")
        # Not what the default output plays.
        self.sound.pactl("set-default-source", f"{SPEAKERS}.monitor")
        before = self.defaults()
        self.assertEqual(before, [APPS, f"{SPEAKERS}.monitor"])
        self.check_that_they_stay()
        # The server itself would prefer a microphone.
        self.sound.load("module-null-source", "source_name=plugged")
        wait_until(lambda: "plugged" in self.names("sources"), "the microphone")
        self.assertEqual(self.defaults(), before)

    def test_default_input_follows_the_default_output(self):
        if self.kind != PULSEAUDIO:
            self.skipTest("PipeWire's default is not held")
        bridge = self.start_bridge()
        self.listen()
        self.sound.pactl("set-default-sink", SPEAKERS)
        wait_until(lambda: self.defaults() == [SPEAKERS, f"{SPEAKERS}.monitor"], "what the new default output plays")
        self.assertEqual(bridge.end(), 0)
        self.wait_ours()
        wait_until(lambda: self.defaults() == [SPEAKERS, f"{SPEAKERS}.monitor"], "the same without the program")

    def test_default_that_a_killed_program_held_is_free_again(self):
        if self.kind != PULSEAUDIO:
            self.skipTest("PipeWire's default is not held")
        self.start_and_kill_bridge()
        bridge = self.start_bridge()
        self.assertEqual(bridge.end(), 0)
        self.wait_ours()
        self.sound.load("module-null-source", "source_name=plugged")
        wait_until(lambda: self.defaults()[1] == "plugged", "the microphone to be the default")


class WithoutOutputs(LiveMicrophone):
    def make_devices(self):
        """None: the server is on its own."""

    def test_default_output_is_the_spare_one_until_another_comes(self):
        bridge = self.start_bridge()
        self.wait_ours(MICROPHONE, MIX, SPARE)
        self.assertEqual(self.defaults()[0], SPARE)
        self.sound.add_sink(SPEAKERS, "Speakers")
        self.wait_ours(MICROPHONE, MIX)
        wait_until(lambda: self.defaults()[0] == SPEAKERS, "the output to be the default")
        self.assertEqual(bridge.end(), 0)
        self.wait_ours()


if __name__ == "__main__":
    main()
