"""One device after another: whichever comes, however soon, wherever the last one was cut off, the screens show the
device that is there and nothing of the one before, its knobs move them, and they reach it."""

import itertools
import os
import random
import time
import unittest
from dataclasses import dataclass

import panel_table as table
from log_check import TYPED_LOG, warnings_of
from panel import Panel
from screens import CONNECTED
from stage import Stage, wait_until
from system_case import BUILD, LONG, SystemCase

# The words of the devices on the stage and the models that they are.
DEVICES = {"r2": table.MIXDESK_R2, "r2-2": table.MIXDESK_R2, "m40": table.VOXMIC_M40, "m40-2": table.VOXMIC_M40,
           "t40": table.VOXMIC_T40}
OTHER_SERIAL = {"r2": "r2-2", "r2-2": "r2", "m40": "m40-2", "m40-2": "m40"}
OTHER_MODEL = {"r2": "m40", "m40": "t40", "t40": "r2"}
AWAY_SECONDS = (0, 0.2, 0.5, 1, 3, 6, 20)
RANDOM_CHANGES = 100 if LONG else 6
# The processes that the random changes are spread over, see CMakeLists.txt.
SHARDS = 5
# In ./test the long times away are rare.
AWAY_WEIGHTS = (3, 3, 3, 3, 3, 3, 3) if LONG else (4, 3, 3, 3, 2, 1, 0.2)
# The beginning of a notification of 500 bytes, as much as fits in one report of any model.
HALF_FRAME = "5512F401"
# What no screen shows when it is read: attribute and the word of its line in the log. The switch of the noise reduction
# takes what comes while its page exists; the mixer's automatic gain shows while it runs.
UNSEEN = {"listen_output": "监听输出", "other_light_off": "其他灯光开关", "ai_jianzao": "AI降噪", "auto_gain": "自动增益"}


@dataclass(frozen=True)
class Change:
    """Which device comes, how long after the one before has gone, whether it has the link address of that one, and
    whether that one goes in the middle of a frame."""
    comes: str
    away: float
    same_address: bool
    cut: bool


class Swapping(SystemCase):
    models = ("r2", "r2", "m40", "m40", "t40")

    def make_stage(self):
        return Stage(BUILD, self.models, size=(1300, 1300))

    def setUp(self):
        super().setUp()
        self.seed = int(os.environ.get("VEXO_SEED", random.randrange(1 << 31)))
        print(f"seed {self.seed}", flush=True)
        self.random = random.Random(self.seed)
        self.panel = Panel(self.stage)
        self.program = self.start(environment=TYPED_LOG)
        self.panel.fill_screen()
        self.present = None
        self.address = None
        self.next_address = 0x2000
        self.values = {}
        for letter, (word, model) in zip("ABCDE", DEVICES.items()):
            self.on(word, f"identity name {model.name} {letter}")

    def tearDown(self):
        if self.program.process.poll() is None:
            self.assertEqual(self.quit(self.program), 0)
        self.assertEqual(warnings_of(self.program.log), [])

    def on(self, word, command):
        return self.stage.emulator(f"on {word} {command}")

    # ---- a change

    def draw_values(self, word):
        """A value for each attribute that the program reads, none of them that of the device before."""
        r2 = word.startswith("r2")
        ranges = {"mute": (0, 1), "mic_gain": (1, 30) if r2 else (0, 18), "listen_output": (0, 9),
                  "other_light_off": (0, 1), "listen_volume": (1, 30) if r2 else (0, 13),
                  "mic_listen_ratio": (1, 30) if r2 else (0, 13)}
        ranges |= {"power": (0, 1), "auto_gain": (0, 0)} if r2 else {"auto_gain_on": (0, 1), "ai_jianzao": (0, 2)}
        drawn = {}
        for attribute, (low, high) in ranges.items():
            choices = [value for value in range(low, high + 1) if value != self.values.get(attribute)]
            drawn[attribute] = self.random.choice(choices or [low])
        return drawn

    def change(self, change):
        values = self.draw_values(change.comes)
        if self.address is None or not change.same_address:
            self.next_address += 1
            self.address = self.next_address
        self.told_before = {attribute: self.program.log.count(f"收到{word}消息:") for attribute, word in UNSEEN.items()}
        if self.present is not None:
            if change.cut:
                self.cut_in_a_frame()
            self.on(self.present, "unplug")
            # This pause is what the test varies.
            time.sleep(change.away)
        self.on(change.comes, f"identity address 2 3 {self.address}")
        for attribute, value in values.items():
            self.on(change.comes, f"set {attribute} {value}")
        self.stage.emulator("clear")
        self.on(change.comes, "plug")
        self.present, self.values = change.comes, values

    def cut_in_a_frame(self):
        """The device has sent the beginning of a frame, and the program has read it."""
        data_log = self.stage.data_file("hid_data.log")

        def count():
            return data_log.read_text(encoding="utf-8").count(f"[RX] {HALF_FRAME}")

        before = count()
        self.on(self.present, f"send-raw hex:{HALF_FRAME}")
        wait_until(lambda: count() > before, "half a frame at the program")

    # ---- what is then seen

    def check(self):
        self.on(self.present, "wait open 20000")
        state = self.on(self.present, "state")["identity"]
        name, serial, version = state["name"], state["serial"], state["version"]
        self.stage.wait_screen(CONNECTED, name)
        self.panel.open()
        self.stage.wait_screen((name, "heading"), f"SN:{serial} V{version[0]}.{version[1]:02d}")
        self.panel.wait_shown(self.shown_on_the_microphone_page())
        for attribute in UNSEEN.keys() & self.values.keys():
            self.check_told(attribute)
        self.check_knob()
        self.check_control()
        self.panel.open_page(table.MONITOR_PAGE)
        self.panel.wait_shown({(table.SLIDER, "监听音量"): self.values["listen_volume"],
                               (table.SLIDER, "麦克风/电脑监听比"): self.values["mic_listen_ratio"]})
        self.panel.open_page(table.GENERAL_PAGE)
        self.stage.wait_text(f"{name} 当前已是最新版本", "label")
        if self.present.startswith("m40"):
            # The page begins with the setting, and follows what the device tells from then on.
            for value in (self.values["other_light_off"], 1 - self.values["other_light_off"]):
                self.on(self.present, f"set other_light_off {value}")
                self.panel.wait_shown({(table.SWITCH, "指示灯"): value == 1})

    def shown_on_the_microphone_page(self):
        shown = {(table.SLIDER, "增益"): self.values["mic_gain"], (table.SWITCH, "静音"): self.values["mute"] == 1}
        if "power" in self.values:
            return shown | {(table.SWITCH, "48V幻象电源"): self.values["power"] == 1}
        return shown | {(table.SWITCH, "自动增益"): self.values["auto_gain_on"] == 1}

    def check_told(self, attribute):
        """What came since the change."""
        word = UNSEEN[attribute]

        def told():
            lines = [line for line in self.program.log.splitlines() if f"收到{word}消息:" in line]
            return lines[self.told_before[attribute]:]

        lines = wait_until(told, f"{attribute} of the new device")
        self.assertTrue(lines[-1].endswith(f"[{self.values[attribute]}]"), f"{attribute}: {lines}")

    def check_knob(self):
        low = 1 if "power" in self.values else 0
        value = self.values["mic_gain"] - 1 if self.values["mic_gain"] > low else low + 1
        answer = self.on(self.present, f"set mic_gain {value}")
        self.assertEqual(answer["notified"], 1, "nobody has subscribed")
        self.panel.wait_shown({(table.SLIDER, "增益"): value})
        self.values["mic_gain"] = value
        if "ai_jianzao" in self.values:
            strength = (self.values["ai_jianzao"] + 1) % 3
            self.on(self.present, f"set ai_jianzao {strength}")
            self.panel.wait_shown(table.noise_reduction(strength))
            self.values["ai_jianzao"] = strength

    def check_control(self):
        muted = 1 - self.values["mute"]
        self.panel.click(table.SWITCH, "静音")
        self.on(self.present, f"wait value mute {muted} 20000")
        self.panel.wait_shown({(table.SWITCH, "静音"): muted == 1})
        self.values["mute"] = muted

    def run_changes(self, first, changes):
        """The first that fails ends the test: the next begins where it has ended."""
        self.change(Change(first, 0, False, False))
        self.check()
        for number, change in enumerate(changes):
            began = time.monotonic()
            before = self.present
            try:
                self.change(change)
                self.check()
            except AssertionError as error:
                raise AssertionError(f"change {number}, {before} to {change}, seed {self.seed}: {error}") from None
            print(f"{before} to {change}: {time.monotonic() - began:.1f} s", flush=True)


