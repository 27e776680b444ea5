"""The tour that ./run makes without a display: its pictures, and sound in them."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

import numpy
from PIL import Image, ImageChops

from system_case import BUILD, ROOT

PICTURES = ["1-waiting.png", "2-connected.png", "3-menu.png", "4-main.png", "5-drawer.png", "5-drawer-general.png",
            "5-drawer-microphone.png", "5-drawer-monitor.png", "6-main.png", "7-disconnected.png"]


class Tour(unittest.TestCase):
    def setUp(self):
        self.out = pathlib.Path(tempfile.mkdtemp(prefix="vexo-tour-"))
        self.addCleanup(shutil.rmtree, self.out)

    def picture(self, name):
        return Image.open(self.out / name).convert("RGB")

    def green_pixels(self, name):
        """Pixels of the colour of the meters, which nothing else has on the working screen."""
        red, green, blue = numpy.moveaxis(numpy.asarray(self.picture(name)), 2, 0)
        return int(((green > 180) & (red < 120) & (blue < 140)).sum())

    def test_it_leaves_a_picture_of_every_state(self):
        result = subprocess.run([sys.executable, ROOT / "tools" / "pictures" / "tour.py", "--build", BUILD, "--out", self.out, "m40"],
                                capture_output=True, text=True, stdin=subprocess.DEVNULL, timeout=300)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        self.assertEqual(sorted(os.listdir(self.out)), sorted(PICTURES))
        for name in PICTURES:
            self.assertIn(f": {self.out / name}\n", result.stdout)
        for one, next_one in zip(PICTURES, PICTURES[1:]):
            changed = sum(ImageChops.difference(self.picture(one), self.picture(next_one)).convert("L").histogram()[20:])
            self.assertGreater(changed, 1000, f"{next_one} shows what {one} shows")
        self.assertGreater(self.green_pixels("4-main.png"), 500, "sound on the meters")
        self.assertGreater(self.green_pixels("6-main.png"), 500, "sound on the meters")


if __name__ == "__main__":
    unittest.main()
