"""The device drawer of the running program: its controls under a real mouse, beside the virtual device."""

from screens import BACK_BUTTON, CLOSE_BUTTON, open_drawer, open_main
from stage import wait_until

# Half of a slider's handle: the margin at both ends of its track.
HANDLE_HALF = 7


class Panel:
    def __init__(self, stage):
        self.stage = stage

    # ---- ways

    def fill_screen(self):
        """Makes the main window as large as the screen."""
        # It may disappear for a moment while it gets its frame.
        window = wait_until(lambda: self.stage.windows("Vexo Deck"), "the main window")[0]
        self.stage.xdotool("windowmove", window, 0, 0, "windowsize", window, *self.stage.size)

    def open(self):
        """From the welcome page with a connected device to the open drawer."""
        open_main(self.stage)
        open_drawer(self.stage)
        self.stage.wait_at_rest(BACK_BUTTON, "button")

    def open_page(self, name):
        self.stage.click(name, "page tab")
        wait_until(lambda: "selected" in self.stage.find(name, "page tab")["states"], f"the page {name}")
        self.rest_pointer()

    def rest_pointer(self):
        """The mouse where nothing answers it."""
        self.stage.xdotool("mousemove", 2, self.stage.size[1] - 2)

    # ---- windows

    def wait_window(self, title):
        """Waits until a window stands and can be seen; gives its place and size."""
        window = wait_until(lambda: self.stage.windows(title), f"the window {title!r}")[0]
        self.wait("frame", title)
        return self.stage.window_extents(window)

    def wait_no_window(self, title):
        wait_until(lambda: not self.stage.windows(title), f"the window {title!r} to close")

    def close_window(self, title, key=None):
        """Presses the close button of the window's own title bar, or a key."""
        left, top, width, height = self.wait_window(title)
        if key:
            self.stage.xdotool("key", key)
            self.wait_no_window(title)
            return

        def inside(control):
            x, y, *_ = control["extents"]
            return left <= x < left + width and top <= y < top + height

        def button():
            return next((control for control in self.stage.controls() if control["name"] == CLOSE_BUTTON and inside(control)
                         and "showing" in control["states"]), None)

        self.stage.click_control(wait_until(button, f"the close button of {title!r}"))
        self.wait_no_window(title)
        self.rest_pointer()

    # ---- what is seen

    def find(self, role, name):
        return self.stage.find(name, role)

    def wait(self, role, name):
        return self.stage.wait_text(name, role)

    def is_checked(self, role, name):
        return "checked" in self.wait(role, name)["states"]

    def wait_shown(self, expected):
        """Waits until the screen shows what a dictionary says of (role, name): True or False for a switch or a tile,
        a number for a slider's value, a text for a description, None for a control that is not there. A slider's
        text is expected of ("description of", name)."""

        last = {}

        def holds():
            nonlocal last
            last = self._differences(expected)
            return not last

        try:
            wait_until(holds, "the screen")
        except AssertionError:
            raise AssertionError(f"the screen shows {last}, and not {expected}") from None

    def shows(self, expected):
        """Whether the screen shows it now; see wait_shown()."""
        return not self._differences(expected)

    def _differences(self, expected):
        shown = {(control["role"], control["name"]): control
                 for control in reversed(self.stage.controls()) if "showing" in control["states"]}
        shown |= {("description of", name): control for (role, name), control in shown.items() if role == "slider"}
        return {key: self._aspect(shown.get(key), wanted) for key, wanted in expected.items()
                if self._aspect(shown.get(key), wanted) != wanted}

    @staticmethod
    def _aspect(control, wanted):
        if control is None:
            return None
        if isinstance(wanted, bool):
            return "checked" in control["states"]
        if isinstance(wanted, str):
            return control["description"]
        if wanted is None:
            return "there"
        return round(control["value"], 6)

    # ---- the mouse

    def click(self, role, name):
        self.stage.click(name, role)

    def pick(self, name, color, opens):
        """Types a colour into the picker of a tile, which has to be opened or is open, and closes the picker."""
        if opens:
            self.click("button", name)
        self.stage.click_control(self.stage.wait_at_rest("HEX", "text"))
        self.type_color(color)

    def type_color(self, color):
        """Into the field of a picker that has the focus. Then the picker is closed."""
        self.stage.xdotool("type", color[1:])
        self.stage.xdotool("key", "Escape")
        self.stage.wait_no_text("HEX", "text")

    def press_slider(self, name):
        """Presses the mouse on a slider's handle; gives its place, for move_slider."""
        slider = self.stage.wait_at_rest(name, "slider")
        self.stage.xdotool("mousemove", *self.place(slider, slider["value"]), "mousedown", 1)
        return slider

    def move_slider(self, slider, value):
        x, y = self.place(slider, value)
        self.stage.xdotool("mousemove", x - 2, y, "mousemove", x, y)

    def release(self):
        self.stage.xdotool("mouseup", 1)

    def place(self, slider, value):
        """Where the middle of the handle stands for a value."""
        left, top, width, height = slider["extents"]
        low, high = slider["range"]
        share = (min(max(value, low), high) - low) / (high - low)
        x = left + HANDLE_HALF + share * (width - 2 * HANDLE_HALF)
        return round(x * self.stage.scale), round((top + height / 2) * self.stage.scale)

    # ---- the virtual device

    def clear(self):
        self.stage.emulator("clear")

    def writes(self):
        """What the program has written since clear(), in order: (attribute, bytes)."""
        return [(write["attribute"], write["bytes"]) for write in self.stage.emulator("writes")["writes"]]

    def wait_writes(self, expected):
        """Waits for exactly these writes, in this order."""
        try:
            wait_until(lambda: len(self.writes()) >= len(expected), "the writes")
        except AssertionError:
            pass
        written = self.writes()
        if written != expected:
            raise AssertionError(f"the device was written {written}, and not {expected}")

    def turn(self, attribute, value):
        """Turns a knob of the plugged device; it has to tell the program."""
        answer = self.stage.emulator(f"set {attribute} {value}")
        if not answer["notified"]:
            raise AssertionError(f"nobody was told: {answer}")
