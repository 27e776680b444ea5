"""The general page of the device drawer against the virtual devices: what each model has on it, what its controls write, what
a report of the device moves, and the whole page by keyboard."""

import unittest

import panel_table as table
from panel_table import GENERAL_PAGE, SWITCH
from panel_test import PanelWalk
from screens import BACK_BUTTON

RADIO = "radio button"
BOX = "combo box"
FIELD = "text"
BUTTON = table.BUTTON
CONTROL_ROLES = {SWITCH, RADIO, BOX, FIELD, BUTTON}

ACTIONS = ["App", "URL", "热键", "系统截图", "系统录屏"]
HOTKEY = [(RADIO, "App"), (BOX, "App"), (RADIO, "URL"), (FIELD, "URL"), (RADIO, "热键"), (FIELD, "热键"),
          (RADIO, "系统截图"), (RADIO, "系统录屏")]
FIRMWARE = (BUTTON, "检查更新")
RATE = (BOX, "采样率")
INDICATOR = (SWITCH, "指示灯")
RESET_TITLE = "恢复出厂"
RESET = (BUTTON, RESET_TITLE)


class GeneralPage(PanelWalk):
    # In tab order.
    controls = []

    def open_general(self):
        self.panel.open()
        self.panel.open_page(GENERAL_PAGE)
        self.panel.wait(*FIRMWARE)
        self.panel.clear()

    def check_controls(self):
        self.open_general()
        shown = {(control["role"], control["name"]) for control in self.stage.controls()
                 if control["role"] in CONTROL_ROLES and "showing" in control["states"]}
        every = {*HOTKEY, FIRMWARE, RATE, INDICATOR, RESET}
        self.assertEqual(shown & every, set(self.controls))
        self.stage.wait_text(f"{self.model.name} 当前已是最新版本", "label")
        self.prove_silence()

    def check_reset(self, writes):
        self.open_general()
        self.panel.click(*RESET)
        self.panel.wait_window(RESET_TITLE)
        self.panel.click(BUTTON, "取消")
        self.panel.wait_no_window(RESET_TITLE)
        self.prove_silence()
        self.panel.open_page(GENERAL_PAGE)
        self.panel.click(*RESET)
        self.panel.wait_window(RESET_TITLE)
        self.panel.click(BUTTON, "确定")
        self.panel.wait_writes(writes)
        self.panel.wait_window(RESET_TITLE)
        self.stage.wait_text("成功")
        self.panel.click(BUTTON, "确定")
        self.panel.wait_no_window(RESET_TITLE)

    def check_keyboard(self):
        self.open_general()
        reached = [control for control in self.tab_until_it_repeats() if control in self.controls]
        begin = reached.index(self.controls[0])
        self.assertEqual(reached[begin:] + reached[:begin], self.controls)


class MixdeskR2(GeneralPage):
    model = table.MIXDESK_R2
    controls = [*HOTKEY, FIRMWARE, RATE, RESET]

    def test_the_page_holds_what_the_model_has(self):
        self.check_controls()

    def test_the_keyboard_reaches_everything(self):
        self.check_keyboard()

    def test_actions_and_rates_are_settings_of_the_program_alone(self):
        self.open_general()
        for chosen in reversed(ACTIONS):
            self.panel.click(RADIO, chosen)
            self.panel.wait_shown({(RADIO, name): name == chosen for name in ACTIONS})
        self.panel.click(*RATE)
        self.stage.wait_at_rest("192 kHz", "list item")
        self.panel.click("list item", "192 kHz")
        self.program.wait_log("设置配置: general_rate 192")
        self.prove_silence()

    def test_the_arrow_keys_go_through_the_actions(self):
        self.open_general()
        self.tab_to(RADIO, "App")
        for chosen in [*ACTIONS[1:], ACTIONS[0]]:
            self.press("Down")
            self.wait_focus(RADIO, chosen)
            self.panel.wait_shown({(RADIO, name): name == chosen for name in ACTIONS})

    def test_keys_are_recorded_by_keyboard_alone(self):
        self.open_general()
        self.tab_to(FIELD, "热键")
        self.press("Return")
        self.press("ctrl+alt+Delete")
        self.program.wait_log("捕获到的快捷键: Ctrl+Alt+Delete")
        # The keyboard gets away from the field again.
        self.tab_to(BUTTON, BACK_BUTTON)
        self.press("Escape")
        self.stage.wait_no_text(BACK_BUTTON, "button")


class VoxmicM40(GeneralPage):
    model = table.VOXMIC_M40
    controls = [FIRMWARE, INDICATOR, RESET]

    def test_the_page_holds_what_the_model_has(self):
        self.check_controls()

    def test_the_keyboard_reaches_everything(self):
        self.check_keyboard()

    def test_the_indicator_reaches_the_device(self):
        self.open_general()
        self.walk(table.flip("指示灯", "other_light_off"))

    def test_the_indicator_follows_the_device_and_is_not_echoed(self):
        self.open_general()
        for value in (1, 0, 1):
            self.panel.turn("other_light_off", value)
            self.panel.wait_shown({INDICATOR: value == 1})
        self.prove_silence()

    def test_the_reset_goes_to_the_device_when_the_user_agrees(self):
        self.check_reset([("anti_noise", "00"), ("ai_jianzao", "00"), ("reset_factory_settings", "01")])


class VoxmicT40(GeneralPage):
    model = table.VOXMIC_T40
    controls = [FIRMWARE, RESET]

    def test_the_page_holds_what_the_model_has(self):
        self.check_controls()

    def test_the_keyboard_reaches_everything(self):
        self.check_keyboard()


if __name__ == "__main__":
    unittest.main()
