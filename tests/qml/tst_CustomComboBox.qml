import QtQuick
import QtTest
import MediaControls
import VexoDeckTest

Item {
    id: page

    width: 400
    height: 400

    Component {
        id: boxComponent

        CustomComboBox {
            property var selections: []

            x: 20
            y: 20
            model: ["中文", "English", "日本語"]
            currentIndex: 1
            onItemSelected: (index, text) => selections.push([index, text])
        }
    }

    LoggedTestCase {
        name: "CustomComboBox"

        function create(properties) {
            const box = createTemporaryObject(boxComponent, page, properties ?? {});
            box.forceActiveFocus(Qt.TabFocusReason);
            return box;
        }

        function rowAt(box, index) {
            const list = box.popup.contentItem;
            tryVerify(() => list.itemAtIndex(index) !== null);
            return list.itemAtIndex(index);
        }

        function open(box) {
            mouseClick(box);
            tryCompare(box.popup, "opened", true);
        }

        function test_being_built_with_an_index_selects_nothing() {
            compare(create().selections, []);
        }

        function test_every_change_of_the_index_to_a_valid_row_is_told() {
            const box = create();
            box.currentIndex = 2;
            compare(box.selections, [[2, "日本語"]]);
            box.currentIndex = -1;
            box.currentIndex = 0;
            compare(box.selections, [[2, "日本語"], [0, "中文"]]);
            box.currentIndex = 0;
            compare(box.selections.length, 2);
        }

        function test_a_click_on_a_row_selects_it() {
            const box = create();
            open(box);
            mouseClick(rowAt(box, 2));
            compare(box.selections, [[2, "日本語"]]);
            compare(box.displayText, "日本語");
            tryCompare(box.popup, "visible", false);
        }

        function test_the_current_row_has_a_tick() {
            const box = create();
            open(box);
            for (let index = 0; index < 3; index++) {
                const tick = findChild(rowAt(box, index), "tick");
                compare(tick.visible, index === 1);
                verify(String(tick.source).endsWith("icons/right2.svg"));
            }
        }

        function test_the_keyboard_opens_moves_selects_and_closes() {
            const box = create();
            keyClick(Qt.Key_Space);
            tryCompare(box.popup, "opened", true);
            keyClick(Qt.Key_Down);
            compare(box.selections, []);
            keyClick(Qt.Key_Return);
            compare(box.selections, [[2, "日本語"]]);
            tryCompare(box.popup, "visible", false);
            keyClick(Qt.Key_Up);
            compare(box.currentIndex, 1);
        }

        function test_escape_closes_the_list_and_selects_nothing() {
            const box = create();
            open(box);
            keyClick(Qt.Key_Down);
            keyClick(Qt.Key_Escape);
            tryCompare(box.popup, "visible", false);
            compare(box.selections, []);
            compare(box.currentIndex, 1);
        }

        function test_the_box_is_wide_enough_for_its_longest_text() {
            const box = create({
                model: ["kurz", "Eine deutlich längere Bezeichnung als im Original"],
                currentIndex: 1
            });
            verify(!box.contentItem.truncated);
            verify(box.width > 140);
        }

        function test_rows_of_records_show_their_text() {
            const box = create({
                textRole: "name",
                model: [
                    {
                        name: "a"
                    },
                    {
                        name: "b"
                    }
                ]
            });
            open(box);
            compare(rowAt(box, 0).text, "a");
            box.currentIndex = 0;
            compare(box.selections, [[0, "a"]]);
        }

        function test_a_long_list_stays_within_300() {
            const box = create({
                model: Array.from({
                    length: 40
                }, (_, index) => "row " + index)
            });
            open(box);
            compare(box.popup.height, 300);
        }

        function test_a_screen_reader_gets_the_rows() {
            const box = create();
            compare(box.Accessible.role, Accessible.ComboBox);
            compare([box.Accessible.name, box.Accessible.description], ["English", "English"]);
            box.name = "语言";
            compare([box.Accessible.name, box.Accessible.description], ["语言", "English"]);
            box.Accessible.pressAction();
            tryCompare(box.popup, "opened", true);
            compare([box.activeFocus, box.popup.contentItem.parent.Accessible.name], [true, "语言"]);
            rowAt(box, 0).Accessible.pressAction();
            compare(box.currentIndex, 0);
            compare(box.Accessible.description, "中文");
            tryCompare(box.popup, "visible", false);
            box.currentIndex = 1;
            open(box);
            compare(rowAt(box, 1).Accessible.name, "English");
            compare(rowAt(box, 1).Accessible.selected, true);
            compare([box.popup.contentItem.Accessible.role, box.popup.contentItem.Accessible.name], [Accessible.List, "语言"]);
        }
    }
}
