"""The whole program for Windows under Wine, with the virtual mixer: what a user sees and does reaches the device."""

import os
import pathlib
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools" / "stage"))

from stage import wait_until  # noqa: E402
from windows import WindowsStage  # noqa: E402

BUILD = pathlib.Path(os.environ["VEXO_BUILD"])
NATIVE_BUILD = pathlib.Path(os.environ["VEXO_NATIVE_BUILD"])
# A folder for pictures that the documentation shows, if wanted.
PICTURES = os.environ.get("VEXO_PICTURES")

START_BUTTON = "开启高清音质之旅"
READ_ATTRIBUTE = 31


class Program(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.stage = WindowsStage(BUILD, NATIVE_BUILD, size=(1300, 800))
        cls.addClassCleanup(cls.stage.__exit__, None, None, None)
        cls.stage.__enter__()

    def setUp(self):
        self.addCleanup(self._end_programs)
        self.addCleanup(self._picture_of_failure)

    def _end_programs(self):
        if any(program.process.poll() is None for program in self.stage.programs):
            self.stage.wine("taskkill", "/f", "/im", "VexoDeck.exe", check=False)
        for program in self.stage.programs:
            program.wait_exit()

    def _picture_of_failure(self):
        outcome = self._outcome.result
        if any(case is self for case, _ in outcome.failures + outcome.errors):
            picture = self.stage.screenshot(BUILD / "failures" / f"{self.id()}.png")
            print(f"picture of the screen: {picture}", file=sys.stderr)
            for program in self.stage.programs:
                print(f"the program's log:\n{program.log}", file=sys.stderr)
            print(f"the device: {self.stage.emulator('state')}", file=sys.stderr)
            print("its last reports:", *self.stage.emulator("reports")["reports"][-40:], sep="\n", file=sys.stderr)

    def picture(self, name):
        if PICTURES:
            self.stage.steady_screenshot(pathlib.Path(PICTURES) / name)

    def start(self):
        program = self.stage.start_program()
        wait_until(lambda: self.stage.windows("Vexo Deck") or program.process.poll() is not None, "the main window")
        self.assertIsNone(program.process.poll(), f"the program ended:\n{program.log}")
        return program

    def close(self, program):
        """By the window's button; all that ends is said."""
        (button,) = self.stage.wait_screen(("关闭", "button"), gone=[("返回", "button")])
        self.stage.click_control(button)
        self.assertEqual(program.wait_exit(), 0)
        self.assertIn("应用程序即将退出，开始清理资源...", program.log)
        self.assertIn("资源清理完成", program.log)
        # The sound's threads end before the process does.
        self.assertIn("Audio routing service stopped", program.log)

    def test_a_gain_change_reaches_the_mixer_and_the_program_ends_well(self):
        program = self.start()
        self.stage.wait_text("连接你的 VEXO 设备")
        self.picture("windows-waiting.png")
        self.stage.emulator("plug")
        _, _, button = self.stage.wait_screen("已连接", ("VEXO Mixdesk R2", "label"), (START_BUTTON, "button"))
        self.picture("windows-welcome.png")
        self.stage.click_control(button)
        (button,) = self.stage.wait_screen(("设备设置", "button"), gone=[(START_BUTTON, "button")])
        self.picture("windows-main.png")

        self.stage.click_control(button)
        _, slider = self.stage.wait_screen(("返回", "button"), ("增益", "slider"))
        self.picture("windows-microphone.png")
        self.stage.emulator("clear")
        before = self.stage.emulator("get mic_gain")["bytes"]
        x, y, width, height = slider["extents"]
        self.stage.xdotool("mousemove", x + width * 3 // 4, y + height // 2, "click", 1)
        self.stage.emulator("wait attribute mic_gain 20000")
        wait_until(lambda: self.stage.emulator("get mic_gain")["bytes"] != before, "another gain in the device")
        step = int(self.stage.emulator("get mic_gain")["bytes"], 16)
        # Three quarters of 1 to 30.
        self.assertGreater(step, 18)
        self.assertLess(step, 27)
        self.picture("windows-gain.png")

        self.stage.xdotool("key", "Escape")
        # Without the mixer the program waits for it, and takes it when it is back.
        self.stage.emulator("unplug")
        self.stage.wait_text("连接你的 VEXO 设备")
        self.stage.emulator("clear")
        self.stage.emulator("plug")
        self.stage.wait_screen("已连接", ("VEXO Mixdesk R2", "label"))
        # It asks for the attributes again; for the name and the rest only after the link's peer has timed out.
        self.stage.emulator(f"wait message {READ_ATTRIBUTE} 20000")
        self.close(program)
        self.assertEqual(self.stage.emulator("wait closed 10000")["ok"], True)
        # The registry keeps text under the product's own name.
        self.assertEqual(self.stage.stored().get("auto_gain"), hex(step), self.stage.stored())

    def test_a_second_start_ends_with_1_and_leaves_the_first_alone(self):
        first = self.start()
        again = self.stage.start_program()
        self.assertEqual(again.wait_exit(), 1)
        self.assertIn("共享内存已存在，直接退出", again.log)
        self.assertEqual(len(self.stage.windows("Vexo Deck")), 1)
        self.assertIsNone(first.process.poll())
        # A killed program leaves nothing behind that would stop the next.
        self.stage.wine("taskkill", "/f", "/im", "VexoDeck.exe")
        first.wait_exit()
        third = self.start()
        self.close(third)


if __name__ == "__main__":
    unittest.main()
