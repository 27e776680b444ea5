"""A walk through the accessibility tree of the running program: every control of every page, drawer, menu and window is
looked at, and used as assistive technology uses it. The walk finds its way by itself, so a new page needs no line here."""

import os
import unittest

from screens import BACK_BUTTON, CLOSE_BUTTON, CONNECTED, WAITING_TITLE
from stage import Timeout, wait_until
from system_case import SystemCase

# What a user can use, and what assistive technology does with it; None: its value is set.
USED_BY = {"button": "Press", "check box": "Press", "radio button": "Press", "page tab": "Press", "menu item": "Press",
           "list item": "Press", "combo box": "Press", "link": "Press", "push button menu": "Press", "slider": None}
# Whose places are to follow each other as they are read.
READ = (*USED_BY, "text", "entry")
WINDOWS = ("frame", "dialog", "window")
# Parts of the title bar. To close the main window is to end the program: that comes last.
WINDOW_BUTTONS = ("最小化", "最大化", CLOSE_BUTTON)
# Used when nothing else is left on the screen: they lead away from it.
LEAD_AWAY = ("menu item", "page tab")
# A walker that cannot read the language any more is lost; tst_LanguageChange and language_test.py change it.
LANGUAGES = ("中文", "繁體中文", "English", "日本語", "Русский", "Deutsch", "Français", "Español", "Italiano")
MOST_STEPS = 400
# Used without an effect: no service answers here, so that they show the same again.
ASK_THE_SERVICE = ("检查更新", "重试")
# Seconds. What has had no effect is used once more, when the rest of the screen has been used: a reset, for instance, has
# nothing to do before that.
FIRST_LIMIT, LAST_LIMIT = 4, 15


def key_of(control):
    return control["role"], control["name"] or control["description"]


def is_enabled(control):
    return "enabled" in control["states"]


def lies_before(first, second):
    """True where the first lies before the second as one reads: above it in one column, or left of it in one row."""
    (left, top, width, height), (next_left, next_top, next_width, next_height) = first["extents"], second["extents"]
    in_one_column = left < next_left + next_width and next_left < left + width
    in_one_row = top < next_top + next_height and next_top < top + height
    return (in_one_column and top + height <= next_top) or (in_one_row and left + width <= next_left)


