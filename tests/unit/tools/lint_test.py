"""The rules of tools/lint, on trees and documents made up for the purpose."""

import pathlib
import sys
import tempfile
import unittest
from unittest import mock

sys.dont_write_bytecode = True
ROOT = pathlib.Path(__file__).resolve().parents[3]
sys.path.insert(0, str(ROOT / "tools"))

from linting import documents, includes, operator_data, tidy  # noqa: E402

TABLE = """
Text before.

| Room | May include |
|---|---|
| `app` | `mixer`, `platform` |
| `mixer` | `platform/Clock.h` |
| `platform` | nothing |
| `tests` | `*` |
"""


class Tree(unittest.TestCase):
    """A tree of headers and sources, from paths to texts."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="vexo-lint-")
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name).resolve()
        self.write({
            "docs/architecture.md": TABLE,
            "app/main.cpp": '#include "mixer/Mixer.h"\n#include "platform/Sound.h"\n',
            "mixer/Mixer.h": '#include "Gain.h"\n#include "platform/Clock.h"\n#include <vector>\n',
            "mixer/Gain.h": "",
            "platform/Clock.h": "",
            "platform/Sound.h": "",
            "tests/Mixer_test.cpp": '#include "app/App.h"\n#include "mixer/Mixer.h"\n',
            "app/App.h": "",
        })

    def write(self, texts):
        for name, text in texts.items():
            path = self.root / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding="utf-8")

    def table(self, old, new):
        self.assertIn(old, TABLE)
        self.write({"docs/architecture.md": TABLE.replace(old, new)})

    def problems(self):
        return includes.check(self.root).problems


class IncludeTable(Tree):
    """Who may include whom."""

    def test_a_tree_that_keeps_to_its_table_is_clean(self):
        self.assertEqual(self.problems(), [])

    def test_an_include_that_the_table_does_not_allow_is_told_with_its_line(self):
        self.write({"platform/Sound.h": '#pragma once\n\n#include "mixer/Gain.h"\n'})
        self.assertEqual(self.problems(), ["platform/Sound.h:3: platform may not include mixer: mixer/Gain.h"])

    def test_a_way_around_by_a_relative_path_is_told_too(self):
        self.write({"platform/Sound.h": '#  include "../mixer/Gain.h"\n'})
        self.assertEqual(self.problems(), ["platform/Sound.h:1: platform may not include mixer: mixer/Gain.h"])

    def test_a_header_of_the_tree_in_angles_is_told_too(self):
        self.write({"platform/Sound.h": "#include <mixer/Gain.h>\n#include <vector>\n"})
        self.assertEqual(self.problems(), ["platform/Sound.h:1: platform may not include mixer: mixer/Gain.h"])

    def test_a_single_header_opens_no_other_of_its_room(self):
        self.write({"mixer/Gain.h": '#include "platform/Sound.h"\n'})
        self.assertEqual(self.problems(), ["mixer/Gain.h:1: mixer may not include platform: platform/Sound.h"])

    def test_a_room_inside_of_a_room_has_a_row_of_its_own(self):
        self.table("| `tests` |", "| `mixer/router` | `mixer` |\n| `tests` |")
        self.write({"mixer/router/Router.h": '#include "mixer/Gain.h"\n',
                    "mixer/Gain.h": '#include "router/Router.h"\n'})
        self.assertEqual(self.problems(),
                         ["mixer/Gain.h:1: mixer may not include mixer/router: mixer/router/Router.h"])

    def test_a_circle_of_rooms_is_told_with_its_way(self):
        self.table("| `platform` | nothing |", "| `platform` | `app` |")
        self.write({"platform/Sound.h": '#include "app/App.h"\n'})
        self.assertEqual(self.problems(), ["docs/architecture.md: a circle: app -> mixer -> platform -> app"])

    def test_a_circle_of_top_folders_is_told_though_their_rooms_form_none(self):
        self.table("| `platform` | nothing |", "| `platform` | `app/look` |\n| `app/look` | nothing |")
        self.write({"platform/Sound.h": '#include "app/look/Look.h"\n', "app/look/Look.h": ""})
        self.assertEqual(self.problems(), ["docs/architecture.md: a circle: app -> mixer -> platform -> app"])

    def test_the_bodies_of_services_are_top_folders_of_their_own(self):
        self.table("| `platform` | nothing |", "| `platform` | nothing |\n| `platform/linux` | `mixer`, `platform` |")
        self.write({"platform/linux/Sound.cpp": '#include "mixer/Mixer.h"\n#include "platform/Sound.h"\n'})
        self.assertEqual(self.problems(), [])

    def test_a_file_in_no_room_is_told(self):
        self.write({"cloud/Cloud.h": "", "Main.h": ""})
        self.assertEqual(self.problems(),
                         ["Main.h lies in no room of the table", "cloud/Cloud.h lies in no room of the table"])

    def test_a_permission_that_nothing_uses_is_told(self):
        self.write({"app/main.cpp": '#include "mixer/Mixer.h"\n'})
        self.assertEqual(self.problems(), ["docs/architecture.md: app may include platform, and no file does"])

    def test_a_room_that_is_no_folder_is_told(self):
        self.table("| `tests` |", "| `cloud` | nothing |\n| `tests` |")
        self.assertEqual(self.problems(), ["docs/architecture.md: cloud is no folder"])

    def test_nothing_but_its_like_includes_what_includes_everything(self):
        self.table("| `platform` | nothing |", "| `platform` | `tests` |")
        self.write({"platform/Sound.h": '#include "tests/Fake.h"\n', "tests/Fake.h": ""})
        self.assertEqual(self.problems(),
                         ["docs/architecture.md: platform may not include tests, which includes everything"])

    def test_an_include_of_no_file_is_told_unless_it_is_generated(self):
        self.write({"mixer/Gain.h": '#include "Gains.h"\n#include "main.moc"\n'})
        self.assertEqual(self.problems(), ['mixer/Gain.h:1: "Gains.h" is not in the tree: name it from the root folder'])

    def test_a_table_that_cannot_be_read_is_a_problem(self):
        self.table("| Room |", "| Folder |")
        self.assertEqual(self.problems(),
                         ['docs/architecture.md has no table with the header "| Room | May include |"'])
        self.table("| nothing |", "| nobody |")
        self.assertEqual(self.problems(),
                         ["a room that stands twice, or a cell that is no list: | `platform` | nobody |"])


class PlainText(unittest.TestCase):
    """Every text of a document is shown as plain text."""

    def found(self, text):
        """Line and first word of each finding."""
        return [(line, reason.split(" ")[0]) for line, reason in documents.ways_around_plain_text(text)]

    def test_a_text_without_a_format_is_told_with_its_line(self):
        self.assertEqual(documents.ways_around_plain_text('Item {\n    Label {\n        text: "a"\n    }\n}\n'),
                         [(2, "Label without textFormat: Label.PlainText")])

    def test_a_text_that_says_so_is_clean(self):
        for value in ("Text.PlainText", "TextEdit.PlainText", "Controls.TextArea.PlainText;"):
            self.assertEqual(self.found(f"Text {{\n    textFormat: {value}\n}}\n"), [])

    def test_another_format_is_told_and_does_not_count(self):
        for value in ("Text.RichText", "Text.AutoText", "plain ? Text.PlainText : Text.StyledText"):
            self.assertEqual(self.found(f"Text {{\n    textFormat: {value}\n}}\n"), [(1, "Text"), (2, "another")])

    def test_another_format_of_a_type_of_ones_own_is_told(self):
        self.assertEqual(self.found("VxText {\n    textFormat: Text.StyledText\n}\n"), [(2, "another")])
        self.assertEqual(self.found("function f() {\n    label.textFormat = 1;\n}\n"), [(2, "another")])
        self.assertEqual(self.found("verify(label.textFormat === Text.PlainText);\n"), [])

    def test_the_format_of_an_object_inside_or_outside_does_not_count(self):
        text = "Text {\n    Text {\n        textFormat: Text.PlainText\n    }\n}\n"
        self.assertEqual(self.found(text), [(1, "Text")])
        text = "Text {\n    textFormat: Text.PlainText\n    component Tip: T.TextArea {\n    }\n}\n"
        self.assertEqual(self.found(text), [(3, "TextArea")])

    def test_a_control_of_the_style_that_draws_its_text_is_told(self):
        for kind in ("Button", "ToolTip", "ComboBox", "MenuItem", "Dialog", "TextField"):
            self.assertEqual(self.found(f"Item {{\n    {kind} {{\n    }}\n}}\n"), [(2, kind)])
            self.assertEqual(self.found(f"import QtQuick.Controls as C\nC.{kind} {{\n}}\n"), [(2, kind)])
            self.assertEqual(self.found(f"import QtQuick.Templates as T\nT.{kind} {{\n}}\n"), [])

    def test_texts_that_no_document_draws_are_told(self):
        for line in ("ToolTip.text: name", "ToolTip.show(name)", "import QtQuick.Dialogs", "import Qt.labs.platform",
                     'Qt.createQmlObject("Item", this)'):
            self.assertEqual(self.found(f"Item {{\n{line}\n}}\n"), [(2, "shows")], line)

    def test_comments_and_strings_are_no_objects(self):
        text = ('// Text {\n/* Label {\n*/ Item { property string a: "Text { \\" }"; property string b: \'}\'\n'
                'Text { // textFormat: Text.PlainText\n} }\n')
        self.assertEqual(self.found(text), [(4, "Text")])

    def test_documents_and_scripts_of_the_tree_are_read(self):
        with tempfile.TemporaryDirectory(prefix="vexo-lint-") as folder:
            root = pathlib.Path(folder)
            (root / "A.qml").write_text("Text {}\n", encoding="utf-8")
            (root / "b.js").write_text("a.textFormat = 2\n", encoding="utf-8")
            self.assertEqual(documents.plain_text(root).problems, [
                "A.qml:1: Text without textFormat: Text.PlainText", "b.js:1: another text format than PlainText: 2"])


class SliderValues(unittest.TestCase):
    """The value of a slider is shown by its function alone."""

    def found(self, text, name="Page", types=("CustomSlider", "StepSlider")):
        """Line and first words of each finding."""
        return [(line, " ".join(reason.split(" ")[:2])) for line, reason in documents.ways_around_show(name, text, set(types))]

    def test_a_bound_value_is_told(self):
        for line in ("value: model.gain", "from: 0; value: 3", "Binding on value { value: 3 }", "Behavior on value {}"):
            for kind in ("CustomSlider", "StepSlider", "Media.CustomSlider"):
                self.assertEqual(self.found(f"Item {{\n    {kind} {{\n        {line}\n    }}\n}}\n"), [(2, "the value")], line)

    def test_other_properties_and_objects_are_clean(self):
        for line in ("stepSize: 1", "valueText: text", "Item { property real value: 3 }", "onMoved: send(value)",
                     "visible: on ? value : from", "// value: 3"):
            self.assertEqual(self.found(f"CustomSlider {{\n    {line}\n}}\n"), [], line)
        self.assertEqual(self.found("ProgressBar {\n    value: 3\n}\n"), [])

    def test_a_written_value_is_told(self):
        for line in ("slider.value = 3", "slider.value += 1", "slider.value++", "slider . value ??= 1"):
            text = f"Item {{\n    CustomSlider {{ id: slider }}\n    function f() {{\n        {line};\n    }}\n}}\n"
            self.assertEqual(self.found(text), [(4, "the value")], line)
        for line in ("if (slider.value === 3) f()", "other.value = 3", "slider.show(3)", "x = slider.value", "f(slider.value)",
                     "slider.value => 3", "slider.value <= 3", "my.slider.values = 3"):
            text = f"Item {{\n    CustomSlider {{ id: slider }}\n    function f() {{\n        {line};\n    }}\n}}\n"
            self.assertEqual(self.found(text), [], line)

    def test_a_binding_of_its_own_and_an_alias_are_told(self):
        text = 'Item {\n    CustomSlider { id: slider }\n    Binding { target: slider; property: "KEY"; value: 3 }\n}\n'
        self.assertEqual(self.found(text.replace("KEY", "value")), [(3, "the value")])
        self.assertEqual(self.found(text.replace("KEY", "enabled")), [])
        text = "Item {\n    KEYproperty alias value: slider.value\n    CustomSlider { id: slider }\n}\n"
        self.assertEqual(self.found(text.replace("KEY", "")), [(2, "others could")])
        self.assertEqual(self.found(text.replace("KEY", "readonly ")), [])

    def test_a_document_that_is_a_slider_writes_its_value_in_show_alone(self):
        text = "CustomSlider {\n    id: step\n    onX: {\n        value = 3;\n        const value = 4;\n        step.value = 5\n    }\n}\n"
        self.assertEqual(self.found(text, "StepSlider"), [(4, "the value"), (6, "the value")])
        show = "T.Slider {\n    function show(shown: real) {\n        if (a) { value = 1; }\n        value = shown;\n    }\n"
        self.assertEqual(self.found(show + "}\n", "CustomSlider"), [])
        self.assertEqual(self.found(show + "    function f() { value = 3 }\n}\n", "CustomSlider"), [(6, "the value")])

    def test_documents_of_the_program_are_read_and_those_that_are_sliders_known(self):
        with tempfile.TemporaryDirectory(prefix="vexo-lint-") as folder:
            root = pathlib.Path(folder)
            texts = {"qml/A.qml": "import QtQuick\nB {\n    value: 3\n}\n", "qml/B.qml": "pragma Strict\nCustomSlider {}\n",
                     "tests/C.qml": "CustomSlider { value: 3 }\n"}
            for name, text in texts.items():
                path = root / name
                path.parent.mkdir(exist_ok=True)
                path.write_text(text, encoding="utf-8")
            result = documents.slider_values(root)
            self.assertEqual(result.problems, ["qml/A.qml:2: the value of a B is bound: show it by show()"])
            self.assertIn("A, B, CustomSlider", result.checked)


class Groups(unittest.TestCase):
    """What clang-tidy reads in one run."""

    def source(self, name, text, *definitions, world=("linux", False, False)):
        flags = tidy.Flags("dev", "-std=c++20", frozenset(definitions), ())
        return tidy.Source(tidy.ROOT / name, flags, text.count("\n"), tidy.names_at_top_level(text), set(), world)

    def names(self, sources):
        return sorted(sorted(source.name for source in group) for group in tidy.grouped(sources))

    def test_names_at_the_top_level_are_found(self):
        text = ("#define LIMIT 3\nnamespace {\nconstexpr int kCount = 3;\nstruct Point {\n    int x = 0;\n};\n"
                "class Later;\nusing Bytes = int;\nstd::vector<int> all(int a) {\n    int inner = a;\n}\n"
                "void Point::move() {\n}\nTEST_F(Mixer, plays) {\n}\nreturn value;\n}\n")
        self.assertEqual(tidy.names_at_top_level(text),
                         {"LIMIT", "kCount", "Point", "Bytes", "all", "Point::move", "Mixer,plays"})

    def test_sources_of_one_world_share_a_group(self):
        self.assertEqual(self.names([self.source("a.cpp", "int a() {\n}\n"), self.source("b.cpp", "int b() {\n}\n")]),
                         [["a.cpp", "b.cpp"]])

    def test_sources_whose_names_clash_do_not(self):
        self.assertEqual(self.names([self.source("a.cpp", "int a() {\n}\n"), self.source("b.cpp", "int a() {\n}\n")]),
                         [["a.cpp"], ["b.cpp"]])

    def test_sources_of_different_worlds_do_not(self):
        self.assertEqual(self.names([self.source("a.cpp", ""), self.source("b.cpp", "", world=("linux", True, False))]),
                         [["a.cpp"], ["b.cpp"]])

    def test_each_source_keeps_its_own_definitions_and_its_main_function(self):
        group = [self.source("a.cpp", "int main() {\n}\n", "-DVEXO_FOLDER=\"a\"", "-DQT_CORE_LIB"),
                 self.source("b.cpp", "int main() {\n}\n", "-DVEXO_FOLDER=\"b\"")]
        self.assertEqual(self.names(group), [["a.cpp", "b.cpp"]])
        self.assertEqual(tidy.unit_text(group, "/tree").splitlines()[1:-1],
                         ['#define VEXO_FOLDER "a"', "#define main mainOfSource0", '#include "/tree/a.cpp"',
                          "#undef VEXO_FOLDER", "#undef main",
                          '#define VEXO_FOLDER "b"', "#define main mainOfSource1", '#include "/tree/b.cpp"',
                          "#undef VEXO_FOLDER", "#undef main"])

    def checked(self, group, told):
        """The problems of a group and the sources that are marked, when clang-tidy says `told` of sources by name."""
        with tempfile.TemporaryDirectory() as folder:
            for source in group:
                source.mark = pathlib.Path(folder, source.name)
            with mock.patch.object(tidy, "clang_tidy", lambda some: told([source.name for source in some])):
                problems = tidy.check_group(group)
            return problems, sorted(source.name for source in group if source.mark.exists())

    def test_a_problem_that_only_a_header_shows_in_company_is_told(self):
        group = [self.source("a.cpp", ""), self.source("b.cpp", "")]
        header = tidy.ROOT / "b.h"
        group[1].reads = {header}
        self.assertEqual(self.checked(group, lambda names: [(header, False, "wrong")] if len(names) > 1 else []),
                         (["wrong"], ["a.cpp"]))

    def test_a_problem_of_the_company_alone_is_none(self):
        group = [self.source("a.cpp", ""), self.source("b.cpp", "")]
        self.assertEqual(self.checked(group, lambda names: [(group[0].path, False, "wrong")] if len(names) > 1 else []),
                         ([], ["a.cpp", "b.cpp"]))

    def test_what_does_not_compile_hides_nothing_of_the_others(self):
        group = [self.source("a.cpp", ""), self.source("b.cpp", "")]

        def told(names):
            return [(group[0].path, True, "broken")] if "a.cpp" in names else [(group[1].path, False, "wrong")]
        self.assertEqual(self.checked(group, told), (["broken", "wrong"], []))

    def test_a_run_that_a_signal_ends_has_read_nothing_to_its_end(self):
        line = f"{tidy.ROOT}/a.cpp:1:1: error: wrong [some-check]"
        self.assertEqual([path for path, _, _ in tidy.messages(line, 1)], [tidy.ROOT / "a.cpp"])
        self.assertIn((tidy.ROOT, True), [(path, broken) for path, broken, _ in tidy.messages(line, -9)])


class OperatorData(Tree):
    """Hosts, numbers and mail addresses outside of the operator's file."""

    def test_each_kind_of_value_is_found_in_its_line(self):
        for text, kind in [('x: "https://www.vexo.test/help"', "host"), ('"vexo.example"', "host"), ("http://192.0.2.1", "host"),
                           ('"ws://[::1]"', "host"), ('"support@vexo.test"', "mail address"),
                           ('"+1 555 0100"', "telephone number"), ('"400-000-0000"', "telephone number"),
                           ("<a xmlns='urn:x' href='http://x.test'>", "host")]:
            with self.subTest(text):
                self.assertEqual(operator_data.problems_in("a\n" + text), [(2, kind)])

    def test_what_belongs_to_nobody_is_none(self):
        for text in ('<svg xmlns="http://www.w3.org/2000/svg">', '"http://127.0.0.1"', '"https://" + Operator.serviceHost',
                     '"file:///tmp"', "org.freedesktop.portal", "icons/a@2x", "1000-2000", '"00E27E-4812-4888"', "x.commit()"):
            with self.subTest(text):
                self.assertEqual(operator_data.problems_in(text), [])

    def test_the_operators_file_alone_may_hold_them(self):
        values = '{"mail": "support@vexo.test"}\n'
        self.write({"app/operator.json": values, "qml/Page.qml": "// nothing\n", "docs/page.md": values, "app/other.json": values})
        self.assertEqual(operator_data.check(self.root).problems,
                         ["app/other.json:1: a mail address stands outside of app/operator.json"])


if __name__ == "__main__":
    unittest.main()
