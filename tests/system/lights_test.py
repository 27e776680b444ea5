"""The lights of the device: a colour that is drawn with the mouse, and the screen that takes the lights with it."""

import time
import unittest

import panel_table as table
from log_check import TYPED_LOG, warnings_of
from panel import Panel
from scripted_logind import ScriptedLogind
from stage import Stage, start_bus, wait_until
from system_case import BUILD, SystemCase

BRIGHTNESS = "rgb_light_brightness"
DRAG_SECONDS = 3


class Lights(SystemCase):
    models = ("r2",)
    plugged = True

    def make_stage(self):
        return Stage(BUILD, self.models, plugged=True, size=(1300, 1300))

    def setUp(self):
        super().setUp()
        self.panel = Panel(self.stage)

    def begin(self, **environment):
        self.program = self.start(environment=TYPED_LOG | environment)
        self.panel.fill_screen()
        self.panel.open()
        self.panel.open_page(table.LIGHTING_PAGE)
        self.panel.clear()

    def end(self):
        self.assertEqual(self.quit(self.program), 0)
        self.assertEqual(warnings_of(self.program.log), [])


class Drawing(Lights):
    def test_a_colour_that_is_drawn_is_sent_twice_a_second_and_the_last_one_wins(self):
        self.begin()
        tile = "麦克风增益 选择颜色"
        self.panel.click("button", tile)
        area = self.stage.wait_at_rest("色相和饱和度", "slider")
        x, y, width, height = area["extents"]
        middle = y + height // 2
        self.stage.xdotool("mousemove", x + 10, middle, "mousedown", 1)
        end = time.monotonic() + DRAG_SECONDS
        step = 0
        while time.monotonic() < end:
            step += 7
            self.stage.xdotool("mousemove", x + 10 + step % (width - 20), middle + step % 9 - 4)
        self.stage.xdotool("mousemove", x + width // 3, middle, "mouseup", 1, "key", "Escape")
        self.stage.wait_no_text("HEX", "text")
        color = self.panel.wait("button", tile)["description"]
        self.stage.emulator(f"wait value mic_gain_light_color {color} 3000")
        writes = self.stage.emulator("writes")["writes"]
        self.assertEqual({write["attribute"] for write in writes}, {"mic_gain_light_color"})
        self.assertEqual(writes[-1]["bytes"], table.wire(color))
        self.assertGreaterEqual(len(writes), 3)
        times = [write["timeMs"] for write in writes]
        # One write every 500 ms. On a busy machine one may be late and the next in time.
        self.assertLessEqual((len(times) - 1) * 500, times[-1] - times[0] + 400, times)
        self.end()


class Screen(Lights):
    def setUp(self):
        super().setUp()
        folder = self.stage.folder / "system-bus"
        folder.mkdir()
        env = dict(self.stage.env)
        bus = start_bus(folder, env)
        self.addCleanup(bus.wait)
        self.addCleanup(bus.kill)
        self.system_bus = env["DBUS_SESSION_BUS_ADDRESS"]
        self.logind = ScriptedLogind(self.system_bus)

    def lock(self):
        """The program listens some time after it has learnt of its session."""
        def dark():
            self.logind.emit("Lock")
            return (BRIGHTNESS, "00") in self.panel.writes()

        wait_until(dark, "the lights to go off")

    def unlock(self, brightness):
        self.logind.emit("Unlock")
        self.stage.emulator(f"wait value {BRIGHTNESS} {brightness} 5000")
        self.panel.clear()

    def tick(self, ticked):
        self.panel.click(table.SWITCH, table.SCREEN_BOX)
        self.panel.wait_shown({(table.SWITCH, table.SCREEN_BOX): ticked})

    def test_the_box_makes_the_lights_follow_the_screen(self):
        self.begin(DBUS_SYSTEM_BUS_ADDRESS=self.system_bus)
        self.tick(True)
        self.logind.tell_session()
        self.lock()
        self.unlock(50)
        self.tick(False)
        self.logind.emit("Lock")
        self.panel.open_page(table.MICROPHONE_PAGE)
        for row in table.flip("静音", "mute"):
            self.panel.click(row.role, row.name)
            self.panel.wait_writes(row.writes)
            self.panel.clear()
        self.end()

    def test_a_box_that_was_ticked_before_the_start_counts_and_the_stored_brightness_returns(self):
        settings = self.stage.folder / "config" / "Vexo Deck" / "Settings.conf"
        settings.parent.mkdir(parents=True, exist_ok=True)
        settings.write_text("[General]\ncolor_bg_other_close_lighting=true\ncolor_bg_other_brightness=0.75\n")
        self.begin(DBUS_SYSTEM_BUS_ADDRESS=self.system_bus)
        self.panel.wait_shown({(table.SWITCH, table.SCREEN_BOX): True, (table.SLIDER, "亮度"): 0.75})
        self.logind.tell_session()
        self.lock()
        self.unlock(75)
        self.end()


if __name__ == "__main__":
    unittest.main()
