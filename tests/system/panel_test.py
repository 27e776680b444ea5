"""The device drawer against the virtual devices: every control under a real mouse and what then reaches the device,
every hardware value and what then shows."""

import contextlib
import unittest

import panel_table as table
from log_check import TYPED_LOG, warnings_of
from panel import Panel
from panel_table import Click, CloseWindow, Pick
from screens import BACK_BUTTON, WAITING_TITLE
from stage import Stage, wait_until
from system_case import BUILD, SystemCase

CONTROL_ROLES = {table.SWITCH, table.TILE, table.SLIDER, table.BUTTON}
# High enough to show the whole page.
SCREEN = (1300, 1300)


class PanelWalk(SystemCase):
    model = None
    plugged = True

    def make_stage(self):
        return Stage(BUILD, [self.model.word], plugged=True, size=SCREEN)

    def setUp(self):
        super().setUp()
        self.panel = Panel(self.stage)
        self.program = self.start(environment=TYPED_LOG)
        self.panel.fill_screen()

    def tearDown(self):
        # A failed test may have left the mouse pressed. The program quits before the stage ends.
        self.stage.xdotool("mouseup", 1)
        if self.program.process.poll() is None:
            self.assertEqual(self.quit(self.program), 0)
        self.assertEqual(warnings_of(self.program.log), [])

    @staticmethod
    @contextlib.contextmanager
    def naming(step):
        """Names the step of a table in a failure. The first failure ends the test: steps build on one another."""
        try:
            yield
        except AssertionError as error:
            raise AssertionError(f"at {step}: {error}") from None

    # ---- the mouse

    def walk(self, rows):
        """Does row after row. A row has to write exactly what it says, so it also proves that the rows before it that
        shall write nothing wrote nothing."""
        self.panel.clear()
        for row in rows:
            with self.naming(row):
                if isinstance(row, Click):
                    self.do_click(row)
                elif isinstance(row, CloseWindow):
                    self.panel.close_window(row.title, row.key)
                    self.await_writes(row)
                elif isinstance(row, Pick):
                    self.panel.pick(row.name, row.color, row.opens)
                    self.await_writes(row)
                else:
                    self.do_drag(row)
        self.prove_silence()

    def do_click(self, row):
        self.panel.click(row.role, row.name)
        if row.opens:
            self.panel.wait_window(row.opens)
        if row.closes:
            self.panel.wait_no_window(row.closes)
        self.panel.wait_shown(row.shows)
        self.await_writes(row)

    def await_writes(self, row):
        if row.writes:
            self.panel.wait_writes(row.writes)
            self.panel.clear()

    def do_drag(self, row):
        slider = self.panel.press_slider(row.name)
        for value in row.values:
            self.panel.move_slider(slider, value)
            self.panel.wait_shown({(table.SLIDER, row.name): value, ("description of", row.name): row.text(value)})
            if row.attribute:
                # The mouse button is still pressed.
                self.stage.emulator(f"wait value {row.attribute} {table.byte_word(row.byte_of(value))} 3000")
        self.panel.release()
        self.panel.wait_shown({(table.SLIDER, row.name): row.values[-1]} | row.shows)
        if not row.attribute:
            return
        writes = self.stage.emulator("writes")["writes"]
        self.assertEqual({write["attribute"] for write in writes}, {row.attribute})
        self.assertEqual(writes[-1]["bytes"], table.byte(row.byte_of(row.values[-1])))
        times = [write["timeMs"] for write in writes]
        # One write every 500 ms. On a busy machine one may be late and the next in time.
        self.assertLessEqual((len(times) - 1) * 500, times[-1] - times[0] + 400, times)
        self.panel.clear()

    def prove_silence(self):
        """What was done last has written nothing: a switch that is flipped now is the only write."""
        self.panel.open_page(table.MICROPHONE_PAGE)
        for row in table.flip("静音", "mute"):
            self.do_click(row)

    def shown_controls(self):
        return {(control["role"], control["name"]) for control in self.stage.controls()
                if control["role"] in CONTROL_ROLES and "showing" in control["states"]}

    # ---- the tests

    def check_walk(self):
        self.panel.open()
        tabs = [control["name"] for control in self.stage.controls()
                if control["role"] == "page tab" and "showing" in control["states"]]
        self.assertEqual(tabs, self.model.pages)
        microphone = self.shown_controls()
        self.assertLessEqual(self.model.controls, microphone)
        self.assertFalse(self.model.more_controls & microphone)
        self.walk(self.model.microphone)
        self.panel.open_page(table.MONITOR_PAGE)
        frame = microphone - self.model.controls
        self.assertEqual(self.shown_controls(), frame | table.MONITOR_CONTROLS)
        self.walk(self.model.monitor)
        if self.model.lighting:
            self.panel.open_page(table.LIGHTING_PAGE)
            self.panel.wait(table.TILE, table.EFFECTS[0])
            self.assertEqual(self.shown_controls(), frame | set(self.model.lighting_tab_order))
            self.walk(self.model.lighting)

    def check_turns(self):
        self.panel.open()
        self.panel.clear()
        monitor = {"listen_volume", "mic_listen_ratio"}
        for page, turns in ((table.MICROPHONE_PAGE, [turn for turn in self.model.turns if turn.attribute not in monitor]),
                            (table.MONITOR_PAGE, [turn for turn in self.model.turns if turn.attribute in monitor]),
                            (table.LIGHTING_PAGE, self.model.lighting_turns)):
            if not turns:
                continue
            self.panel.open_page(page)
            for turn in turns:
                for value in turn.values:
                    with self.naming((turn.attribute, value)):
                        self.panel.turn(turn.attribute, value)
                        self.panel.wait_shown(turn.shown(value))
        for attribute, word in self.model.unseen.items():
            with self.naming(attribute):
                self.panel.turn(attribute, 1)
                self.program.wait_log(f"收到{word}消息: [1]")
        # The program does not write a reported value back.
        self.prove_silence()

    def check_keyboard(self):
        """The whole drawer without a mouse: Tab reaches every control, arrows move a slider, choose a tile and go
        from page to page, Space flips a switch, Escape closes what is open."""
        self.panel.open()
        self.check_tab_order(self.model.tab_order)
        self.panel.clear()
        self.tab_to(table.SWITCH, "静音")
        self.press("space")
        self.panel.wait_shown({(table.SWITCH, "静音"): True})
        self.panel.wait_writes([("mute", "01")])
        gain = self.panel.wait(table.SLIDER, "增益")["value"]
        self.check_arrows("增益", "mic_gain", gain)
        if self.model.full_tab_order:
            self.panel.clear()
            self.tab_to(table.TILE, table.SCENES[0])
            for index in (1, 2):
                scene = table.scene(index, True)
                self.press("Right")
                self.wait_focus(scene.role, scene.name)
                self.panel.wait_shown(scene.shows)
                self.await_writes(scene)
            self.check_tab_order(self.model.full_tab_order)
            self.check_arrows("防爆音", "device_boom_value", -5)
            self.panel.wait_shown(table.CUSTOM)
            self.check_arrows("压缩器", None, -10)
        self.tab_to("page tab", table.MICROPHONE_PAGE)
        self.press("Right")
        self.wait_focus("page tab", table.MONITOR_PAGE)
        for name, attribute in (("麦克风/电脑监听比", "mic_listen_ratio"), ("监听音量", "listen_volume")):
            self.check_arrows(name, attribute, self.panel.wait(table.SLIDER, name)["value"])
        if self.model.lighting:
            self.tab_to("page tab", table.MONITOR_PAGE)
            self.press("Right")
            self.wait_focus("page tab", table.LIGHTING_PAGE)
            self.check_tab_order(self.model.lighting_tab_order, set(self.model.lighting_tab_order))
            self.check_lighting_keys()
        self.tab_to("push button menu", "更多")
        self.press("space")
        self.stage.wait_text("帮助", "menu item")
        self.press("Escape")
        self.stage.wait_no_text("帮助", "menu item")
        # Escape closed the menu only; the drawer is still open.
        self.tab_to(table.BUTTON, BACK_BUTTON)
        self.press("Escape")
        self.stage.wait_no_text(BACK_BUTTON, "button")

    def check_lighting_keys(self):
        """An effect by the arrows, and a colour by the keyboard alone."""
        self.panel.clear()
        self.tab_to(table.TILE, table.EFFECTS[2])
        self.press("Left")
        self.panel.wait_shown(table.selected(table.EFFECTS, 1))
        self.panel.wait_writes([("background_light_off", "02")])
        self.panel.clear()
        self.tab_to(table.BUTTON, "静音 选择颜色")
        self.press("Return")
        self.stage.wait_text("HEX", "text")
        self.tab_to("text", "HEX")
        self.panel.type_color("#AB0102")
        self.panel.wait_writes([("rgb_light_off", "0201AB00")])

    def check_tab_order(self, controls, wanted=None):
        """Of the tiles in a row the selected one has the tab stop."""
        expected = [control for control in controls
                    if control[0] != table.TILE or self.panel.is_checked(*control)]
        wanted = wanted or self.model.controls | self.model.more_controls
        reached = [control for control in self.tab_until_it_repeats() if control in wanted]
        # The round may begin at any control.
        begin = reached.index(expected[0])
        self.assertEqual(reached[begin:] + reached[:begin], expected)

    def check_arrows(self, name, attribute, value):
        """From a value that has room on both sides."""
        self.panel.clear()
        self.tab_to(table.SLIDER, name)
        for keys, steps in ((("Right", "Right", "Up"), 3), (("Left", "Down"), -2)):
            value += steps
            self.press(*keys)
            self.panel.wait_shown({(table.SLIDER, name): value})
            if attribute:
                self.stage.emulator(f"wait value {attribute} {table.byte_word(round(value))} 3000")
        self.assertEqual({written for written, _ in self.panel.writes()}, {attribute} if attribute else set())

    def press(self, *keys):
        self.stage.xdotool(*(word for key in keys for word in ("key", key)))

    def wait_focus(self, role, name):
        wait_until(lambda: self.focused() == (role, name), f"the focus on {name}")

    def focused_control(self):
        return next((control for control in self.stage.controls() if "focused" in control["states"]
                     and control["role"] not in ("panel", "layered pane", "frame", "dialog")), None)

    def focused(self):
        control = self.focused_control()
        return control and (control["role"], control["name"])

    def place_of_focus(self):
        """Role, name and description of the control with the focus: the strips' buttons have one name."""
        control = self.focused_control()
        return control and (control["role"], control["name"], control["description"])

    def press_tab(self, before):
        """Goes on from a place_of_focus() to the next, and gives it."""
        self.press("Tab")
        return wait_until(lambda: (now := self.place_of_focus()) != before and now, f"the focus to leave {before}")

    def tab_until_it_repeats(self):
        reached = []
        now = self.press_tab(self.place_of_focus())
        while now not in reached:
            reached.append(now)
            now = self.press_tab(now)
        return [(role, name) for role, name, _ in reached]

    def tab_to(self, role, name):
        place = self.place_of_focus()
        while place is None or place[:2] != (role, name):
            place = self.press_tab(place)

    def check_values_of_the_device_at_connection(self):
        """Values that change while the device is unplugged show when the drawer opens again."""
        self.panel.open()
        self.stage.emulator("unplug")
        self.stage.wait_text(WAITING_TITLE)
        for value in ("mute 1", "mic_gain 7", "listen_volume 4", "mic_listen_ratio 11"):
            self.stage.emulator(f"set {value}")
        self.stage.emulator("plug")
        self.panel.open()
        self.panel.wait_shown({(table.SWITCH, "静音"): True, (table.SLIDER, "增益"): 7})
        self.panel.open_page(table.MONITOR_PAGE)
        self.panel.wait_shown({(table.SLIDER, "监听音量"): 4, (table.SLIDER, "麦克风/电脑监听比"): 11})


