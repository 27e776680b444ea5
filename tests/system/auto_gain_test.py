"""The automatic gain measurement against the virtual Mixdesk R2."""

import re
import unittest

from screens import open_drawer, open_main
from stage import wait_until
from system_case import SystemCase

TITLE = "自动增益"
RESULT = "设置成功\n增益为 73%"
GAIN_STEP = 22


class AutoGain(SystemCase):
    plugged = True

    def open_main_layout(self):
        program = self.start()
        open_main(self.stage)
        return program

    def wait_window(self):
        wait_until(lambda: self.stage.windows(TITLE), "the measurement's window")

    def wait_no_window(self):
        wait_until(lambda: not self.stage.windows(TITLE), "the window to close")

    def wait_moving_meter(self):
        """Waits until the window's meter has shown two levels."""
        seen = set()

        def moves():
            seen.update(control["description"] for control in self.stage.controls() if control["name"] == "L"
                        and re.fullmatch(r"\d+%", control["description"]))
            return len(seen - {"0%"}) > 1
        wait_until(moves, "the meter to move")

    def writes(self):
        """What the program wrote to the attribute since the last clear."""
        return [write["bytes"] for write in self.stage.emulator("writes auto_gain")["writes"]]

    def test_the_device_starts_sets_a_gain_and_ends(self):
        program = self.open_main_layout()
        self.stage.emulator(f"auto-gain 2500 100 {GAIN_STEP}")
        self.stage.emulator("clear")
        self.stage.emulator("set auto_gain 1")
        self.wait_window()
        # The window asks for the measurement too, so the device starts it once more.
        self.stage.emulator("wait attribute auto_gain")
        self.assertEqual(self.writes(), ["01"])
        self.wait_moving_meter()
        self.stage.emulator(f"wait value mic_gain {GAIN_STEP} 10000")
        self.stage.wait_text(RESULT)
        self.stage.click("确定", "button")
        self.wait_no_window()
        self.assertEqual(self.writes(), ["01"])
        self.assertEqual(self.quit(program), 0)

    def test_a_device_that_reports_the_end_closes_the_window(self):
        self.open_main_layout()
        self.stage.emulator(f"auto-gain 1500 100 {GAIN_STEP} end")
        self.stage.emulator("clear")
        self.stage.emulator("set auto_gain 1")
        self.wait_window()
        self.wait_no_window()
        # The program did not stop the measurement, and the device's strip shows the gain.
        self.assertEqual(self.writes(), ["01"])
        wait_until(lambda: self.stage.find("Mixdesk R2", "slider")["description"] == "73%", "the gain on the strip")

    def test_a_device_that_never_answers_is_stopped_by_cancel(self):
        self.open_main_layout()
        self.stage.emulator("auto-gain never")
        open_drawer(self.stage)
        self.stage.wait_text("开始检测", "button")
        self.stage.emulator("clear")
        self.stage.click("开始检测", "button")
        self.wait_window()
        self.stage.emulator("wait attribute auto_gain")
        wait_until(lambda: self.stage.emulator("state")["autoGain"]["running"], "the measurement to run")
        self.stage.click("取消", "button")
        self.wait_no_window()
        wait_until(lambda: self.writes() == ["01", "00"], "the stop")
        self.assertFalse(self.stage.emulator("state")["autoGain"]["running"])

    def test_a_lost_device_takes_the_window_with_it(self):
        self.open_main_layout()
        self.stage.emulator("set auto_gain 1")
        self.wait_window()
        self.stage.emulator("unplug")
        self.wait_no_window()


if __name__ == "__main__":
    unittest.main()
