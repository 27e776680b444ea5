"""Microphones through the bridge: the server's sources, equalised, mixed with an application."""

import json
import os
import pathlib
import subprocess

import numpy

from bridge_host import source
from sound import held_level_db, level_db, tone
from sound_case import APPS, BUILD, SPEAKERS, SoundCase, main
from stage import wait_until

DEVICE = "VEXO Mixdesk R2"
OTHER = "Desk Microphone"
LATE = "Late Microphone"
PLAIN = "Plain Microphone"
MISSED = f"Input device not found: {DEVICE}"
REINITIALISED = "reinitialize PortAudio to update device list"
AMPLITUDE = 0.25
LEVEL_DB = 20 * numpy.log10(AMPLITUDE)
GONE_DB = LEVEL_DB - 60


def preset(**gains):
    """The stored text of an equaliser preset; gains in dB by band, as b5=6."""
    values = [0.0] * 12
    for band, gain in gains.items():
        values[int(band[1:])] = gain
    return json.dumps({"name": "x", "value": values, "img": ""})


class Microphones(SoundCase):
    def make_devices(self):
        super().make_devices()
        self.sound.add_microphone("mic", DEVICE)
        self.sound.add_microphone("mic2", OTHER)
        self.keep_applications_apart()

    def setUp(self):
        super().setUp()
        self.bridge = self.start_bridge()
        self.speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(self.speakers.stop)

    def wait_tone(self, frequency, level=LEVEL_DB, seconds=0.2):
        return self.wait_heard(self.speakers, lambda heard: abs(level_db(heard, frequency) - level) < 0.1,
                               f"{frequency} Hz at {level:.1f} dB", seconds)

    def speak(self, frequency, microphone="mic"):
        return self.sound.play(tone(frequency, 2, AMPLITUDE), f"{microphone}_in", microphone)

    def test_device_channel_is_heard_beside_an_application(self):
        self.speak(500)
        player = self.sound.play(tone(2000, 2, AMPLITUDE), APPS)
        self.assertTrue(self.bridge.call("AddInputDevice", DEVICE, 0))
        self.bridge.route(source(player.pid), source(0))
        self.wait_heard(self.speakers, lambda heard: all(abs(level_db(heard, frequency) - LEVEL_DB) < 0.1 for frequency in (500, 2000)),
                        "microphone and application")

    def test_microphone_that_comes_is_heard_instead_of_one_whose_name_only_holds_its_own(self):
        self.sound.add_microphone("house", f"{LATE} of the house")
        self.keep_applications_apart()
        self.speak(2000, "house")
        self.assertTrue(self.bridge.call("AddInputDevice", LATE, 0))
        self.bridge.route(source(0))
        self.wait_tone(2000)
        self.sound.add_microphone("late", LATE)
        self.keep_applications_apart()
        self.speak(500, "late")
        self.wait_heard(self.speakers, lambda heard: abs(level_db(heard, 500) - LEVEL_DB) < 0.1 and held_level_db(heard, 2000) < GONE_DB,
                        "the one of that name alone")

    def test_name_is_found_in_any_case(self):
        self.speak(500)
        self.assertTrue(self.bridge.call("AddInputDevice", DEVICE.upper(), 0))
        self.bridge.route(source(0))
        self.wait_tone(500)

    def test_two_microphones_are_two_sources(self):
        self.speak(500, "mic")
        self.speak(2000, "mic2")
        self.assertTrue(self.bridge.call("AddInputDevice", DEVICE, 0))
        self.assertTrue(self.bridge.call("AddInputDevice", OTHER, 1))
        self.bridge.route(source(0), source(1))
        self.wait_heard(self.speakers, lambda heard: all(abs(level_db(heard, frequency) - LEVEL_DB) < 0.1 for frequency in (500, 2000)),
                        "both microphones")
        self.bridge.route(source(0), source(1, muted1=True))
        self.wait_heard(self.speakers, lambda heard: abs(level_db(heard, 500) - LEVEL_DB) < 0.1 and held_level_db(heard, 2000) < GONE_DB,
                        "the first one alone")
        self.assertTrue(self.bridge.call("RemoveInputDevice", DEVICE))
        wait_until(lambda: [entry["name"] for entry in self.bridge.call("GetInputDevices")] == [OTHER], "its removal")

    def test_server_restart_brings_the_microphone_back(self):
        self.speak(500)
        self.assertTrue(self.bridge.call("AddInputDevice", DEVICE, 0))
        self.bridge.route(source(0))
        self.wait_tone(500)
        self.speakers.stop()
        self.sound.stop(kill=True)
        wait_until(lambda: MISSED in self.bridge.log, "the microphone to be missed")
        self.sound.start()
        self.speak(500)
        self.speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(self.speakers.stop)
        self.wait_tone(500)

    def recording_of(self, microphone):
        """The bridge's stream of a microphone, by its index in the server."""
        return [index for index, name in self.sound.recordings() if name == microphone]

    def test_microphone_that_comes_and_goes_disturbs_nobody(self):
        self.speak(500)
        self.assertTrue(self.bridge.call("AddInputDevice", DEVICE, 0))
        self.assertTrue(self.bridge.call("AddInputDevice", LATE, 1))
        self.bridge.route(source(0), source(1))
        wait_until(lambda: f"Input device not found: {LATE}" in self.bridge.log, "the later microphone to be missed")
        self.wait_tone(500)
        first = self.recording_of("mic")
        self.assertEqual(len(first), 1)
        self.sound.add_microphone("late", LATE)
        speaker = self.speak(2000, "late")
        self.wait_heard(self.speakers, lambda heard: all(abs(level_db(heard, frequency) - LEVEL_DB) < 0.1 for frequency in (500, 2000)),
                        "both microphones", seconds=0.5)
        self.assertEqual(len(self.recording_of("late")), 1)
        speaker.kill()
        missed = self.bridge.log.count(f"Input device not found: {LATE}")
        self.sound.remove_microphone("late")
        wait_until(lambda: self.bridge.log.count(f"Input device not found: {LATE}") > missed, "the microphone that went to be missed")
        self.wait_tone(500)
        self.sound.add_microphone("late", LATE)
        self.speak(2000, "late")
        self.wait_tone(2000)
        # The stream of the first one has been the same all the time.
        self.assertEqual(self.recording_of("mic"), first)
        # No input is missing any more, so another device causes nothing.
        initialised = self.bridge.log.count(REINITIALISED)
        self.sound.add_microphone("unwanted", "Unwanted Microphone")
        wait_until(lambda: any(device["name"] == "Unwanted Microphone" for device in self.bridge.call("GetDeviceList", 1)), "one more microphone")
        self.speakers.next(0.5)
        self.wait_tone(500)
        self.assertEqual(self.bridge.log.count(REINITIALISED), initialised)

    def test_microphone_is_shared_with_another_program(self):
        self.speak(500)
        other = self.sound.source_recorder("mic")
        self.addCleanup(other.stop)
        self.assertTrue(self.bridge.call("AddInputDevice", DEVICE, 0))
        self.bridge.route(source(0))
        for recorder in (self.speakers, other):
            self.wait_heard(recorder, lambda heard: abs(level_db(heard, 500) - LEVEL_DB) < 0.1, "the microphone")
        self.assertTrue(self.bridge.call("RemoveInputDevice", DEVICE))
        wait_until(lambda: len(self.recording_of("mic")) == 1, "the bridge to let go of it")
        self.wait_heard(other, lambda heard: abs(level_db(heard, 500) - LEVEL_DB) < 0.1, "the microphone, still")

    def test_microphone_that_no_sink_stands_behind(self):
        self.sound.add_plain_microphone("plain", PLAIN, tone(700, 2, AMPLITUDE))
        wait_until(lambda: any(entry["name"] == PLAIN for entry in self.bridge.call("getRunningApplications")), "it in the inventory")
        self.assertTrue(self.bridge.call("AddInputDevice", PLAIN, 2))
        self.bridge.route(source(2))
        self.wait_tone(700)

    def test_name_that_another_one_begins_with_is_that_microphones_own(self):
        self.sound.add_microphone("longer", f"{LATE} of the house")
        self.sound.add_microphone("late", LATE)
        self.speak(500, "longer")
        self.speak(2000, "late")
        wait_until(lambda: {LATE, f"{LATE} of the house"} <= {device["name"] for device in self.bridge.call("GetDeviceList", 1)}, "both microphones")
        self.assertTrue(self.bridge.call("AddInputDevice", LATE, 1))
        self.bridge.route(source(1))
        self.wait_heard(self.speakers, lambda heard: abs(level_db(heard, 2000) - LEVEL_DB) < 0.1 and held_level_db(heard, 500) < GONE_DB,
                        "the one that was asked for")

    def test_sinks_are_no_microphones(self):
        names = [device["name"] for device in self.bridge.call("GetDeviceList", 1)]
        self.assertFalse([name for name in names if name.startswith("Monitor of")], names)
        self.assertTrue(self.bridge.call("AddInputDevice", "Speakers", 1))
        wait_until(lambda: "Input device not found: Speakers" in self.bridge.log, "it to be missed")

    def test_equaliser_works_on_the_device_channel_alone(self):
        self.speak(1000, "mic")
        self.speak(400, "mic2")
        self.assertTrue(self.bridge.call("AddInputDevice", DEVICE, 0))
        self.assertTrue(self.bridge.call("AddInputDevice", OTHER, 1))
        self.bridge.route(source(0), source(1))
        self.wait_tone(1000)
        self.wait_tone(400)
        self.bridge.store(device_equalizer=True, device_equalizer_current=preset(b5=6.0))
        self.bridge.call("updateMonitorDevice")
        self.wait_tone(1000, LEVEL_DB + 6.0)
        self.wait_tone(400)
        self.bridge.store(device_equalizer=False)
        self.bridge.call("updateMonitorDevice")
        self.wait_tone(1000)

    def test_input_without_index_is_not_heard(self):
        self.speak(500)
        self.assertTrue(self.bridge.call("AddInputDevice", DEVICE))
        self.bridge.route(source(0), source(1))
        wait_until(lambda: "source-output" in self.sound.pactl("list", "short", "source-outputs") or
                   len(self.sound.pactl("list", "short", "source-outputs").splitlines()) > 1, "the input to be read")
        heard = self.speakers.next(0.5)
        self.assertFalse(numpy.any(heard))

    def test_input_devices_stand_first_in_the_inventory_without_our_own(self):
        player = self.sound.play(tone(2000, 2, AMPLITUDE), APPS, "Some Player")
        wait_until(lambda: any(entry["processIdentifier"] == str(player.pid) for entry in self.bridge.call("getRunningApplications")),
                   "the player in the inventory")
        entries = self.bridge.call("getRunningApplications")
        kinds = [bool(entry.get("isInput")) for entry in entries]
        self.assertEqual(kinds, sorted(kinds, reverse=True))
        names = [entry["name"] for entry in entries]
        self.assertIn(OTHER, names)
        self.assertNotIn(DEVICE, names)
        record = next(entry for entry in entries if entry["processIdentifier"] == str(player.pid))
        self.assertEqual(record["type"], "app")
        self.assertTrue(record["isActive"])
        self.assertTrue(record["bundleIdentifier"].startswith("file:///usr/bin/pa"), record)
        self.assertEqual(sum(entry["processIdentifier"] == str(player.pid) for entry in entries), 1)

    def test_device_list_tells_inputs_from_outputs(self):
        names = {kind: [device["name"] for device in self.bridge.call("GetDeviceList", kind)] for kind in (0, 1, 2)}
        self.assertIn(DEVICE, names[1])
        self.assertNotIn("Speakers", names[1])
        self.assertIn("Speakers", names[2])
        self.assertEqual(sorted(names[0]), sorted(names[1] + names[2]))

    def test_no_library_below_complains(self):
        wait_until(lambda: "Audio routing service started" in self.bridge.log, "the service")
        for word in ("ALSA", "alsa", "JACK", "jack", "Jack"):
            self.assertNotIn(word, self.bridge.log)

    def test_sound_comes_from_the_server_alone(self):
        # These would take a microphone from others, or ask a server that does not answer.
        unwanted = ("libasound", "libjack", "libportaudio", "libQt6Multimedia")
        self.assertTrue(self.bridge.call("AddInputDevice", DEVICE, 0))
        wait_until(lambda: self.recording_of("mic"), "the microphone")
        loaded = pathlib.Path(f"/proc/{self.bridge.pid}/maps").read_text()
        self.assertIn("libpulse.so", loaded)
        program = subprocess.run([BUILD / "app" / "VexoDeck"], env=dict(os.environ, LD_TRACE_LOADED_OBJECTS="1"), capture_output=True,
                                 check=True, text=True).stdout
        self.assertIn("libpulse.so", program)
        for library in unwanted:
            self.assertNotIn(library, loaded)
            self.assertNotIn(library, program)

    def test_rate_probe_finds_the_device(self):
        wait_until(lambda: "Audio routing service started" in self.bridge.log, "the service")
        self.assertTrue(self.bridge.call("SetDeviceSampleRate", DEVICE, 48000))
        self.assertFalse(self.bridge.call("SetDeviceSampleRate", "Nobody", 48000))


if __name__ == "__main__":
    main()
