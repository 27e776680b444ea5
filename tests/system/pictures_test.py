"""The list of the documentation's pictures, against the pictures and the pages."""

import re
import unittest

from pictures import PICTURES
from steps import ROOT, STEPS


class Pictures(unittest.TestCase):
    def test_every_picture_has_a_step(self):
        self.assertEqual(sorted(path.stem for path in (ROOT / "docs" / "pictures").iterdir()), sorted(PICTURES))

    def test_every_step_makes_a_picture(self):
        self.assertEqual({picture.step for picture in PICTURES.values()}, set(STEPS))

    def test_every_picture_is_on_a_page(self):
        pages = [ROOT / "README.md", *(ROOT / "docs").rglob("*.md")]
        shown = {name for page in pages for name in re.findall(r"\(\S*pictures/(\S+)\.png\)", page.read_text(encoding="utf-8"))}
        self.assertEqual(sorted(shown), sorted(PICTURES))


if __name__ == "__main__":
    unittest.main()
