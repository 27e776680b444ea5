"""The check that pictures are as new as what they show, on a copy of the documents with one change at a time."""

import pathlib
import shutil
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
ROOT = pathlib.Path(__file__).resolve().parents[3]
sys.path[:0] = [str(ROOT / "tools"), str(ROOT / "tools" / "pictures")]

from freshness import FOLDERS, note, stale  # noqa: E402
from linting import pictures as check  # noqa: E402
from pictures import PICTURES  # noqa: E402

PAGES = "qml/VexoDeck/qml"


class Pictures(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="vexo-pictures-")
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name).resolve()
        for name in (*FOLDERS, "translations"):
            shutil.copytree(ROOT / name, self.root / name)
        (self.root / "tools" / "pictures").mkdir(parents=True)
        note(PICTURES, self.root)

    def change(self, name, old, new):
        path = self.root / name
        text = path.read_text(encoding="utf-8")
        self.assertIn(old, text)
        path.write_text(text.replace(old, new), encoding="utf-8")

    def expect_stale(self, wanted):
        self.assertEqual(stale(self.root), sorted(name for name in PICTURES if wanted(name)))

    def test_pictures_of_unchanged_documents_are_fresh(self):
        self.expect_stale(lambda name: False)

    def test_a_page_that_changes_makes_its_own_pictures_stale(self):
        self.change(f"{PAGES}/GeneralTab.qml", "SettingsPage {", "SettingsPage { opacity: 0.5;")
        self.expect_stale(lambda name: name.startswith("drawer-general"))
        self.assertIn("docs/pictures/drawer-general-r2.png is older than what it shows: tools/env tools/pictures/make "
                      "drawer-general-r2", check.check(self.root).problems)

    def test_a_part_that_changes_makes_the_pictures_of_its_pages_stale(self):
        self.change(f"{PAGES}/UrlField.qml", "HotkeyField {", "HotkeyField { opacity: 0.5;")
        self.expect_stale(lambda name: name.startswith("drawer-general"))

    def test_a_colour_of_the_theme_is_on_every_picture_of_a_document(self):
        self.change("qml/MediaControls/VxTheme.qml", "#1e1e1e", "#1e1e1f")
        self.expect_stale(lambda name: PICTURES[name].shows)

    def test_a_translation_makes_the_pictures_of_its_language_stale(self):
        self.change("translations/VexoDeck_ru_RU.ts", "<translation>Язык</translation>", "<translation>Речь</translation>")
        self.expect_stale(lambda name: name == "settings-ru")

    def test_a_sign_that_is_drawn_anew_makes_pictures_stale(self):
        self.change("qml/VexoDeck/icons/left.svg", "</svg>", "<g/></svg>")
        self.expect_stale(lambda name: "DeviceSettings" in PICTURES[name].shows)

    def test_comments_blanks_and_what_draws_nothing_do_not_count(self):
        self.change(f"{PAGES}/GeneralTab.qml", "import QtQuick\n", "// Another word.\nimport QtQuick\n\n\n")
        self.change("qml/MediaControls/ConfigMgr.qml", "import QtQml\n", "import QtQml\nimport QtQuick\n")
        self.expect_stale(lambda name: False)

    def test_a_picture_that_was_never_noted_is_stale(self):
        (self.root / "tools" / "pictures" / "shown.json").write_text("{}")
        self.expect_stale(lambda name: True)


if __name__ == "__main__":
    unittest.main()
