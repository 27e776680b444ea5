"""The windows of the menu and that of the factory reset: how a user reaches them, and what they do to the program, the
settings and the virtual device."""

import json
import os
import unittest

from log_check import TYPED_LOG, warnings_of
from panel import Panel
from screens import (HELP, MENU_BUTTON, SETTINGS, SETTINGS_BUTTON, START_BUTTON, SUPPORT, WAITING_TITLE,
                     choose_in_menu)
from stage import wait_until
from system_case import ROOT, SystemCase

RESET = "恢复出厂"
CONSENT = "与VEXO分享使用数据"
PRIVACY = "隐私政策"
LANGUAGE = "语言"
CHECK_FAILED = "新版本下载失败，请检查网络环境或稍后重试"
# More than the welcome page has.
TAB_STOPS = 12
OPERATOR = json.loads((ROOT / "app" / "operator.json").read_text(encoding="utf-8"))

# Shows the window of the reset by itself as soon as a device is there.
RESET_DOCUMENT = """
    import QtQuick
    import MediaControls
    Window {
        id: root
        visible: true
        title: "Vexo Deck"
        Connections {
            target: HIDDeviceMgr
            function onDeviceReadyChanged() {
                if (!HIDDeviceMgr.deviceReady)
                    return;
                const component = Qt.createComponent("qrc:/qt/qml/VexoDeck/qml/ResetWindow.qml");
                component.createObject(root).show();
            }
        }
    }"""