class Walk(SystemCase):
    maxDiff = None
    # Names of controls that are not used.
    left_out = ()

    def setUp(self):
        super().setUp()
        opener = self.stage.folder / "bin" / "xdg-open"
        opener.parent.mkdir()
        self.opened = self.stage.folder / "opened"
        opener.write_text(f'#!/bin/sh\necho "$1" >> {self.opened}\n')
        opener.chmod(0o755)
        self.program = self.start(environment={"PATH": f"{opener.parent}:{os.environ['PATH']}"})
        self.faults, self.seen = [], {}
        # The keys of what has been used; those that had no effect then, and have not been used again.
        self.used, self.idle = set(), set()
        # In the order in which they were met; what the use of a control has brought.
        self.met, self.brought = {}, {}
        self.led_back, self.way = set(), []

    # ---- what is on the screen

    def frames(self, controls):
        """The controls of each window and popup that shows, itself first, the newest last."""
        frames = []
        for control in controls:
            if "showing" in control["states"]:
                if control["role"] in WINDOWS:
                    frames.append([])
                if frames:
                    frames[-1].append(control)
        return frames

    def picture(self):
        """All that an action may change, as one value, and the controls in it."""
        controls = self.stage.controls()
        screen = [(control["role"], control["name"], control["description"], control["states"], control["value"],
                   control["extents"]) for control in controls if "showing" in control["states"]]
        opened = self.opened.read_text() if self.opened.exists() else ""
        return (screen, opened, len(self.program.log)), controls

    def rest(self):
        """Waits until nothing moves. The window or popup in front is looked at, and what it has becomes known."""
        before = None

        def rests():
            nonlocal before
            last, before = before, self.picture()
            return last and last[0] == before[0]

        wait_until(rests, "the screen at rest")
        self.at_rest, controls = before
        self.front = self.frames(controls)[-1]
        self.look(self.front)
        for control in self.front:
            if self.is_for_use(control):
                self.met.setdefault(key_of(control), len(self.met))

    # ---- the rules

    def look(self, frame):
        if not frame[0]["name"]:
            self.tell(f"{frame[0]['role']} at {frame[0]['extents']} has no name")
        for control in frame:
            place = f"{control['role']} {control['name']!r} at {control['extents']}"
            if control["role"] in USED_BY and self.seen.setdefault(place, control) is control:
                self.look_at(control, place)
        read = [control for control in frame if control["role"] in READ]
        for first, second in zip(read, read[1:]):
            if lies_before(second, first):
                self.tell(f"{second['role']} {second['name']!r} is read after {first['role']} {first['name']!r}, before which it lies")

    def look_at(self, control, place):
        if not control["name"]:
            self.tell(f"{place} has no name")
        if control["role"] == "slider" and not control["range"][0] <= control["value"] <= control["range"][1]:
            self.tell(f"{place} has the value {control['value']} outside of {control['range']}")
        if not is_enabled(control):
            return
        # The arrow keys go through a list, which has the focus itself.
        if "focusable" not in control["states"] and control["role"] != "list item":
            self.tell(f"{place} cannot have the focus")
        wanted = USED_BY[control["role"]]
        if wanted and wanted not in self.stage.actions(control):
            self.tell(f"{place} offers no {wanted}")

    def tell(self, fault):
        if fault not in self.faults:
            self.faults.append(fault)

    # ---- the use of one control

    def is_for_use(self, control):
        return (control["role"] in USED_BY and is_enabled(control)
                and control["name"] not in (*WINDOW_BUTTONS, *LANGUAGES, BACK_BUTTON, *self.left_out)
                and not (control["role"] == "radio button" and "checked" in control["states"])
                and "selected" not in control["states"])

    def use(self, control, limit):
        """Uses a control and waits for its effect; false where it has had none in time."""
        key, before = key_of(control), self.at_rest
        self.way.append(key)
        self.used.add(key)
        if control["role"] == "slider":
            low, high = control["range"]
            self.stage.set_value(control, low if control["value"] > (low + high) / 2 else high)
        else:
            self.stage.perform(control, USED_BY[control["role"]])
        try:
            wait_until(lambda: self.picture()[0] != before, f"an effect of {key}", limit)
        except Timeout:
            return False
        known = set(self.met)
        self.rest()
        self.brought.setdefault(key, set()).update(self.met.keys() - known)
        return True

    # ---- the way

    def walk(self):
        self.rest()
        for _ in range(MOST_STEPS):
            if not (self.use_next() or self.use_idle() or self.lead_back() or self.leave()):
                return
        self.fail(f"no end after {MOST_STEPS} steps: {self.way}")

    def use_next(self):
        """Uses what has not been used on the window in front: sliders first, which take nothing away, then what came last."""
        found = [control for control in self.front if self.is_for_use(control) and key_of(control) not in self.used]
        if not found:
            return False
        control = min(found, key=lambda one: (one["role"] in LEAD_AWAY, one["role"] != "slider", -self.met[key_of(one)]))
        if not self.use(control, FIRST_LIMIT) and control["name"] not in ASK_THE_SERVICE:
            self.idle.add(key_of(control))
        return True

    def use_idle(self):
        for control in self.front:
            if key_of(control) in self.idle and self.is_for_use(control):
                self.idle.remove(key_of(control))
                if not self.use(control, LAST_LIMIT):
                    self.tell(f"no effect of {key_of(control)} after {self.way[-4:-1]}")
                return True
        return False

    def left_behind(self, key, passed=()):
        """What is left to be used of what a control has brought, at once or by steps."""
        brought = self.brought.get(key, set())
        left = brought - self.used
        for other in brought - {key, *passed}:
            left |= self.left_behind(other, (key, *passed))
        return left

    def lead_back(self):
        """Uses again what has brought controls that were left unused; false where nothing in front has."""
        for control in self.front:
            key = key_of(control)
            left = self.left_behind(key) if self.is_for_use(control) else set()
            # Once for the same controls.
            if left and (key, frozenset(left)) not in self.led_back:
                self.led_back.add((key, frozenset(left)))
                self.use(control, LAST_LIMIT)
                return True
        return False

    def leave(self):
        """Closes the popup or window in front; false where only the main window is left."""
        before = self.at_rest
        self.stage.xdotool("key", "Escape")
        try:
            wait_until(lambda: self.picture()[0][0] != before[0], "the end of what is in front", limit=2)
        except Timeout:
            return False
        self.rest()
        return True

    def walk_through_everything(self):
        self.stage.wait_text(WAITING_TITLE)
        self.walk()
        self.stage.emulator("plug")
        self.stage.wait_text(CONNECTED)
        self.walk()
        unused = self.met.keys() - self.used
        self.assertEqual(("\n".join(self.faults), unused), ("", set()), f"on the way {self.way}")


class MixdeskR2(Walk):
    models = ("r2",)

    def test_every_control_can_be_read_and_used(self):
        self.walk_through_everything()


class VoxmicM40(MixdeskR2):
    models = ("m40",)


class VoxmicT40(MixdeskR2):
    models = ("t40",)


if __name__ == "__main__":
    unittest.main()
