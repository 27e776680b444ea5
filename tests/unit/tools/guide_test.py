"""The user's guide: its words in bold are texts of the program in that language, its links lead somewhere, and both
languages have the same chapters."""

import pathlib
import re
import unittest
import xml.etree.ElementTree as ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[3]
GUIDE = ROOT / "docs" / "guide"
# Page and the language of its screens.
PAGES = {"en.md": "en_US", "zh.md": "zh_CN"}
BOLD = re.compile(r"\*\*(.+?)\*\*", re.DOTALL)
HEADING = re.compile(r"^(#+) (.+)$", re.MULTILINE)
LINK = re.compile(r"\]\(([^)\s]+)\)")
LITERAL = re.compile(r'"((?:\\.|[^"\\\n])*)"')
# The page explains what bold means.
ITS_OWN = {"bold", "粗体"}


def page_text(name):
    return (GUIDE / name).read_text(encoding="utf-8")


def texts_on_the_screen(code):
    """The translated texts, and those of the documents that are the same in every language."""
    translations = ElementTree.parse(ROOT / "translations" / f"VexoDeck_{code}.ts")
    texts = {" ".join(translation.text.split()) for translation in translations.iter("translation") if translation.text}
    for document in (ROOT / "qml").rglob("*.qml"):
        texts.update(text for text in LITERAL.findall(document.read_text(encoding="utf-8")) if text.isascii())
    return texts


def unknown_words(page, texts):
    words = (" ".join(word.split()) for word in BOLD.findall(page))
    return [word for word in words if word not in texts | ITS_OWN]


def anchor_of(heading):
    """As the pages' viewers make it."""
    return re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


def dead_links(page):
    anchors = {anchor_of(heading) for _, heading in HEADING.findall(page)}
    links = [link for link in LINK.findall(page) if "://" not in link]
    return [link for link in links if not (link[1:] in anchors if link.startswith("#") else (GUIDE / link.split("#")[0]).exists())]


class Guide(unittest.TestCase):
    def test_words_in_bold_stand_on_the_screen(self):
        for name, code in PAGES.items():
            with self.subTest(page=name):
                self.assertGreater(len(BOLD.findall(page_text(name))), 50)
                self.assertEqual(unknown_words(page_text(name), texts_on_the_screen(code)), [])

    def test_a_word_that_is_not_on_the_screen_is_found(self):
        page = "Press **Start**, then **No such button**, and\nread **Connect Your\nVEXO Device**."
        self.assertEqual(unknown_words(page, texts_on_the_screen("en_US")), ["No such button"])

    def test_links_lead_somewhere(self):
        for name in ("README.md", *PAGES):
            with self.subTest(page=name):
                self.assertEqual(dead_links(page_text(name)), [])

    def test_a_dead_link_is_found(self):
        page = "## A page\n[a](#a-page) [b](#another) ![c](../pictures/none.png) [d](en.md) [e](https://example.org/none)"
        self.assertEqual(dead_links(page), ["#another", "../pictures/none.png"])

    def test_both_languages_have_the_same_chapters(self):
        levels = {name: [len(marks) for marks, _ in HEADING.findall(page_text(name))] for name in PAGES}
        self.assertEqual(*levels.values())


if __name__ == "__main__":
    unittest.main()
