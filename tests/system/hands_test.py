"""What a person's hands and assistive technology do to the controls of the running program, and what comes of it on the
screen and at the virtual device."""

import signal
import time
import unittest

from panel import Panel
from screens import HELP, MENU_BUTTON, MONITOR_PAGE, SETTINGS_BUTTON, open_drawer, open_main
from stage import wait_until
from system_case import SystemCase

DEVICE = "Mixdesk R2"
ADD_BUTTON = "添加应用"
AUTO_GAIN = "自动增益"
GAIN = "增益"
VOLUME = "监听音量"
# Longer than the pause between the clicks of a double click, in seconds.
PAST_DOUBLE_CLICK = 0.6
# Half of a fader's handle: the margin at both ends of its track.
FADER_HALF = 9


class Hands(SystemCase):
    plugged = True

    def setUp(self):
        super().setUp()
        self.panel = Panel(self.stage)
        self.program = self.start()

    def wait_value(self, attribute, value):
        self.stage.emulator(f"wait value {attribute} {value} 20000")

    def shown(self, name, role="slider"):
        return self.stage.wait_text(name, role)

    def place_on_fader(self, fader, value):
        left, top, width, height = fader["extents"]
        low, high = fader["range"]
        share = (value - low) / (high - low)
        return left + width // 2, top + FADER_HALF + round((1 - share) * (height - 2 * FADER_HALF))

    def click(self, place, count=1):
        self.stage.xdotool("mousemove", *place, "click", "--repeat", count, "--delay", 60, 1)


class Mixdesk(Hands):
    def test_two_quick_clicks_at_different_places_of_a_fader_are_two_clicks(self):
        open_main(self.stage)
        fader = self.stage.wait_at_rest(DEVICE, "slider")
        places = [self.place_on_fader(fader, value) for value in (25, 5)]
        self.stage.xdotool("mousemove", *places[0], "click", 1, "mousemove", *places[1], "click", 1)
        self.wait_value("mic_gain", 5)
        # Two on one place of the groove: the first has moved the handle there.
        self.click(self.place_on_fader(fader, 20), 2)
        self.wait_value("mic_gain", 20)
        # With the click before, the next one would be a double click already.
        time.sleep(PAST_DOUBLE_CLICK)
        self.click(self.place_on_fader(fader, 20), 2)
        self.wait_value("mic_gain", 15)

    def test_slow_clicks_that_a_busy_program_hears_late_are_no_double_click(self):
        open_main(self.stage)
        fader = self.stage.wait_at_rest(DEVICE, "slider")
        self.click(self.place_on_fader(fader, 20))
        self.wait_value("mic_gain", 20)
        self.program.process.send_signal(signal.SIGSTOP)
        for _ in range(2):
            time.sleep(PAST_DOUBLE_CLICK)
            self.click(self.place_on_fader(fader, 20))
        self.program.process.send_signal(signal.SIGCONT)
        # A step from where the clicks have left it.
        self.stage.xdotool("key", "Up")
        self.wait_value("mic_gain", 21)

    def test_a_value_set_by_assistive_technology_reaches_the_device(self):
        open_main(self.stage)
        self.stage.set_value(self.shown(DEVICE), 21)
        self.wait_value("mic_gain", 21)
        open_drawer(self.stage)
        self.panel.wait_shown({("slider", GAIN): 21})
        self.stage.set_value(self.shown(GAIN), 7.2)
        self.wait_value("mic_gain", 7)
        self.panel.wait_shown({("slider", GAIN): 7, ("slider", DEVICE): 7})
        self.panel.open_page(MONITOR_PAGE)
        self.stage.set_value(self.shown(VOLUME), 9)
        self.wait_value("listen_volume", 9)

    def test_assistive_technology_presses_what_a_mouse_presses(self):
        menu = self.shown(MENU_BUTTON, None)
        self.stage.perform(menu, "Press")
        self.assertIn("Press", self.stage.actions(self.shown(HELP, "menu item")))
        self.stage.perform(menu, "Press")
        self.stage.wait_no_text(HELP, "menu item")
        open_main(self.stage)
        self.stage.perform(self.shown(ADD_BUTTON, None), "Press")
        self.stage.wait_text("没有正在播放声音的应用")
        # Closes on a press elsewhere.
        self.stage.xdotool("mousemove", 700, 80, "click", 1)
        self.stage.wait_no_text("没有正在播放声音的应用")
        self.stage.perform(self.shown(SETTINGS_BUTTON, "button"), "Press")
        self.stage.wait_at_rest(MONITOR_PAGE, "page tab")
        self.stage.perform(self.shown(MONITOR_PAGE, "page tab"), "Press")
        self.stage.wait_text(VOLUME, "slider")
        self.assertIn("selected", self.shown(MONITOR_PAGE, "page tab")["states"])

    def test_escape_cancels_the_measurement(self):
        open_main(self.stage)
        self.stage.emulator("auto-gain never")
        for end in (lambda: self.stage.xdotool("key", "Escape"), lambda: self.panel.close_window(AUTO_GAIN)):
            self.stage.emulator("set auto_gain 1")
            self.panel.wait_window(AUTO_GAIN)
            wait_until(lambda: self.stage.emulator("state")["autoGain"]["running"], "the measurement to run")
            end()
            self.panel.wait_no_window(AUTO_GAIN)
            wait_until(lambda: not self.stage.emulator("state")["autoGain"]["running"], "the measurement to stop")

    def test_a_measurement_that_begins_while_the_window_of_the_last_one_closes_has_a_window(self):
        open_main(self.stage)
        self.stage.emulator("auto-gain never")
        self.stage.emulator("clear")
        self.stage.emulator("set auto_gain 1")
        self.panel.wait_window(AUTO_GAIN)
        self.panel.wait_writes([("auto_gain", "01")])
        self.stage.emulator("set auto_gain 0")
        self.stage.emulator("set auto_gain 1")
        # The new window asks for it, too, after the old one has gone.
        self.panel.wait_writes([("auto_gain", "01"), ("auto_gain", "01")])
        wait_until(lambda: len(self.stage.windows(AUTO_GAIN)) == 1, "the new window alone")
        self.stage.wait_text("取消", "button")


