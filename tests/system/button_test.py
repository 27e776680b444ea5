"""The button of the device, from the choice of its action on the general page to what then happens on the desktop: a program
starts, the user's opener gets an address, another window gets keys."""

import pathlib
import re
import subprocess
import sys
import time
import unittest

from log_check import TYPED_LOG, warnings_of
from panel import Panel
from screens import GENERAL_PAGE, MONITOR_PAGE
from scripted_tools import ScriptedTools
from stage import Stage, wait_until
from system_case import BUILD, SystemCase

sys.path.append(str(pathlib.Path(__file__).parent / "sound"))
from desktop_files import desktop_entry  # noqa: E402

HOME_PAGE = "https://www.vexo.example"
PRESS = "send-private 0x8003 1"
PROGRAM = "Button probe"
TOO_OFTEN = "warning qml: The button comes too often"
KEYS_WINDOW = "Event Tester"


class KeyLog:
    """A window that has the keyboard, and what it gets: the names of the keys that go down and up."""

    def __init__(self, stage):
        self.stage = stage
        self.path = stage.folder / "keys.log"
        with open(self.path, "wb") as log:
            # Each line at once.
            self.process = subprocess.Popen(["stdbuf", "-oL", "xev", "-event", "keyboard"], env=stage.env, stdout=log)
        stage.processes.append(self.process)
        window = wait_until(lambda: stage.windows(KEYS_WINDOW), "the window of the keys")[0]
        stage.xdotool("windowfocus", "--sync", window)

    def events(self):
        found = re.findall(r"^Key(Press|Release) event.*?\(keysym 0x[0-9a-f]+, (\w+)\)",
                           self.path.read_text(encoding="utf-8"), re.MULTILINE | re.DOTALL)
        return [("down" if kind == "Press" else "up", name) for kind, name in found]


class ButtonCase(SystemCase):
    plugged = True

    def make_stage(self):
        return Stage(BUILD, self.models, plugged=True, size=(1300, 1300))

    def setUp(self):
        super().setUp()
        self.panel = Panel(self.stage)
        self.tools = ScriptedTools(self.stage, "xdg-open")

    def begin(self):
        self.program = self.start(environment=TYPED_LOG | self.tools.environment)
        self.panel.fill_screen()
        self.panel.open()
        self.panel.open_page(GENERAL_PAGE)

    def end(self, warnings=()):
        self.assertEqual(warnings_of(self.program.log), list(warnings))
        self.stage.end_program(self.program)

    def choose(self, action):
        self.panel.click("radio button", action)
        self.panel.wait_shown({("radio button", action): True})


class Mixdesk(ButtonCase):
    def press(self):
        self.assertEqual(self.stage.emulator("press")["notified"], 1)

    def test_keys_that_were_recorded_reach_another_window(self):
        self.begin()
        self.choose("热键")
        self.panel.click("text", "热键")
        self.stage.xdotool("key", "ctrl+shift+a")
        self.program.wait_log("捕获到的快捷键: Ctrl+Shift+A")
        keys = KeyLog(self.stage)
        self.press()
        # The letter is a capital as long as Shift is down.
        expected = [("down", "Control_L"), ("down", "Shift_L"), ("down", "A"), ("up", "A"), ("up", "Control_L"), ("up", "Shift_L")]
        wait_until(lambda: len(keys.events()) >= len(expected), "the keys")
        self.assertEqual(keys.events(), expected)
        self.end()

    def test_an_address_is_opened_by_the_users_opener(self):
        self.begin()
        self.choose("URL")
        self.panel.click("text", "URL")
        # The first character leaves the scheme alone.
        self.stage.xdotool("type", "vvexo.example/a b?c=d")
        self.press()
        self.assertEqual(self.tools.wait_call("xdg-open")[0], "http://vexo.example/ab?c=d")
        self.end()

    def test_a_program_starts_in_its_folder(self):
        probe = self.tools.write("button-probe")
        entry = self.stage.folder / "data" / "applications" / "button-probe.desktop"
        entry.parent.mkdir(parents=True, exist_ok=True)
        entry.write_text(desktop_entry(PROGRAM, f"Exec={probe} one", f"Path={self.tools.happened}"), encoding="utf-8")
        self.begin()
        self.choose("App")
        self.panel.click("combo box", "App")
        self.stage.wait_at_rest(PROGRAM, "list item")
        self.panel.click("list item", PROGRAM)
        wait_until(lambda: self.panel.wait("combo box", "App")["description"] == PROGRAM, "the chosen program")
        self.press()
        self.assertEqual(self.tools.wait_call("button-probe"), ("one", str(self.tools.happened)))
        self.end()

    def test_without_a_choice_the_home_page_opens(self):
        self.begin()
        self.press()
        self.assertEqual(self.tools.wait_call("xdg-open")[0], HOME_PAGE)
        self.end()

    def test_screenshot_and_recording_are_the_desktops_own(self):
        self.tools.write("spectacle")
        self.begin()
        self.choose("系统截图")
        self.press()
        self.assertEqual(self.tools.wait_call("spectacle")[0], "--region")
        self.choose("系统录屏")
        self.press()
        self.assertEqual(self.tools.wait_call("spectacle")[0], "--record region")
        self.end()

    def test_of_a_storm_of_presses_few_act_and_the_window_answers(self):
        self.begin()
        began = time.monotonic()
        self.stage.emulator("storm 3000 1000 0x8003")
        self.panel.open_page(MONITOR_PAGE)
        self.panel.open_page(GENERAL_PAGE)
        self.stage.emulator("wait storm 20000")
        self.tools.wait_call("xdg-open")
        # Three at once, and one a second.
        self.assertLessEqual(self.tools.count_calls("xdg-open"), 4 + (time.monotonic() - began))
        wait_until(lambda: not self.ended_children(), "the ends of the openers")
        self.end([TOO_OFTEN])

    def ended_children(self):
        """The children of the program whose end it has not taken note of."""
        states = [path.read_text(encoding="utf-8").rsplit(")", 1)[1].split() for path in pathlib.Path("/proc").glob("[0-9]*/stat")]
        return [state for state in states if state[0] == "Z" and state[1] == str(self.program.pid)]

    def test_a_choice_outlives_the_program(self):
        self.begin()
        self.choose("URL")
        self.panel.click("text", "URL")
        self.stage.xdotool("type", "vvexo.example")
        self.end()
        self.begin()
        self.panel.wait_shown({("radio button", "URL"): True})
        self.press()
        self.assertEqual(self.tools.wait_call("xdg-open")[0], "http://vexo.example")
        self.end()


class Microphone:
    """A message of the button counts from every model, though only the mixer has one."""

    def test_the_message_of_a_button_acts(self):
        self.begin()
        self.assertEqual(self.stage.emulator(PRESS)["notified"], 1)
        self.assertEqual(self.tools.wait_call("xdg-open")[0], HOME_PAGE)
        self.end()


class VoxmicM40(Microphone, ButtonCase):
    models = ("m40",)


class VoxmicT40(Microphone, ButtonCase):
    models = ("t40",)


if __name__ == "__main__":
    unittest.main()
