"""The mixer against real sound: two programs on strips, their faders, mutes and solo, and the
device's equaliser, heard at the speakers."""

import math
import re
import shutil
import subprocess
import unittest

import numpy

from panel import Panel
from screens import SETTINGS_BUTTON, WAITING_TITLE, open_main
from sound import held_level_db, highest_level_db, level_db, tone
from sound_case import SoundCase
from stage import wait_until

ADD_BUTTON = "添加应用"
APPS = "apps"
SPEAKERS = "spk"
TONES = {"music": 1000, "game": 3000}
DEVICE = "Mixdesk R2"
AMPLITUDE = 0.25
LEVEL_DB = 20 * math.log10(AMPLITUDE)
GONE_DB = LEVEL_DB - 60
DEFAULT_VOLUME = 0.3
# The meters show 1.5 times (0.7 of a tone's root mean square and 0.3 of its peak).
SHOWN_LEVEL = 1.5 * (0.7 / math.sqrt(2) + 0.3) * AMPLITUDE
EQUALIZER = "均衡器"
HIGHEST_GAIN_DB = 6


class Mixer(SoundCase):
    plugged = True

    def setUp(self):
        super().setUp()
        self.sound.add_sink(APPS, "Applications", hardware=False)
        self.sound.add_sink(SPEAKERS, "Speakers")
        self.players = {name: self.play(name, frequency) for name, frequency in TONES.items()}
        self.speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(lambda: self.speakers.stop())

    def play(self, name, frequency):
        """A program of its own name that plays a tone; its process."""
        executable = self.stage.folder / name
        shutil.copy(shutil.which("pacat"), executable)
        path = self.stage.folder / f"{name}.raw"
        path.write_bytes(numpy.asarray(tone(frequency, 2, AMPLITUDE), dtype=numpy.float32).tobytes())
        feeder = subprocess.Popen(["sh", "-c", f'while cat "{path}"; do :; done'], stdout=subprocess.PIPE,
                                  stderr=subprocess.DEVNULL)
        self.addCleanup(feeder.wait)
        self.addCleanup(feeder.kill)
        player = self.sound.client([executable, "--playback", "--raw", "--format=float32le", "--rate=48000",
                                    "--channels=2", f"--device={APPS}", f"--client-name={name}",
                                    f"--property=application.name={name}", "--latency-msec=100"], stdin=feeder.stdout)
        feeder.stdout.close()
        wait_until(lambda: self.sound.playback_of(player.pid) or player.poll() is not None, f"{name} to play")
        self.assertIsNone(player.poll())
        return player

    # ---- what a user does

    def open_mixer(self):
        program = self.start()
        open_main(self.stage)
        self.stage.wait_text("直播")
        return program

    def add(self, name):
        self.stage.click(ADD_BUTTON)
        self.stage.click(name, "list item")
        self.stage.wait_no_text(name, "list item")
        self.stage.wait_text(name, "slider")

    def control(self, name, strip):
        """A control of a strip, which names it in its description."""
        def found():
            return next((control for control in self.stage.controls()
                         if control["name"] == name and strip in (control["description"], control["name"])
                         and "showing" in control["states"]), None)
        wait_until(found, f"{name} of {strip}")
        return found()

    def press(self, name, strip):
        left, top, width, height = self.control(name, strip)["extents"]
        self.stage.xdotool("mousemove", left + width // 2, top + height // 2, "click", 1)

    def volume(self, strip):
        """The shown position of a strip's fader, 0 to 1."""
        text = next(control["description"] for control in self.stage.controls()
                    if control["role"] == "slider" and control["name"] == strip)
        return int(re.fullmatch(r"(\d+)%", text).group(1)) / 100

    def drag(self, strip, share):
        """Takes the fader at its handle and lets it go at a share of its way."""
        fader = next(control for control in self.stage.controls()
                     if control["role"] == "slider" and control["name"] == strip)
        left, top, width, height = fader["extents"]
        x = left + width // 2
        begin = self.volume(strip)

        def place(value):
            return top + 9 + round((1 - value) * (height - 18))

        self.stage.xdotool("mousemove", x, place(begin), "mousedown", 1)
        for step in range(1, 11):
            self.stage.xdotool("mousemove", x, place(begin + (share - begin) * step / 10))
        self.stage.xdotool("mouseup", 1)

    def meter(self, strip):
        """What the left meter of a strip shows, 0 to 1."""
        for control in self.stage.controls():
            told = re.fullmatch(re.escape(strip) + r" (\d+)%", control["description"])
            if control["name"] == "L" and told:
                return int(told[1]) / 100
        raise AssertionError(f"no meter of {strip}")

    def wait_meter(self, strip, volume):
        """Waits for the tone on a meter; between two reports of an unchanged level it may fall to 0."""
        wait_until(lambda: abs(self.meter(strip) - SHOWN_LEVEL * volume) < 0.015, f"the tone on the meter of {strip}")

    def wait_still_meter(self, strip):
        wait_until(lambda: not any(self.meter(strip) for _ in range(8)), f"the meter of {strip} at rest")

    def place_on_curve(self, share):
        """Where the equaliser's chart has 1 kHz, from its top edge (0) to its bottom one (1); the curve is drawn
        within these margins, whose ends stand for more than the highest gain and less than the lowest."""
        left, top, width, height = self.band()["extents"]
        return left + width // 2, top + 20 + round((height - 40) * share)

    def band(self):
        return next(control for control in self.stage.controls()
                    if (control["role"], control["name"]) == ("slider", "1kHz"))

    def press_curve(self, share):
        self.stage.xdotool("mousemove", *self.place_on_curve(share), "mousedown", 1)

    def wait_gain(self, gain):
        wait_until(lambda: self.band()["description"] == gain, f"1 kHz at {gain}")

    # ---- what is heard

    def wait_level(self, name, level, what):
        self.wait_tone(TONES[name], level, what)

    def wait_tone(self, frequency, level, what, seconds=0.2):
        stretches = self.speakers.stretches(seconds)
        self.wait_heard(lambda: level_db(next(stretches), frequency), lambda heard: abs(heard - level) < 0.1, what)

    def wait_heard(self, measure, condition, what):
        heard = []

        def fulfilled():
            heard.append(measure())
            return condition(heard[-1])

        try:
            wait_until(fulfilled, what)
        except AssertionError as error:
            raise AssertionError(f"{what}: heard at {heard[-1:]} dB") from error

    def wait_volume(self, name, volume):
        self.wait_level(name, LEVEL_DB + 20 * math.log10(volume), f"{name} at {volume:.0%}")

    def wait_live(self, name, volume, live):
        self.wait_level(name, LEVEL_DB + 20 * math.log10(volume * live), f"{name} at {volume:.0%} in the mix at {live:.0%}")

    def wait_gone(self, name):
        # Longer than a dropout of a busy machine.
        stretches = self.speakers.stretches(1.0)
        self.wait_heard(lambda: held_level_db(next(stretches), TONES[name]), lambda heard: heard < GONE_DB, f"{name} gone")

    # ---- tests

    def test_two_programs_are_mixed_muted_soloed_and_come_back(self):
        program = self.open_mixer()
        self.stage.steady_screenshot(self.stage.folder / "mixer-empty.png")
        self.add("music")
        self.add("game")
        # A new strip is heard once the user has touched any control.
        untouched = self.speakers.next(1.0)
        for name, frequency in TONES.items():
            self.assertLess(highest_level_db(untouched, frequency), GONE_DB, f"{name}, which nobody has touched")
        self.press("直播静音", "直播")
        for name in TONES:
            self.wait_volume(name, DEFAULT_VOLUME)
            self.wait_meter(name, DEFAULT_VOLUME)

        for share in (0.8, 0.1, 0.5):
            self.drag("music", share)
            shown = self.volume("music")
            self.assertAlmostEqual(shown, share, delta=0.02)
            self.wait_volume("music", shown)
            self.wait_meter("music", shown)
        self.wait_volume("game", DEFAULT_VOLUME)

        self.press("监听静音", "game")
        self.wait_gone("game")
        self.press("只听", "game")
        # Solo overrides mutes; the volume still applies.
        self.wait_volume("game", DEFAULT_VOLUME)
        self.wait_gone("music")
        self.check_live_mix()

        self.press("只听", "game")
        self.press("删除", "game")
        self.stage.wait_no_text("game", "slider")
        # Solo plays the monitor mix again.
        self.wait_volume("music", self.volume("music"))
        self.wait_gone("game")

        self.assertEqual(self.quit(program), 0)
        self.wait_gone("music")
        self.open_mixer()
        self.wait_volume("music", 0.5)
        self.stage.wait_no_text("game", "slider")
        self.wait_meter("music", 0.5)
        self.players["music"].kill()
        self.wait_gone("music")
        self.wait_still_meter("music")

    def check_live_mix(self):
        """The live mix alone: muted as a whole, at places of its fader, and with one program muted."""
        music = self.volume("music")
        self.press("只听", "直播")
        for name in TONES:
            self.wait_gone(name)
        self.press("直播静音", "直播")
        self.wait_live("music", music, DEFAULT_VOLUME)
        for share in (0.9, 0.4):
            self.drag("直播", share)
            live = self.volume("直播")
            self.assertAlmostEqual(live, share, delta=0.02)
            self.wait_live("music", music, live)
            # Its mute on the monitor mix has no effect here.
            self.wait_live("game", DEFAULT_VOLUME, live)
        self.press("直播静音", "music")
        self.wait_gone("music")
        self.wait_live("game", DEFAULT_VOLUME, live)

    def test_an_application_that_comes_back_is_heard_and_metered_as_soon_as_it_is_picked_again(self):
        self.open_mixer()
        self.add("music")
        self.press("直播静音", "直播")
        self.wait_volume("music", DEFAULT_VOLUME)
        self.players["music"].kill()
        self.wait_gone("music")
        self.wait_still_meter("music")
        self.players["music"] = self.play("music", TONES["music"])
        self.swap("music", "music")
        self.wait_volume("music", DEFAULT_VOLUME)
        self.wait_meter("music", DEFAULT_VOLUME)
        # Another application on the same strip, with the meter of its own.
        self.swap("music", "game")
        self.wait_gone("music")
        self.wait_volume("game", DEFAULT_VOLUME)
        self.wait_meter("game", DEFAULT_VOLUME)

    def swap(self, old, new):
        """Chooses another application in a strip's list box, which is there while the strip's own runs."""
        self.stage.perform(self.stage.wait_text(old, "combo box"), "Press")
        row = self.stage.wait_text(new, "list item")
        self.stage.perform(row, "Press")
        self.stage.wait_no_text(new, "list item")

    def test_microphones_are_heard_each_as_itself_after_one_before_them_has_gone(self):
        microphones = {"Alpha Mic": 500, "Beta Mic": 5000, "Gamma Mic": 7000}
        for name, frequency in microphones.items():
            source = name.split()[0].lower()
            self.sound.add_microphone(source, name)
            self.sound.set_default_sink(APPS)
            self.sound.play(tone(frequency, 2, AMPLITUDE), f"{source}_in", source)
        # The server moves an existing recorder to a new source.
        self.speakers.stop()
        self.speakers = self.sound.recorder(SPEAKERS)
        self.open_mixer()
        for name in ("Alpha Mic", "Beta Mic"):
            self.add(name)
        self.press("删除", "Alpha Mic")
        self.stage.wait_no_text("Alpha Mic", "slider")
        self.add("Gamma Mic")
        self.press("监听静音", "Gamma Mic")
        self.wait_microphone(5000)
        self.wait_tone_gone(7000)
        self.press("监听静音", "Gamma Mic")
        self.wait_microphone(7000)
        self.wait_microphone(5000)
        # The strip before it goes; the device comes back, and with it all strips.
        self.press("删除", "Beta Mic")
        self.stage.wait_no_text("Beta Mic", "slider")
        self.stage.emulator("unplug")
        self.stage.wait_text(WAITING_TITLE)
        self.stage.emulator("plug")
        open_main(self.stage)
        self.stage.wait_text("Gamma Mic", "slider")
        self.wait_microphone(7000)
        self.wait_tone_gone(5000)

    def wait_microphone(self, frequency):
        self.wait_tone(frequency, LEVEL_DB + 20 * math.log10(DEFAULT_VOLUME), f"the microphone of {frequency} Hz")

    def wait_tone_gone(self, frequency):
        stretches = self.speakers.stretches(1.0)
        self.wait_heard(lambda: held_level_db(next(stretches), frequency), lambda heard: heard < GONE_DB, f"{frequency} Hz gone")

    def test_the_virtual_microphone_is_heard_through_a_curve_of_the_users_own(self):
        frequency = 1000
        microphone = self.sound.add_virtual_microphone("tone", str(frequency))
        self.addCleanup(microphone.stdout.close)
        # The server moves an existing recorder to the new source.
        self.speakers.stop()
        self.speakers = self.sound.recorder(SPEAKERS)
        self.open_mixer()
        self.press("只听", DEVICE)
        # The engine plays the device at gain 1; its fader sets the gain of the hardware.
        self.wait_filter(frequency, 0)
        self.press("只听", "监听")
        self.press("监听静音", "监听")
        self.wait_tone(frequency, -200, "the muted monitor mix")
        self.press("只听", DEVICE)

        self.press(SETTINGS_BUTTON, DEVICE)
        panel = Panel(self.stage)
        self.stage.click_control(self.stage.wait_at_rest(EQUALIZER, "button"))
        panel.wait_window(EQUALIZER)
        self.stage.click(EQUALIZER, "check box")
        # The row of presets is longer than the window.
        self.stage.click_control(self.stage.wait_at_rest("原声", "radio button"))
        self.stage.xdotool("click", "--repeat", 9, 5)
        self.stage.click_control(self.stage.wait_at_rest("添加均衡器预设", "button"))
        self.stage.click_control(self.stage.wait_at_rest("自定义 1", "radio button"))
        self.wait_filter(frequency, 0)

        self.press_curve(0)
        self.wait_filter(frequency, HIGHEST_GAIN_DB)
        # The filter follows the press and not the drag.
        self.stage.xdotool("mousemove", *self.place_on_curve(0.5), "mousemove", *self.place_on_curve(1))
        self.wait_gain("-6dB")
        self.stage.xdotool("mouseup", 1)
        # Longer than what may still be on its way from before the drag.
        self.wait_tone(frequency, LEVEL_DB + HIGHEST_GAIN_DB, "the microphone as at the press", seconds=0.5)
        self.press_curve(1)
        self.wait_filter(frequency, -HIGHEST_GAIN_DB)
        self.stage.xdotool("mouseup", 1)

    def wait_filter(self, frequency, gain):
        self.wait_tone(frequency, LEVEL_DB + gain, f"the microphone at {gain:+} dB")


if __name__ == "__main__":
    unittest.main()
