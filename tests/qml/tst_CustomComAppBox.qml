import QtQuick
import QtTest
import MediaControls
import VexoDeckSystemBridge
import VexoDeckTest

/* The list box of the program that the device's button starts. */
ScreenTestCase {
    id: testCase

    name: "CustomComAppBox"
    width: 400
    height: 500
    visible: true

    property Item box: null
    readonly property string appKey: "general_hotkey_value_app"
    readonly property var browser: ({
            name: "系统浏览器",
            executablePath: "",
            bundlePath: "",
            isSystemBrowser: true
        })
    readonly property var editor: record("Editor")
    readonly property var player: record("Player")

    Component {
        id: boxComponent

        CustomComAppBox {
            width: 200
            name: "App"
        }
    }

    function record(name) {
        return {
            name: name,
            executablePath: "/opt/" + name.toLowerCase(),
            bundlePath: "file:///opt/" + name.toLowerCase(),
            iconFilePath: "file:///nowhere/" + name + ".png"
        };
    }

    function init() {
        initConfig();
        SystemBridge.installed = [browser, editor, player];
        SystemBridge.clearCalls();
    }

    function openBox(chosen) {
        ConfigMgr.setValue(appKey, chosen === undefined ? "" : typeof chosen === "string" ? chosen : textOf(chosen));
        storeCalls = [];
        box = createTemporaryObject(boxComponent, testCase);
        verify(box);
    }

    function openList() {
        mouseClick(box);
        tryCompare(box.popup, "opened", true);
    }

    function row(index) {
        tryVerify(() => box.popup.contentItem.itemAtIndex(index));
        return box.popup.contentItem.itemAtIndex(index);
    }

    function choose(index) {
        openList();
        mouseClick(row(index));
        tryCompare(box.popup, "visible", false);
    }

    function chosen() {
        return JSON.parse(setting(appKey));
    }

    function setting(key) {
        return ConfigMgr.getValue(key);
    }

    function test_the_list_is_what_is_installed() {
        openBox();
        compare(SystemBridge.calls.map(call => call.name), ["getRunningApplicationsByQt"]);
        openList();
        compare([0, 1, 2].map(index => row(index).text), ["系统浏览器", "Editor", "Player"]);
        compare(box.count, 3);
    }

    function test_the_browser_is_called_in_the_users_language() {
        openBox(browser);
        LongTexts.install();
        verify(box.displayText !== "系统浏览器" && box.displayText === qsTranslate("", "系统浏览器"), box.displayText);
        openList();
        compare(row(0).text, box.displayText);
        compare(row(1).text, "Editor");
        LongTexts.remove();
    }

    function test_nothing_is_selected_before_the_first_choice() {
        openBox();
        compare(box.currentIndex, -1);
        compare(box.displayText, "");
        compare(part(box, "hint").visible, true);
        compareData(written(), []);
        choose(1);
        compare(part(box, "hint").visible, false);
    }

    function test_the_stored_program_is_selected_and_not_written() {
        openBox(player);
        compare(box.currentIndex, 2);
        compare(box.displayText, "Player");
        compareData(written(), []);
    }

    function test_a_program_that_has_moved_is_stored_anew() {
        openBox(Object.assign({}, player, {
            executablePath: "/usr/old/player"
        }));
        compare(box.currentIndex, 2);
        compareData(chosen(), player);
    }

    function test_of_two_programs_of_one_name_the_chosen_one_is_selected() {
        const other = Object.assign({}, editor, {
            executablePath: "/home/editor"
        });
        SystemBridge.installed = [browser, editor, other];
        openBox(other);
        compare(box.currentIndex, 2);
        compareData(written(), []);
    }

    function test_a_program_that_is_gone_leaves_the_box_without_a_selection() {
        const gone = record("Gone");
        openBox(gone);
        compare(box.currentIndex, -1);
        compareData(chosen(), gone);
        compareData(written(), []);
    }

    function test_a_stored_text_that_is_no_record_selects_nothing_data() {
        return ["x", "[]", "null", "5", "{", "\"Editor\"", "{\"name\":5}", "x".repeat(10000)].map(text => ({
                    tag: text.slice(0, 20),
                    text: text
                }));
    }

    function test_a_stored_text_that_is_no_record_selects_nothing(data) {
        openBox(data.text);
        compare(box.currentIndex, -1);
        compare(setting(appKey), data.text);
        choose(1);
        compareData(chosen(), editor);
    }

    function test_a_choice_stores_the_whole_record() {
        openBox();
        choose(1);
        compareData(chosen(), editor);
        choose(0);
        compareData(chosen(), browser);
        compare(JSON.parse(stored(appKey)).isSystemBrowser, true);
        compareData(written(), [appKey, appKey]);
    }

    function test_typing_does_not_change_the_choice_data() {
        return [["a letter", Qt.Key_P, Qt.NoModifier], ["a capital", Qt.Key_P, Qt.ShiftModifier], ["a digit", Qt.Key_1, Qt.NoModifier], ["Meta and a letter", Qt.Key_E, Qt.MetaModifier], ["Meta and an arrow", Qt.Key_Down, Qt.MetaModifier], ["Home", Qt.Key_Home, Qt.NoModifier], ["End", Qt.Key_End, Qt.NoModifier]].map(([tag, key, flags]) => ({
                    tag: tag,
                    key: key,
                    flags: flags
                }));
    }

    function test_typing_does_not_change_the_choice(data) {
        openBox(editor);
        box.forceActiveFocus(Qt.TabFocusReason);
        keyClick(data.key, data.flags);
        compare(box.currentIndex, 1);
        compare(box.popup.visible, false);
        compareData(written(), []);
    }

    function test_the_keyboard_chooses() {
        openBox(editor);
        box.forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Down);
        tryCompare(box.popup, "opened", true);
        keyClick(Qt.Key_Down);
        keyClick(Qt.Key_Return);
        tryCompare(box.popup, "visible", false);
        compareData(chosen(), player);
    }

    function test_a_program_without_an_icon_shows_that_of_vexo() {
        SystemBridge.installed = [browser, editor];
        openBox(browser);
        verify(String(part(box, "currentIcon").fallback).endsWith("icons/vexologo.svg"));
        openList();
        const icon = findChild(row(0), "fallback");
        compare(icon.visible, true);
        verify(String(icon.source).endsWith("icons/vexologo.svg"));
    }

    function test_records_with_anything_in_them_are_shown() {
        SystemBridge.installed = [
            {},
            {
                name: "<b>bold</b>"
            },
            {
                name: "\u202e gnp.exe",
                executablePath: 5
            },
            {
                name: 7
            }
        ];
        openBox();
        openList();
        compare([0, 1, 2, 3].map(index => row(index).text), ["", "<b>bold</b>", "\u202e gnp.exe", ""]);
        mouseClick(row(1));
        tryCompare(box.popup, "visible", false);
        compareData(chosen(), {
            name: "<b>bold</b>"
        });
    }

    function test_a_name_of_several_lines_stays_in_the_box() {
        const tall = record("a\nb\nc\nd");
        SystemBridge.installed = [tall];
        openBox(tall);
        const label = part(box, "label");
        compare(label.lineCount, 1);
        verify(label.height <= box.availableHeight, label.height);
    }

    function test_a_thousand_programs() {
        SystemBridge.installed = Array.from({
            length: 1000
        }, (unused, index) => record("Program" + index));
        openBox(record("Program700"));
        compare(box.currentIndex, 700);
        choose(701);
        compare(chosen().name, "Program701");
    }
}