class EveryModel:
    """What holds of each model's panel."""

    def test_every_control_reaches_the_device(self):
        self.check_walk()

    def test_every_hardware_value_shows_and_is_not_echoed(self):
        self.check_turns()

    def test_keyboard_alone_works_the_drawer(self):
        self.check_keyboard()

    def test_values_of_the_device_win_at_connection(self):
        self.check_values_of_the_device_at_connection()


class MixdeskR2(EveryModel, PanelWalk):
    model = table.MIXDESK_R2

    def test_reported_anti_clipping_shows_when_the_page_is_next_built(self):
        self.panel.open()
        self.panel.turn("anti_noise", 1)
        self.program.wait_log("收到防破音消息: [1]")
        # A later report shows, so this one has been read.
        self.panel.turn("mute", 1)
        self.panel.wait_shown({(table.SWITCH, "静音"): True})
        self.assertFalse(self.panel.is_checked(table.SWITCH, "防爆音"))
        self.stage.emulator("unplug")
        self.stage.wait_text(WAITING_TITLE)
        self.stage.emulator("plug")
        self.panel.open()
        self.panel.wait_shown({(table.SWITCH, "防爆音"): True})


class VoxmicM40(EveryModel, PanelWalk):
    model = table.VOXMIC_M40


class VoxmicT40(EveryModel, PanelWalk):
    model = table.VOXMIC_T40


if __name__ == "__main__":
    unittest.main()