class MenuWindows(SystemCase):
    def setUp(self):
        super().setUp()
        self.panel = Panel(self.stage)
        self.opened = self.stage.folder / "opened"
        opener = self.stage.folder / "bin" / "xdg-open"
        opener.parent.mkdir()
        # The note is there as a whole or not at all. It says whether the opener got a variable that is the program's own.
        opener.write_text(f'#!/bin/sh\necho "$1 ${{QV4_GC_TIMELIMIT-clean}}" > {self.opened}.new\nmv {self.opened}.new {self.opened}\n')
        opener.chmod(0o755)
        self.environment = TYPED_LOG | {"PATH": f"{opener.parent}:{os.environ['PATH']}"}

    def open_program(self):
        program = self.start(environment=self.environment)
        self.stage.wait_text(WAITING_TITLE)
        return program

    def end(self, program):
        self.assertEqual(self.quit(program), 0)
        self.assertEqual(warnings_of(program.log), [])

    def wait_opened(self, address):
        wait_until(self.opened.exists, "the browser")
        self.assertEqual(self.opened.read_text().split(), [address, "clean"])
        self.opened.unlink()

    def choose_by_mouse(self, row):
        choose_in_menu(self.stage, row)

    def choose_by_keyboard(self, row):
        # Nobody gives the keyboard back to the main window here: there is no window manager.
        left, top, _, height = self.stage.wait_text("Vexo Deck", "frame")["extents"]
        self.stage.xdotool("mousemove", left + 20, top + height - 20, "click", 1)
        for _ in range(TAB_STOPS):
            self.stage.xdotool("key", "Tab")
            if "focused" in self.stage.wait_text(MENU_BUTTON)["states"]:
                break
        self.stage.xdotool("key", "Return")
        self.stage.wait_text(row, "menu item")
        wait_until(lambda: "focused" in self.stage.wait_text(HELP, "menu item")["states"], "the focus on the first row")
        self.stage.xdotool("key", *["Down"] * [HELP, SUPPORT, SETTINGS].index(row), "Return")
        self.stage.wait_no_text(row, "menu item")

    def choose_by_assistive_technology(self, row):
        self.stage.perform(self.stage.wait_text(MENU_BUTTON), "Press")
        self.stage.perform(self.stage.wait_text(row, "menu item"), "Press")
        self.stage.wait_no_text(row, "menu item")

    def test_each_window_opens_by_mouse_keyboard_and_assistive_technology_and_closes(self):
        program = self.open_program()
        sizes = {SUPPORT: [540, 430], SETTINGS: [600, 450]}
        for choose in (self.choose_by_mouse, self.choose_by_keyboard, self.choose_by_assistive_technology):
            for title, size in sizes.items():
                with self.subTest(choose.__name__, title=title):
                    choose(title)
                    self.assertEqual(self.panel.wait_window(title)[2:], size)
                    self.panel.close_window(title, key="Escape" if title == SUPPORT else None)
        self.end(program)

    def test_help_privacy_and_chat_open_in_the_users_browser(self):
        program = self.open_program()
        for choose in (self.choose_by_mouse, self.choose_by_keyboard, self.choose_by_assistive_technology):
            choose(HELP)
            self.wait_opened(OPERATOR["chineseSite"] + "/supportDetail?type=2")
        self.choose_by_mouse(SETTINGS)
        self.panel.wait_window(SETTINGS)
        self.stage.click(PRIVACY, "link")
        self.wait_opened(f"http://{OPERATOR['serviceHost']}:8081/privacy-policy.html")
        self.panel.close_window(SETTINGS, key="Escape")
        self.end(program)

    def test_the_main_window_waits_behind_an_open_one(self):
        program = self.open_program()
        self.stage.emulator("plug")
        start = self.stage.wait_at_rest(START_BUTTON, "button")
        self.choose_by_mouse(SETTINGS)
        left, top, width, height = self.panel.wait_window(SETTINGS)
        x, y, *_ = start["extents"]
        place = (x + 4, y + 4)
        if left <= place[0] < left + width and top <= place[1] < top + height:
            (window,) = self.stage.windows(SETTINGS)
            self.stage.xdotool("windowmove", window, 0, 0)
            wait_until(lambda: self.stage.window_extents(window)[:2] == [0, 0], "the window in the corner")
        self.stage.xdotool("mousemove", *place, "click", 1)
        self.panel.close_window(SETTINGS, key="Escape")
        self.stage.wait_text(START_BUTTON, "button")
        self.assertIsNone(self.stage.find(SETTINGS_BUTTON, "button"), "the click has gone nowhere")
        self.end(program)

    def test_what_the_settings_window_is_told_holds_at_the_next_start(self):
        program = self.open_program()
        self.choose_by_mouse(SETTINGS)
        # This build reaches no service: the check at the start has failed.
        self.stage.wait_text(CHECK_FAILED)
        self.assertFalse(self.panel.is_checked("check box", CONSENT), "nobody has agreed yet")
        self.stage.click(CONSENT, "check box")
        self.panel.wait_shown({("check box", CONSENT): True})
        self.stage.perform(self.stage.wait_text(LANGUAGE, "combo box"), "Press")
        self.stage.click("Deutsch", "list item")
        program.wait_log("Setting language to: 5")
        self.stage.xdotool("key", "Escape")
        self.panel.wait_no_window(SETTINGS)
        self.stage.end_program(program)
        settings = (self.stage.folder / "config" / "Vexo Deck" / "Settings.conf").read_text(encoding="utf-8")
        self.assertIn("language=de_DE\n", settings)
        self.assertIn("share_data=true\n", settings)

    def test_no_waiting_installer_is_started_by_itself(self):
        installer = self.stage.folder / "installer"
        ran = self.stage.folder / "ran"
        installer.write_text(f"#!/bin/sh\ntouch {ran}\n")
        installer.chmod(0o755)
        self.stage.store_setting("auto_install", f"true\nauto_install_path={installer}")
        program = self.open_program()
        self.choose_by_mouse(SETTINGS)
        self.stage.wait_text(CHECK_FAILED)
        self.assertFalse(ran.exists())
        self.assertEqual(self.stage.windows("软件升级"), [])
        self.panel.close_window(SETTINGS, key="Escape")
        self.end(program)


class Reset(SystemCase):
    def reset(self):
        """Turns the gain, and resets the device by the window; the writes of the host."""
        program = self.program_with_root_document(RESET_DOCUMENT, environment=TYPED_LOG)
        panel = Panel(self.stage)
        self.stage.emulator("plug")
        panel.wait_window(RESET)
        factory = self.stage.emulator("state")["attributes"]
        panel.turn("mic_gain", 9)
        panel.clear()
        self.stage.click("确定", "button")
        self.stage.wait_text("成功")
        wait_until(lambda: self.stage.emulator("state")["attributes"] == factory, "the state of the factory")
        self.stage.click("确定", "button")
        panel.wait_no_window(RESET)
        self.assertEqual(warnings_of(program.log), [])
        return panel.writes()


class MixdeskR2(Reset):
    models = ("r2",)

    def test_the_reset_is_a_private_message_and_writes_no_attribute(self):
        self.assertEqual(self.reset(), [])


class VoxmicM40(Reset):
    models = ("m40",)

    def test_the_reset_is_one_attribute(self):
        self.assertEqual(self.reset(), [("reset_factory_settings", "01")])


class VoxmicT40(VoxmicM40):
    models = ("t40",)


if __name__ == "__main__":
    unittest.main()
