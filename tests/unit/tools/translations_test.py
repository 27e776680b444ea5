"""The check of translations/, on a tree of two documents and three languages with one fault planted at a time."""

import json
import pathlib
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
ROOT = pathlib.Path(__file__).resolve().parents[3]
sys.path.insert(0, str(ROOT / "tools"))

from linting import translations  # noqa: E402

LIST = 'const QStringList& programLanguages() { static const QStringList codes{"zh_CN", "en_US",\n "ja_JP"}; return codes; }\n'
DOCUMENTS = {
    "qml/Head.qml": 'import QtQuick\nText { text: qsTr("增益") + qsTr("关闭") + qsTr("VEXO 设备") }\n',
    "qml/Body.qml": 'import QtQuick\nText { text: qsTr("成功\\n增益为 ") + qsTr("%1 的设备").arg(1) + qsTr("增益") + qsTr("关闭") + qsTr("低") }\n',
}
TEXTS = {
    "en_US": {"增益": "Gain", "VEXO 设备": "VEXO device", "成功\n增益为 ": "Success\nGain is ", "%1 的设备": "Device of %1", "低": "Low",
              ("Head", "关闭"): "Close", ("Body", "关闭"): "Off"},
    "ja_JP": {"增益": "ゲイン", "VEXO 设备": "VEXO デバイス", "成功\n增益为 ": "完了\nゲイン: ", "%1 的设备": "%1 のデバイス", "低": "低",
              ("Head", "关闭"): "閉じる", ("Body", "关闭"): "オフ"},
}
GLOSSARY = {
    "names": ["VEXO"],
    "terms": [{"source": "增益", "texts": {"en_US": "Gain", "ja_JP": "ゲイン"}, "stems": {"ja_JP": "ゲイン"}}],
    "different": [{"source": "关闭", "contexts": ["Head"]}],
    "same": {"ja_JP": ["低"]},
    "english": [{"source": "关闭", "text": "Off"}, {"source": "成功\n增益为 ", "text": "Success\nGain is "}],
}