class WorstSwaps(Swapping):
    """A few that tell the kinds of trouble apart."""

    def swap(self, first, *changes):
        self.run_changes(first, changes)

    def test_another_model_soon_after(self):
        self.swap("m40", Change("t40", 0.5, False, False))

    def test_another_model_long_after(self):
        self.swap("r2", Change("m40", 6, False, False))

    def test_the_same_device_at_once(self):
        self.swap("m40", Change("m40", 0, True, False))

    def test_the_same_model_with_another_serial_number_and_the_same_address(self):
        self.swap("r2", Change("r2-2", 0.2, True, False))

    def test_a_device_that_is_pulled_off_within_a_frame(self):
        self.swap("t40", Change("t40", 1, True, True))


@unittest.skipUnless(LONG, "one of every kind takes minutes; the random changes are drawn from them")
class Matrix(Swapping):
    """Every combination."""

    def run_matrix(self, first, following):
        def changes():
            present = first
            for away, same_address, cut in itertools.product(AWAY_SECONDS, (True, False), (True, False)):
                present = following[present]
                yield Change(present, away, same_address, cut)

        self.run_changes(first, changes())

    def test_the_same_device(self):
        self.run_matrix("m40", {"m40": "m40"})

    def test_the_same_model_with_another_serial_number(self):
        self.run_matrix("r2", OTHER_SERIAL)

    def test_another_model(self):
        self.run_matrix("r2", OTHER_MODEL)


class RandomSwaps:
    shard = 0

    def test_random_changes(self):
        # Each process of one run has a sequence of its own.
        self.random = random.Random(self.seed * SHARDS + self.shard)
        words = list(DEVICES)
        self.run_changes(self.random.choice(words), [self.draw_change(words) for _ in range(RANDOM_CHANGES)])

    def draw_change(self, words):
        return Change(self.random.choice(words), self.random.choices(AWAY_SECONDS, AWAY_WEIGHTS)[0],
                      self.random.random() < 0.5, self.random.random() < 0.4)


class Random0(RandomSwaps, Swapping):
    pass


class Random1(RandomSwaps, Swapping):
    shard = 1


class Random2(RandomSwaps, Swapping):
    shard = 2


class Random3(RandomSwaps, Swapping):
    shard = 3


class Random4(RandomSwaps, Swapping):
    shard = 4


if __name__ == "__main__":
    unittest.main()
