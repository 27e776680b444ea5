"""The icons of programs on the screen: they show as soon as they are made, and none but those of the inventory is read."""

import json
import pathlib
import shutil
import subprocess
import sys
import unittest

import numpy
from PIL import Image

from log_check import TYPED_LOG, warnings_of
from screens import open_main
from sound import tone
from sound_case import SoundCase
from stage import wait_until

sys.path.append(str(pathlib.Path(__file__).parent / "sound"))
from desktop_files import desktop_entry, endless_svg  # noqa: E402

ADD_BUTTON = "添加应用"
MAGENTA = (255, 0, 255)


class Icons(SoundCase):
    plugged = True

    def setUp(self):
        super().setUp()
        self.sound.add_sink("spk", "Speakers")
        self.picture = self.stage.folder / "magenta.png"
        subprocess.run(["convert", "-size", "64x64", "xc:#ff00ff", str(self.picture)], check=True)

    def play(self, name, icon):
        """A program that plays, with a desktop entry that names an icon."""
        entry = self.stage.folder / "data" / "applications" / f"{name}.desktop"
        entry.parent.mkdir(parents=True, exist_ok=True)
        entry.write_text(desktop_entry(name, f"Exec={name}", f"Icon={icon}"), encoding="utf-8")
        program = self.stage.folder / name
        shutil.copy(shutil.which("pacat"), program)
        return self.sound.play(tone(440, 2), "spk", name, program=program)

    def magenta_pixels(self):
        shot = Image.open(self.stage.screenshot(self.stage.folder / "screen.png")).convert("RGB")
        return int((numpy.asarray(shot) == MAGENTA).all(axis=2).sum())

    def test_an_icon_shows_in_the_list_that_was_open_before_it_was_made(self):
        self.play("painted", self.picture)
        program = self.start(environment=TYPED_LOG)
        open_main(self.stage)
        self.stage.click(ADD_BUTTON)
        self.stage.wait_text("painted", "list item")
        wait_until(lambda: self.magenta_pixels() > 100, "the icon in the list")
        self.stage.click("painted", "list item")
        self.stage.wait_no_text("painted", "list item")
        wait_until(lambda: self.magenta_pixels() > 100, "the icon on the strip")
        self.assertEqual(warnings_of(program.log), [])
        self.assertEqual(self.quit(program), 0)

    def test_a_picture_that_takes_for_ever_does_not_hold_the_end(self):
        endless = self.stage.folder / "endless.svg"
        endless.write_text(endless_svg(), encoding="utf-8")
        self.play("endless", endless)
        program = self.start()
        open_main(self.stage)
        self.stage.click(ADD_BUTTON)
        self.stage.click("endless", "list item")
        self.stage.wait_text("endless", "slider")
        self.assertEqual(self.quit(program), 0)
        self.assertNotIn("Icons are still being made", program.log)

    def test_a_stored_entry_shows_its_icon_from_the_folder_of_icons_alone(self):
        icons = self.stage.folder / "cache" / "VexoDeck" / "icons"
        icons.mkdir(parents=True)
        shutil.copy(self.picture, icons / "kept.png")

        def entry(name, path):
            return {"name": name, "bundleIdentifier": f"file:///opt/{name}", "processIdentifier": "4711", "isInput": False,
                    "iconFilePath": f"file://{path}"}

        def quoted(record):
            return json.dumps(json.dumps(record))

        self.stage.store_setting("appList", ", ".join(map(quoted, [
            entry("foreign", self.picture), entry("climbing", f"{icons}/../../../magenta.png")])))
        program = self.start(environment=TYPED_LOG)
        open_main(self.stage)
        self.stage.wait_text("climbing", "slider")
        self.stage.steady_screenshot(self.stage.folder / "screen.png")
        self.assertEqual(self.magenta_pixels(), 0)
        self.assertEqual(self.quit(program), 0)
        self.stage.store_setting("appList", ", ".join(map(quoted, [entry("foreign", self.picture),
                                                                   entry("kept", icons / "kept.png")])))
        program = self.start(environment=TYPED_LOG)
        open_main(self.stage)
        self.stage.wait_text("kept", "slider")
        wait_until(lambda: self.magenta_pixels() > 100, "the icon of the inventory")
        self.assertEqual(warnings_of(program.log), [])
        self.assertEqual(self.quit(program), 0)


if __name__ == "__main__":
    unittest.main()
