"""The device drawer under storms of reports and nonsense from the device: the user's hand wins, the controls stay in
use, the log stays clean. benchmarks/drag.py measures how long the window takes to answer meanwhile."""

import re
import unittest

import panel_table as table
from log_check import TYPED_LOG, warnings_of
from panel import Panel
from screens import CONNECTED, WAITING_TITLE
from scripted_tools import ScriptedTools
from stage import wait_until
from system_case import SystemCase

REPORTS = 6000
# Attributes that the screens show, one that they do not, and private messages.
EVERY_KIND = ("mute", "auto_gain_on", "listen_volume", "mic_listen_ratio", "anti_noise", "ai_jianzao", "other_light_off",
              "0x8002", "0x8003")
# A notification of message 34 in a report. (An answer with this number belongs to a subscription.)
ATTRIBUTE_MESSAGE = re.compile(r"5512[0-9A-F]{24}2200")


class Disturbed(SystemCase):
    plugged = True
    # Of the log, in their order.
    warnings = ()

    def setUp(self):
        super().setUp()
        self.panel = Panel(self.stage)
        # The button opens a page.
        tools = ScriptedTools(self.stage, "xdg-open")
        self.program = self.start(environment=TYPED_LOG | tools.environment)

    def tearDown(self):
        # A failed test may have left the mouse pressed. The program quits before the stage ends.
        self.stage.xdotool("mouseup", 1)
        if self.program.process.poll() is None:
            self.assertEqual(self.quit(self.program), 0)
        self.assertEqual(warnings_of(self.program.log), list(self.warnings))

    def wait_followed(self, attribute, value, role, name, shown):
        """Turns a knob of the device until the screen follows: the link may still lose reports after a storm."""

        def follows():
            self.panel.turn(attribute, value)
            try:
                wait_until(lambda: self.panel.shows({(role, name): shown}), "the screen", 1)
                return True
            except AssertionError:
                return False

        wait_until(follows, f"{name!r} following the device")


class Storm(Disturbed):
    models = ("m40",)

    def test_user_drags_through_a_storm_of_1000_reports_a_second(self):
        self.panel.open()
        # The link keeps the order: once this report shows, none of the connection's is on its way any more.
        self.panel.turn("mic_gain", 5)
        self.panel.wait_shown({(table.SLIDER, "增益"): 5})
        slider = self.panel.press_slider("增益")
        self.drag_through_a_storm(slider)

        # 500 ms after the release the device's reports count again.
        self.panel.release()
        self.stage.emulator("wait storm 20000")
        self.check_that_no_report_went_in_silence()
        self.wait_followed("mic_gain", 3, table.SLIDER, "增益", 3)

    def drag_through_a_storm(self, slider):
        self.panel.clear()
        self.told_before = self.told()
        self.stage.emulator(f"storm {REPORTS} 1000 mic_gain")
        # Two sweeps a second, 60 steps each, as a hand moves.
        for sweep in range(8):
            values = [step * 18 / 30 for step in range(31)]
            self.sweep(slider, values if sweep % 2 == 0 else list(reversed(values)))
        self.panel.move_slider(slider, 7)
        shown = []
        for _ in range(5):
            self.panel.wait_shown({(table.SLIDER, "增益"): 7})
            shown.append(self.stage.find("增益", "slider")["value"])
        self.assertEqual(shown, [7] * 5, "a report has moved the slider under the hand")
        self.stage.emulator("wait value mic_gain 7 3000")
        written = self.stage.emulator("writes")["writes"]
        self.assertEqual({write["attribute"] for write in written}, {"mic_gain"})

    def told(self):
        """How many attribute messages the device got rid of since clear(), how many reached the screens, and how many the
        link dropped with a line in the log. The link takes one frame a tick and drops what its queue has no room for."""
        log = self.program.log
        reports = self.stage.emulator("reports to-host")["reports"]
        came = sum(ATTRIBUTE_MESSAGE.match(report["bytes"]) is not None and "lost" not in report for report in reports)
        return came, log.count("收到麦克风增益消息:"), log.count("错误回调 id: 8 msgid: 34")

    def check_that_no_report_went_in_silence(self):
        def since():
            return [now - then for now, then in zip(self.told(), self.told_before)]

        try:
            wait_until(lambda: (now := since())[0] == now[1] + now[2], "the link to come to rest")
        except AssertionError:
            self.fail(f"came, reached the screens, dropped and told: {since()}")
        came, received, dropped = since()
        # While the program does not read, the wire holds 64 reports and loses the rest.
        self.assertGreater(came, REPORTS / 3)
        self.assertLessEqual(came, REPORTS)
        self.assertGreater(received, 50)
        self.assertGreater(dropped, 0)

    def sweep(self, slider, values):
        words = []
        for value in values:
            words += ["mousemove", *self.panel.place(slider, value), "sleep", "0.008"]
        self.stage.xdotool(*words)

    def test_storm_of_every_kind_of_report_leaves_all_controls_in_use(self):
        self.warnings = ("warning qml: The button comes too often",)
        self.panel.open()
        for attribute in EVERY_KIND:
            self.stage.emulator(f"storm 300 1000 {attribute}")
            self.stage.emulator("wait storm 20000")
        # What the storms left on its way has been read once a later report shows.
        self.wait_followed("mic_gain", 3, table.SLIDER, "增益", 3)
        self.wait_followed("mute", 0, table.SWITCH, "静音", False)
        self.panel.clear()
        self.panel.click(table.SWITCH, "静音")
        self.stage.emulator("wait attribute mute 3000")
        self.assertEqual(self.panel.writes(), [("mute", "01")])


