"""The whole program for Windows under Wine, with the virtual mixer: what a user sees and does reaches the device."""

import os
import pathlib
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "tools" / "stage"), str(ROOT / "tests" / "system")]

from screens import BACK_BUTTON, CLOSE_BUTTON, CONNECTED, SETTINGS_BUTTON, START_BUTTON, WAITING_TITLE  # noqa: E402
from stage import wait_until  # noqa: E402
from system_case import BUILD, StageCase  # noqa: E402
from windows import WindowsStage  # noqa: E402

NATIVE_BUILD = pathlib.Path(os.environ["VEXO_NATIVE_BUILD"])
READ_ATTRIBUTE = 31


class Program(StageCase):
    @classmethod
    def setUpClass(cls):
        cls.stage = WindowsStage(BUILD, NATIVE_BUILD, size=(1300, 800))
        cls.addClassCleanup(cls.stage.__exit__, None, None, None)
        cls.stage.__enter__()

    def setUp(self):
        self.addCleanup(self._end_programs)
        super().setUp()

    def _end_programs(self):
        if any(program.process.poll() is None for program in self.stage.programs):
            self.stage.wine("taskkill", "/f", "/im", "VexoDeck.exe", check=False)
        for program in self.stage.programs:
            program.wait_exit()

    def close(self, program):
        """By the window's button; all that ends is said."""
        (button,) = self.stage.wait_screen((CLOSE_BUTTON, "button"), gone=[(BACK_BUTTON, "button")])
        self.stage.click_control(button)
        self.assertEqual(program.wait_exit(), 0)
        self.assertIn("应用程序即将退出，开始清理资源...", program.log)
        self.assertIn("资源清理完成", program.log)
        # The sound's threads end before the process does.
        self.assertIn("Audio routing service stopped", program.log)

    def test_a_gain_change_reaches_the_mixer_and_the_program_ends_well(self):
        program = self.start()
        self.stage.wait_text(WAITING_TITLE)
        self.stage.emulator("plug")
        _, _, button = self.stage.wait_screen(CONNECTED, ("VEXO Mixdesk R2", "label"), (START_BUTTON, "button"))
        self.stage.click_control(button)
        (button,) = self.stage.wait_screen((SETTINGS_BUTTON, "button"), gone=[(START_BUTTON, "button")])

        self.stage.click_control(button)
        _, slider = self.stage.wait_screen((BACK_BUTTON, "button"), ("增益", "slider"))
        self.stage.emulator("clear")
        before = self.stage.emulator("get mic_gain")["bytes"]
        x, y, width, height = slider["extents"]
        self.stage.xdotool("mousemove", x + width * 3 // 4, y + height // 2, "click", 1)
        self.stage.emulator("wait attribute mic_gain 20000")
        wait_until(lambda: self.stage.emulator("get mic_gain")["bytes"] != before, "another gain in the device")
        step = int(self.stage.emulator("get mic_gain")["bytes"], 16)
        # The click was at three quarters of 1 to 30.
        self.assertGreater(step, 18)
        self.assertLess(step, 27)

        self.stage.xdotool("key", "Escape")
        # The program waits for an unplugged mixer and uses it again once it is back.
        self.stage.emulator("unplug")
        self.stage.wait_text(WAITING_TITLE)
        self.stage.emulator("clear")
        self.stage.emulator("plug")
        self.stage.wait_screen(CONNECTED, ("VEXO Mixdesk R2", "label"))
        # It asks for the attributes again. It asks for name, serial number and version only after the link's peer timed out.
        self.stage.emulator(f"wait message {READ_ATTRIBUTE} 20000")
        self.close(program)
        self.assertEqual(self.stage.emulator("wait closed 10000")["ok"], True)
        # The registry keeps text under the product's name.
        self.assertEqual(self.stage.stored().get("auto_gain"), hex(step), self.stage.stored())

    def test_a_second_start_ends_with_1_and_leaves_the_first_alone(self):
        first = self.start()
        again = self.stage.start_program()
        self.assertEqual(again.wait_exit(), 1)
        self.assertIn("共享内存已存在，直接退出", again.log)
        self.assertEqual(len(self.stage.windows("Vexo Deck")), 1)
        self.assertIsNone(first.process.poll())
        # A killed program does not stop the next start.
        self.stage.wine("taskkill", "/f", "/im", "VexoDeck.exe")
        first.wait_exit()
        third = self.start()
        self.close(third)


if __name__ == "__main__":
    unittest.main()
