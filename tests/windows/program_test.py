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


class Program(unittest.TestCase):
    def setUp(self):
        self.stage = WindowsStage(BUILD, NATIVE_BUILD, size=(1300, 800))
        self.addCleanup(self.stage.__exit__, None, None, None)
        self.stage.__enter__()
        self.addCleanup(self._picture_of_failure)

    def _picture_of_failure(self):
        outcome = self._outcome.result
        if any(case is self for case, _ in outcome.failures + outcome.errors):
            picture = self.stage.screenshot(BUILD / "failures" / f"{self.id()}.png")
            print(f"picture of the screen: {picture}", file=sys.stderr)

    def picture(self, name):
        if PICTURES:
            self.stage.steady_screenshot(pathlib.Path(PICTURES) / name)

    def start(self):
        program = self.stage.start_program()
        wait_until(lambda: self.stage.windows("Vexo Deck") or program.process.poll() is not None, "the main window", 60)
        self.assertIsNone(program.process.poll(), f"the program ended:\n{program.log}")
        return program

    def test_a_gain_change_reaches_the_mixer_and_the_program_ends_well(self):
        program = self.start()
        self.stage.wait_text("连接你的 VEXO 设备", limit=60)
        self.picture("windows-waiting.png")
        self.stage.emulator("plug")
        self.stage.wait_text("已连接", limit=60)
        self.stage.wait_text("VEXO Mixdesk R2", "label")
        self.picture("windows-welcome.png")
        self.stage.click(START_BUTTON, "button")
        self.stage.wait_no_text(START_BUTTON, "button", limit=60)
        self.picture("windows-main.png")

        self.stage.click("设备设置", "button")
        self.stage.wait_text("返回", "button", limit=60)
        slider = self.stage.wait_text("增益", "slider", limit=60)
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
        self.stage.wait_no_text("返回", "button", limit=60)
        self.stage.click("关闭", "button")
        self.assertEqual(program.wait_exit(60), 0)
        self.assertEqual(self.stage.emulator("wait closed 10000")["ok"], True)
        # The registry keeps text under the product's own name.
        self.assertEqual(self.stage.stored().get("auto_gain"), hex(step), self.stage.stored())

    def test_a_second_start_ends_with_1_and_leaves_the_first_alone(self):
        first = self.start()
        again = self.stage.start_program()
        self.assertEqual(again.wait_exit(60), 1)
        self.assertIsNone(first.process.poll())
        # A killed program leaves nothing behind that would stop the next.
        self.stage.wine("taskkill", "/f", "/im", "VexoDeck.exe")
        first.wait_exit(60)
        third = self.start()
        self.stage.click("关闭", "button")
        self.assertEqual(third.wait_exit(60), 0)


if __name__ == "__main__":
    unittest.main()
