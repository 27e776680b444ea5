"""Markup in every text that comes from outside, in the whole program: it shows as it stands, and nothing that it names is
read or fetched."""

import ctypes
import json
import os
import pathlib
import shutil
import socket
import struct
import subprocess
import unittest

import numpy

from log_check import TYPED_LOG, warnings_of
from panel import Panel
from screens import CONNECTED, open_drawer, open_main
from sound import tone
from sound_case import SoundCase
from stage import wait_until
from system_case import BUILD

ADD_BUTTON = "添加应用"
EQUALIZER = "均衡器"
BAIT = "bait.png"


class Bait:
    """A picture that nobody may open, and a port of this machine that nobody may connect to. Markup names both."""

    IN_OPEN = 0x20
    IN_NONBLOCK = os.O_NONBLOCK

    def __init__(self, folder):
        self.path = pathlib.Path(folder) / BAIT
        subprocess.run(["convert", "-size", "64x64", "xc:red", str(self.path)], check=True)
        self.libc = ctypes.CDLL(None, use_errno=True)
        self.watch = self.libc.inotify_init1(self.IN_NONBLOCK)
        if self.watch < 0 or self.libc.inotify_add_watch(self.watch, str(self.path).encode(), self.IN_OPEN) < 0:
            raise OSError(ctypes.get_errno(), "inotify")
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.listener.setblocking(False)

    def close(self):
        os.close(self.watch)
        self.listener.close()

    def markup(self, what):
        """A text for one place, short enough for a device's name."""
        return f'{what}<img src="file://{self.path}"><b>b</b>'

    def link(self, what):
        return f'{what}<img src="http://127.0.0.1:{self.listener.getsockname()[1]}/"><a href="x">a</a>&amp;'

    def opened(self):
        """How often the picture was opened since the last call."""
        try:
            return len(os.read(self.watch, 65536)) // struct.calcsize("iIII")
        except BlockingIOError:
            return 0

    def fetched(self):
        try:
            self.listener.accept()[0].close()
            return True
        except BlockingIOError:
            return False


class OutsideTexts(SoundCase):
    def setUp(self):
        super().setUp()
        self.bait = Bait(self.stage.folder)
        self.addCleanup(self.bait.close)
        with open(self.bait.path, "rb"):
            pass
        self.assertEqual(self.bait.opened(), 1, "the watch tells an open")

    def play(self, file_name, name):
        """A program that plays under a name of its own."""
        executable = self.stage.folder / file_name
        shutil.copy(shutil.which("pacat"), executable)
        path = self.stage.folder / "tone.raw"
        path.write_bytes(numpy.asarray(tone(440, 2), dtype=numpy.float32).tobytes())
        feeder = subprocess.Popen(["sh", "-c", f'while cat "{path}"; do :; done'], stdout=subprocess.PIPE,
                                  stderr=subprocess.DEVNULL)
        self.addCleanup(feeder.wait)
        self.addCleanup(feeder.kill)
        player = self.sound.client([executable, "--playback", "--raw", "--format=float32le", "--rate=48000",
                                    "--channels=2", f"--client-name={name}", f"--stream-name={name}",
                                    f"--property=application.name={name}"], stdin=feeder.stdout)
        feeder.stdout.close()
        wait_until(lambda: self.sound.playback_of(player.pid) or player.poll() is not None, f"{name} to play")
        self.assertIsNone(player.poll())

    def describe_program(self, file_name, name):
        """A desktop entry that gives a program its name."""
        folder = self.stage.folder / "data" / "applications"
        folder.mkdir(parents=True)
        (folder / f"{file_name}.desktop").write_text(
            f"[Desktop Entry]\nType=Application\nName={name}\nExec={self.stage.folder / file_name}\n", encoding="utf-8")

    def store(self, **lists):
        """Lists of the settings, each entry as the JSON text of a record."""
        settings = self.stage.folder / "config" / "Vexo Deck" / "Settings.conf"
        settings.parent.mkdir(parents=True, exist_ok=True)

        def quoted(record):
            text = json.dumps(record).replace("\\", "\\\\").replace('"', '\\"')
            return f'"{text}"'

        lines = [f"{key}={', '.join(map(quoted, records))}" for key, records in lists.items()]
        settings.write_text("\n".join(["[General]", *lines, ""]), encoding="utf-8")

    def check_untouched(self, where):
        self.assertEqual(self.bait.opened(), 0, f"{where}: the picture was opened")
        self.assertFalse(self.bait.fetched(), f"{where}: the address was fetched")

    def picture(self, name):
        self.stage.steady_screenshot(BUILD / "outside-texts" / f"{name}.png")

    def test_markup_of_a_device_shows_as_it_stands(self):
        name, serial = self.bait.markup("N"), self.bait.link("S")
        self.stage.emulator(f"identity name {name}")
        self.stage.emulator(f"identity serial {serial}")
        program = self.start(environment=TYPED_LOG)
        self.stage.emulator("plug")
        self.stage.wait_text(CONNECTED)
        self.stage.wait_text(name, "heading")
        self.picture("welcome")
        self.check_untouched("the welcome page")
        open_main(self.stage)
        open_drawer(self.stage)
        self.stage.wait_text(name, "heading")
        self.stage.wait_text(f"SN:{serial} V1.07")
        self.picture("drawer")
        self.check_untouched("the drawer")
        self.assertEqual(warnings_of(program.log), [])

    def test_markup_of_programs_microphones_and_stored_records_shows_as_it_stands(self):
        played, entry, stored, preset = map(self.bait.markup, ("played", "entry", "stored", "preset"))
        # Names of sources are written without quotes.
        microphone = f"<b>microphone</b><img src=file://{self.bait.path}>"
        file_name = "<b>file<img src='x.png'>"
        self.store(
            appList=[self.record(stored), self.record(self.bait.link("fetched")), self.record("", file_name)],
            device_equalizer_values=[{"name": preset, "value": [0] * 12, "img": str(self.bait.path)}] * 8)
        self.sound.add_microphone("mic", microphone)
        self.describe_program("entry", entry)
        self.play("entry", "another")
        self.play("played", played)
        program = self.start(environment=TYPED_LOG)
        self.stage.emulator("plug")
        open_main(self.stage)
        for name in (stored, self.bait.link("fetched"), file_name):
            self.stage.wait_text(name)
        self.picture("strips")
        self.stage.click(ADD_BUTTON)
        for name in (played, entry, microphone):
            self.stage.wait_text(name, "list item")
        self.picture("picker")
        self.stage.click(played, "list item")
        self.stage.wait_text(played, "combo box")
        self.check_untouched("the mixer")
        self.check_equalizer(preset)
        self.assertEqual(warnings_of(program.log), [])

    def record(self, name, file_name="program"):
        # No icon of the inventory.
        return {"name": name, "bundleIdentifier": f"file:///opt/{name or 'nameless'}/{file_name}",
                "processIdentifier": "4711", "isInput": False, "iconFilePath": f"file://{self.bait.path}"}

    def check_equalizer(self, preset):
        panel = Panel(self.stage)
        open_drawer(self.stage)
        self.stage.click_control(self.stage.wait_at_rest(EQUALIZER, "button"))
        panel.wait_window(EQUALIZER)
        self.stage.click_control(self.stage.wait_at_rest(preset, "radio button"))
        self.picture("equalizer")
        self.check_untouched("the equaliser")


if __name__ == "__main__":
    unittest.main()