class Translations(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="vexo-translations-")
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name).resolve()
        self.write("app/SystemLanguage.cpp", LIST)
        for name, text in DOCUMENTS.items():
            self.write(name, text)
        (self.root / "translations").mkdir()
        self.glossary(GLOSSARY)
        translations.update(self.root)
        for code, texts in TEXTS.items():
            self.translate(code, texts)

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def glossary(self, content):
        self.write("translations/glossary.json", json.dumps(content))

    def file(self, code):
        return translations.language_file(self.root, code)

    def translate(self, code, texts):
        """Sets texts by their source, or by context and source."""
        tree = translations.ElementTree.parse(self.file(code))
        for context in tree.iter("context"):
            for message in context.iter("message"):
                source = message.findtext("source")
                text = texts.get((context.findtext("name"), source), texts.get(source))
                if text is not None:
                    message.find("translation").text = text
                    message.find("translation").attrib.pop("type", None)
        tree.write(self.file(code), encoding="utf-8")

    def replace(self, code, old, new):
        text = self.file(code).read_text(encoding="utf-8")
        self.assertIn(old, text)
        self.file(code).write_text(text.replace(old, new), encoding="utf-8")

    def assert_clean(self):
        self.assertEqual(translations.check(self.root).problems, [])

    def assert_told(self, *parts):
        problems = translations.check(self.root).problems
        self.assertTrue(any(all(part in problem for part in parts) for problem in problems), problems)

    def test_complete_languages_are_clean(self):
        self.assert_clean()

    def test_an_update_changes_nothing_that_is_complete(self):
        before = self.file("en_US").read_text(encoding="utf-8")
        self.assertEqual(translations.update(self.root), {"zh_CN": 0, "en_US": 0, "ja_JP": 0})
        self.assertEqual([entry for entry in translations.entries_of(self.file("en_US")) if entry.state], [])
        self.assertIn("Device of %1", before)
        self.assert_clean()

    def test_an_update_takes_in_a_new_text_and_drops_an_old_one(self):
        self.write("qml/Head.qml", DOCUMENTS["qml/Head.qml"].replace("VEXO 设备", "新的"))
        self.assertEqual(translations.update(self.root), {"zh_CN": 0, "en_US": 1, "ja_JP": 1})
        self.assertNotIn("VEXO", self.file("en_US").read_text(encoding="utf-8"))
        self.assert_told("VexoDeck_en_US.ts", 'Head: "新的"', "is unfinished")

    def test_a_text_that_a_language_lacks_is_told(self):
        self.write("qml/Head.qml", DOCUMENTS["qml/Head.qml"].replace("VEXO 设备", "VEXO 设备 2"))
        for code in ("zh_CN", "en_US", "ja_JP"):
            self.assert_told(f"VexoDeck_{code}.ts", 'Head: "VEXO 设备 2"', "is missing")

    def test_a_text_that_no_document_has_is_told(self):
        self.write("qml/Head.qml", DOCUMENTS["qml/Head.qml"].replace(' + qsTr("VEXO 设备")', ""))
        self.assert_told("VexoDeck_ja_JP.ts", 'Head: "VEXO 设备"', "is stale")

    def test_a_vanished_entry_is_told(self):
        self.replace("en_US", "<translation>Low", '<translation type="vanished">Low')
        self.assert_told("VexoDeck_en_US.ts", 'Body: "低"', "is stale")

    def test_an_unfinished_text_is_told(self):
        self.replace("en_US", "<translation>Low", '<translation type="unfinished">Low')
        self.assert_told("VexoDeck_en_US.ts", 'Body: "低"', "is unfinished")

    def test_an_empty_text_is_told(self):
        self.translate("en_US", {"低": ""})
        self.assert_told("VexoDeck_en_US.ts", 'Body: "低"', "is unfinished")

    def test_a_language_without_a_file_is_told(self):
        self.file("ja_JP").unlink()
        self.assert_told("VexoDeck_ja_JP.ts: is missing")

    def test_a_file_that_is_no_language_is_told(self):
        self.write("translations/VexoDeck_ja.ts", self.file("ja_JP").read_text(encoding="utf-8"))
        self.assert_told("VexoDeck_ja.ts: is no language")

    def test_a_file_for_another_language_is_told(self):
        self.replace("ja_JP", 'language="ja_JP"', 'language="ja"')
        self.assert_told("VexoDeck_ja_JP.ts: is written for the language ja")

    def test_a_lost_placeholder_is_told(self):
        self.translate("en_US", {"%1 的设备": "Device"})
        self.assert_told("placeholders")

    def test_another_placeholder_is_told(self):
        self.translate("en_US", {"%1 的设备": "Device of %2"})
        self.assert_told("placeholders")

    def test_a_lost_line_break_is_told(self):
        self.translate("ja_JP", {"成功\n增益为 ": "完了 ゲイン: "})
        self.assert_told("VexoDeck_ja_JP.ts", "line breaks")

    def test_a_lost_blank_at_the_end_is_told(self):
        self.translate("ja_JP", {"成功\n增益为 ": "完了\nゲイン:"})
        self.assert_told("ends with other blanks")

    def test_a_blank_too_many_at_the_beginning_is_told(self):
        self.translate("ja_JP", {"%1 的设备": " %1 のデバイス"})
        self.assert_told("begins with other blanks")

    def test_a_lost_name_is_told(self):
        self.translate("en_US", {"VEXO 设备": "Vexo device"})
        self.assert_told('lacks the name "VEXO"')

    def test_a_text_that_is_its_source_is_told(self):
        self.translate("ja_JP", {"VEXO 设备": "VEXO 设备"})
        self.assert_told("VexoDeck_ja_JP.ts", "is the same as its source")

    def test_chinese_in_a_language_without_it_is_told(self):
        self.translate("en_US", {"%1 的设备": "Device 的 %1"})
        self.assert_told("VexoDeck_en_US.ts", "has Chinese letters")

    def test_simplified_letters_in_another_language_of_them_are_told(self):
        self.translate("ja_JP", {"%1 的设备": "%1 の设备"})
        self.assert_told('has the letter "设"')

    def test_quotation_marks_that_are_drawn_wide_are_told(self):
        self.translate("en_US", {"%1 的设备": "Device of “%1”"})
        self.assert_told("VexoDeck_en_US.ts", "drawn wide")

    def test_a_word_in_two_alphabets_is_told(self):
        self.translate("en_US", {"%1 的设备": "Dеvice of %1"})
        self.assert_told("mixes two alphabets")

    def test_another_word_for_a_term_is_told(self):
        self.translate("en_US", {"增益": "Amplification"})
        self.assert_told('"Gain" in the glossary')

    def test_a_longer_text_without_its_term_is_told(self):
        self.translate("ja_JP", {"成功\n增益为 ": "完了\n増幅: "})
        self.assert_told("lacks the glossary's word")

    def test_an_english_text_that_is_given_stands_letter_by_letter(self):
        self.translate("en_US", {"成功\n增益为 ": "Success\nGain is now "})
        self.assert_told("shall be", "Gain is ")

    def test_a_given_text_does_not_bind_a_context_that_differs(self):
        self.translate("en_US", {("Head", "关闭"): "Shut"})
        self.assert_clean()
        self.translate("en_US", {("Body", "关闭"): "Shut"})
        self.assert_told('Body: "关闭"', 'shall be "Off"')

    def test_two_texts_for_one_source_are_told(self):
        self.glossary({**GLOSSARY, "terms": []})
        self.translate("en_US", {("Head", "增益"): "Level"})
        self.assert_told('is "Level"', '"Gain" in Body')

    def test_a_source_language_that_differs_from_its_source_is_told(self):
        self.translate("zh_CN", {"低": "高"})
        self.assert_told("VexoDeck_zh_CN.ts", "differs from its source")

    def test_rows_of_the_glossary_that_nothing_meets_are_told(self):
        self.glossary({**GLOSSARY, "same": {"ja_JP": ["低", "高"]}, "different": [{"source": "关闭", "contexts": ["Head", "Foot"]}]})
        self.assert_told("glossary.json", '"高" is no text')
        self.assert_told("glossary.json", "does not stand in Foot")

    def test_a_tree_without_a_list_of_languages_is_told(self):
        self.write("app/SystemLanguage.cpp", "")
        self.assert_told("no list of codes")


if __name__ == "__main__":
    unittest.main()