class BadValues(Disturbed):
    models = ("m40",)

    def test_values_outside_of_their_ranges_show_at_the_end_of_the_range(self):
        self.panel.open()
        self.panel.turn("mic_gain", 200)
        self.panel.wait_shown({(table.SLIDER, "增益"): 18, ("description of", "增益"): "100%"})
        # 7 is not a valid strength: the noise reduction is on, but no strength is selected.
        self.panel.turn("ai_jianzao", 7)
        self.panel.wait_shown({(table.SWITCH, "AI降噪"): True, (table.TILE, "弱降噪"): False, (table.TILE, "强降噪"): False})
        self.panel.turn("mute", 2)
        self.panel.turn("ai_jianzao", 2)
        self.panel.wait_shown({(table.TILE, "强降噪"): True, (table.SWITCH, "静音"): False})
        self.panel.open_page(table.MONITOR_PAGE)
        self.panel.turn("listen_volume", 255)
        self.panel.wait_shown({(table.SLIDER, "监听音量"): 13, ("description of", "监听音量"): "100%"})

    def test_reports_that_say_nothing_or_too_much_change_nothing(self):
        self.panel.open()
        self.panel.turn("mic_gain", 4)
        self.panel.turn("mute", 1)
        self.panel.wait_shown({(table.SLIDER, "增益"): 4, (table.SWITCH, "静音"): True})
        for payload in ("", "5", "1", "24", "200 1", "20 1", "255 255 255", "8 1", "25 200", "hex:" + "FF" * 190):
            self.stage.emulator(f"send-attribute-notification {payload}")
        self.stage.emulator("send-frame 3 34 5 9")
        # A later report shows that these have been read.
        self.wait_followed("auto_gain_on", 1, table.SWITCH, "自动增益", True)
        self.panel.wait_shown({(table.SLIDER, "增益"): 4, (table.SWITCH, "静音"): True})


class HalfOfItsInformation(Disturbed):
    plugged = False

    def test_name_that_is_not_available_keeps_the_waiting_view(self):
        self.stage.emulator("identity name N/A")
        self.stage.emulator("plug")
        self.program.wait_log("版本回调，长度:")
        self.program.wait_log("SN回调，长度:")
        self.stage.wait_text(WAITING_TITLE)
        self.assertIsNone(self.stage.find(CONNECTED))

    def test_device_without_a_version_is_shown_and_used(self):
        self.stage.emulator("answer version off")
        self.stage.emulator("plug")
        self.panel.open()
        self.stage.wait_text("SN:R2-0001 N/A")
        self.panel.clear()
        self.panel.click(table.SWITCH, "静音")
        self.stage.emulator("wait attribute mute 3000")
        self.assertEqual(self.panel.writes(), [("mute", "01")])
        # The program reads the attributes only once it knows name, serial number and version.
        self.assertNotIn("设备连接成功 ===", self.program.log)


if __name__ == "__main__":
    unittest.main()