class Voxmic(Hands):
    models = ("t40",)

    def test_the_wheel_scrolls_past_a_slider_and_moves_it_only_after_a_pause(self):
        open_main(self.stage)
        open_drawer(self.stage)
        gain = self.stage.wait_at_rest(GAIN, "slider")
        left, top, width, height = gain["extents"]
        place = (left + width // 2, top + height // 2)
        self.stage.xdotool("mousemove", place[0], top - 30, "click", "--repeat", 3, "--delay", 40, 5)
        wait_until(lambda: self.shown(GAIN)["extents"][1] < top - height, "the slider to scroll away")
        # These pauses are what ends a turn.
        time.sleep(1)
        self.stage.xdotool("mousemove", *place, "click", "--repeat", 8, "--delay", 40, 4)
        wait_until(lambda: self.shown(GAIN)["extents"] == gain["extents"], "the slider under the pointer again")
        self.assertEqual(self.stage.wait_at_rest(GAIN, "slider")["value"], gain["value"])
        time.sleep(1)
        self.stage.xdotool("click", 5)
        self.wait_value("mic_gain", round(gain["value"]) - 1)
        self.assertEqual(self.stage.wait_at_rest(GAIN, "slider")["extents"], gain["extents"])

    def test_the_arrow_keys_choose_a_scene_and_so_does_assistive_technology(self):
        open_main(self.stage)
        open_drawer(self.stage)
        game, live = ("游戏", "直播")
        self.stage.wait_at_rest(game, "radio button")
        self.stage.perform(self.shown(game, "radio button"), "Press")
        self.panel.wait_shown({("radio button", game): True})
        self.wait_value("anti_noise", 1)
        self.stage.perform(self.shown(game, "radio button"), "SetFocus")
        self.stage.xdotool("key", "Left", "key", "Left")
        self.panel.wait_shown({("radio button", game): False, ("radio button", "原声"): True})
        self.wait_value("anti_noise", 0)
        self.stage.perform(self.shown(live, "radio button"), "Toggle")
        self.panel.wait_shown({("radio button", live): True, ("radio button", "原声"): False})
        self.wait_value("anti_noise", 1)


if __name__ == "__main__":
    unittest.main()
