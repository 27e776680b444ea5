"""The working screen against the virtual devices: menu, device drawer, and the way back when the device goes."""

import unittest

from log_check import TYPED_LOG, warnings_of
from panel import Panel
from screens import (BACK_BUTTON, CONNECTED, GENERAL_PAGE, LIGHTING_PAGE, MICROPHONE_PAGE, MONITOR_PAGE, SETTINGS_BUTTON,
                     WAITING_TITLE, close_drawer, open_drawer, open_main, open_menu)
from stage import Stage, wait_until
from system_case import BUILD, SystemCase


class MainLayout(SystemCase):
    plugged = True
    tabs = [MICROPHONE_PAGE, MONITOR_PAGE, LIGHTING_PAGE, GENERAL_PAGE]

    def shown_tabs(self):
        return [control for control in self.stage.controls()
                if control["role"] == "page tab" and "showing" in control["states"]]

    def selected_tabs(self):
        return [tab["name"] for tab in self.shown_tabs() if "selected" in tab["states"]]

    def open_drawer(self):
        open_main(self.stage)
        self.assertEqual(self.shown_tabs(), [])
        open_drawer(self.stage)

    def check_model(self):
        program = self.start(environment=TYPED_LOG)
        self.open_drawer()
        self.assertEqual([tab["name"] for tab in self.shown_tabs()], self.tabs)
        self.assertEqual(self.selected_tabs(), self.tabs[:1])
        self.stage.steady_screenshot(self.stage.folder / "drawer.png")
        # Ends on the last page, so that the next drawer has to return to the first.
        for tab in self.tabs:
            self.stage.click(tab, "page tab")
            wait_until(lambda wanted=tab: self.selected_tabs() == [wanted], f"the page {tab}")

        self.stage.emulator("unplug")
        self.stage.wait_text(WAITING_TITLE)
        self.stage.wait_no_text(BACK_BUTTON, "button")
        self.stage.emulator("plug")
        self.open_drawer()
        self.assertEqual(self.selected_tabs(), self.tabs[:1])

        close_drawer(self.stage)
        self.stage.wait_text(SETTINGS_BUTTON, "button")
        self.assertEqual(self.quit(program), 0)
        self.assertEqual(warnings_of(program.log), [])


class MixdeskR2(MainLayout):
    def test_drawer_opens_and_is_closed_again_after_a_reconnection(self):
        self.check_model()

    def test_menu_closes_on_escape_and_on_a_press_outside(self):
        program = self.start(environment=TYPED_LOG)
        self.stage.wait_text(CONNECTED)
        for close in (["key", "Escape"], ["mousemove", 700, 700, "click", 1]):
            open_menu(self.stage)
            for row in ("帮助", "客服", "设置"):
                self.assertIn("enabled", self.stage.wait_text(row, "menu item")["states"])
            self.stage.xdotool(*close)
            self.stage.wait_no_text("帮助", "menu item")
        self.assertEqual(self.quit(program), 0)
        self.assertEqual(warnings_of(program.log), [])

    def test_a_close_by_the_system_ends_the_program_beside_a_window_that_is_hidden(self):
        program = self.start(environment=TYPED_LOG)
        panel = Panel(self.stage)
        panel.open()
        self.stage.click_control(self.stage.wait_at_rest("均衡器", "button"))
        panel.close_window("均衡器", key="Escape")
        (window,) = self.stage.windows("Vexo Deck")
        self.stage.close_window(window)
        self.assertEqual(program.wait_exit(), 0)
        self.assertEqual(warnings_of(program.log), [])


class VoxmicM40(MainLayout):
    models = ("m40",)
    tabs = [MICROPHONE_PAGE, MONITOR_PAGE, GENERAL_PAGE]

    def test_drawer_opens_and_is_closed_again_after_a_reconnection(self):
        self.check_model()


class VoxmicT40(MainLayout):
    models = ("t40",)

    def test_drawer_opens_and_is_closed_again_after_a_reconnection(self):
        self.check_model()


class WindowOfAnySize(MainLayout):
    """From the smallest window to a screen of 3840 x 2160 at 200 %."""
    models = ("m40",)

    def make_stage(self):
        return Stage(BUILD, self.models, plugged=self.plugged, size=self.size)

    def check_use(self, scale):
        program = self.start(environment=TYPED_LOG | {"QT_SCALE_FACTOR": str(scale)})
        window = self.stage.windows("Vexo Deck")[0]
        self.stage.xdotool("windowmove", window, 0, 0, "windowsize", window, *self.size)
        wait_until(lambda: self.stage.window_extents(window) == [0, 0, *self.size], "the window's size")
        self.stage.scale = scale
        panel = Panel(self.stage)
        panel.open()
        panel.open_page(MONITOR_PAGE)
        panel.open_page(MICROPHONE_PAGE)
        slider = panel.press_slider("增益")
        panel.move_slider(slider, 18)
        panel.wait_shown({("slider", "增益"): 18})
        panel.release()
        self.stage.emulator("wait value mic_gain 18 3000")
        self.assertEqual(self.quit(program), 0)
        self.assertEqual(warnings_of(program.log), [])


class SmallestWindow(WindowOfAnySize):
    size = (800, 500)

    def test_smallest_window_is_worked_like_any_other(self):
        self.check_use(1)


class LargeDenseScreen(WindowOfAnySize):
    size = (3840, 2160)

    def test_window_on_a_screen_of_3840_by_2160_at_200_percent_is_worked_like_any_other(self):
        self.check_use(2)


if __name__ == "__main__":
    unittest.main()
