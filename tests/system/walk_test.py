"""A walk through the accessibility tree of the running program: every control of every page, drawer, menu and window is
looked at, and used as assistive technology uses it. The walk finds its way by itself, so a new page needs no line here."""

import os
import unittest

from screens import BACK_BUTTON, CLOSE_BUTTON, CONNECTED, WAITING_TITLE
from stage import wait_until
from system_case import SystemCase

# What a user can use, and what assistive technology does with it; None: its value is set.
USED_BY = {"button": "Press", "check box": "Press", "radio button": "Press", "page tab": "Press", "menu item": "Press",
           "list item": "Press", "combo box": "Press", "link": "Press", "push button menu": "Press", "slider": None}
# Focus alone is the use of a text.
WITH_FOCUS = USED_BY.keys() | {"text", "entry"}
# Parts of the title bar. To close the main window is to end the program: that comes last.
WINDOW_BUTTONS = ("最小化", "最大化", CLOSE_BUTTON)
# Used when nothing else is left on the screen: they lead away from it.
LEAD_AWAY = ("menu item", "page tab")
# A walker that cannot read the language any more is lost; tst_LanguageChange and language_test.py change it.
LANGUAGES = ("中文", "繁體中文", "English", "日本語", "Русский", "Deutsch", "Français", "Español", "Italiano")
MOST_STEPS = 400


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

    def setUp(self):
        super().setUp()
        opener = self.stage.folder / "bin" / "xdg-open"
        opener.parent.mkdir()
        self.opened = self.stage.folder / "opened"
        opener.write_text(f'#!/bin/sh\necho "$1" >> {self.opened}\n')
        opener.chmod(0o755)
        self.program = self.start(environment={"PATH": f"{opener.parent}:{os.environ['PATH']}"})
        self.used, self.faults, self.seen = set(), [], {}
        # In the order in which they were met; what the use of a control has brought.
        self.met, self.brought = {}, {}

    # ---- what is on the screen

    def frames(self):
        """The controls of each window that shows, the newest window last."""
        frames = []
        for control in self.stage.controls():
            if control["role"] in ("frame", "dialog", "window") and "showing" in control["states"]:
                frames.append([])
            elif frames and "showing" in control["states"]:
                frames[-1].append(control)
        return [frame for frame in frames if frame]

    def usable(self, frame):
        return [control for control in frame if control["role"] in WITH_FOCUS]

    def picture(self):
        """All that an action may change, as one value."""
        screen = [(control["role"], control["name"], control["description"], control["states"], control["value"],
                   control["extents"]) for frame in self.frames() for control in frame]
        opened = self.opened.read_text() if self.opened.exists() else ""
        return screen, opened, len(self.program.log)

    # ---- the rules

    def look(self, frame):
        for control in self.usable(frame):
            place = f"{control['role']} {control['name']!r} at {control['extents']}"
            if self.seen.setdefault(place, control) is not control:
                continue
            if not control["name"]:
                self.faults.append(f"{place} has no name")
            if is_enabled(control) and "focusable" not in control["states"]:
                self.faults.append(f"{place} cannot have the focus")
            if control["role"] == "slider" and not control["range"][0] <= control["value"] <= control["range"][1]:
                self.faults.append(f"{place} has the value {control['value']} outside of {control['range']}")
            wanted = USED_BY.get(control["role"])
            if wanted and is_enabled(control) and wanted not in self.stage.actions(control):
                self.faults.append(f"{place} offers no {wanted}")
        usable = self.usable(frame)
        for first, second in zip(usable, usable[1:]):
            if lies_before(second, first):
                fault = f"{second['role']} {second['name']!r} is read after {first['role']} {first['name']!r}, before which it lies"
                if fault not in self.faults:
                    self.faults.append(fault)

    def use(self, control):
        before = self.picture()
        if control["role"] == "slider":
            low, high = control["range"]
            self.stage.set_value(control, low if control["value"] > (low + high) / 2 else high)
        else:
            self.stage.perform(control, USED_BY[control["role"]])
        try:
            wait_until(lambda: self.picture() != before, f"an effect of {key_of(control)}", limit=10)
        except AssertionError as error:
            self.faults.append(str(error))

    def rest(self):
        pictures = [self.picture()[0]]

        def rests():
            pictures.append(self.picture()[0])
            return pictures[-1] == pictures[-2]

        wait_until(rests, "the screen at rest")

    # ---- the way

    def front(self):
        frames = self.frames()
        return frames[-1] if frames else []

    def candidates(self):
        """What is to be used on the window in front, all of which is looked at."""
        front = self.front()
        self.look(front)
        found = [control for control in front
                 if control["role"] in USED_BY and is_enabled(control) and key_of(control) not in self.used
                 and control["name"] not in (*WINDOW_BUTTONS, *LANGUAGES, BACK_BUTTON)
                 and not (control["role"] == "radio button" and "checked" in control["states"])
                 and not (control["role"] == "page tab" and "selected" in control["states"])]
        for control in found:
            self.met.setdefault(key_of(control), len(self.met))
        return found

    def walk(self):
        for _ in range(MOST_STEPS):
            self.rest()
            candidates = self.candidates()
            if candidates:
                self.step(min(candidates, key=lambda one: (one["role"] in LEAD_AWAY, -self.met[key_of(one)])))
            elif not self.lead_back() and not self.leave():
                return
        self.fail(f"no end after {MOST_STEPS} steps: {sorted(self.used)}")

    def step(self, control):
        key = key_of(control)
        self.used.add(key)
        known = set(self.met)
        self.use(control)
        self.rest()
        self.candidates()
        self.brought.setdefault(key, set()).update(self.met.keys() - known)

    def lead_back(self):
        """Uses again what has brought controls that were left unused; false where nothing on the screen has."""
        for control in self.front():
            left = self.brought.get(key_of(control), set()) - self.used
            if left and is_enabled(control) and not {"checked", "selected"} & set(control["states"]):
                # Once more only, unless it brings something.
                self.brought[key_of(control)] = set()
                self.use(control)
                self.rest()
                self.brought[key_of(control)] = left & {key_of(one) for one in self.candidates()}
                return True
        return False

    def leave(self):
        """Closes the popup or window in front; false where only the main window is left."""
        before = self.picture()[0]
        self.stage.xdotool("key", "Escape")
        try:
            wait_until(lambda: self.picture()[0] != before, "the end of what is in front", limit=2)
        except AssertionError:
            return False
        return True

    def walk_through_everything(self):
        self.stage.wait_text(WAITING_TITLE)
        self.walk()
        self.stage.emulator("plug")
        self.stage.wait_text(CONNECTED)
        self.walk()
        self.assertEqual("\n".join(self.faults), "")


class MixdeskR2(Walk):
    models = ("r2",)

    def test_every_control_can_be_read_and_used(self):
        self.walk_through_everything()


if __name__ == "__main__":
    unittest.main()
