import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckTest
import "../../qml/VexoDeck/qml/HotkeyText.js" as HotkeyText

/* The fields of the device button's address and keys. */
PageTestCase {
    id: testCase

    name: "HotkeyFields"
    width: 410
    height: 760
    pageComponent: Component {
        GeneralTab {
            anchors.fill: parent
        }
    }

    readonly property string urlKey: "general_hotkey_value_url"
    readonly property string keysKey: "general_hotkey_value_key"

    function init() {
        initConfig();
        VxConfig.platformName = "linux";
        storedUrl = "";
        storedKeys = "";
        escapes.count = 0;
    }

    property string storedUrl: ""
    property string storedKeys: ""

    function openUrlField() {
        ConfigMgr.setValue(urlKey, storedUrl);
        openPage(mixdeskR2);
        const field = child("urlField");
        field.forceActiveFocus();
        tryCompare(field, "activeFocus", true);
        return field;
    }

    // A field that records, as after a click.
    function openKeyField() {
        ConfigMgr.setValue(keysKey, storedKeys);
        openPage(mixdeskR2);
        const field = child("keyField");
        mouseClick(field);
        tryCompare(field, "activeFocus", true);
        compare(field.recording, true);
        return field;
    }

    // Puts a text where the cursor stands, as a paste does.
    function paste(field, text) {
        field.insert(field.cursorPosition, text);
    }

    // ---- the address

    function test_a_new_text_becomes_an_address_data() {
        return [["the first character", "v", "http://"], ["without a scheme", "www.vexo.example", "http://"], ["http", "http://vexo.example/a?b=c#d", "http://vexo.example/a?b=c#d"], ["https", "https://vexo.example", "https://vexo.example"], ["blanks", " https:// vexo .example ", "https://vexo.example"], ["tabs and other blanks", "\thttp://vexo.\u00a0exam\u2003ple", "http://vexo.example"], ["any letter case", "HTTPS://VEXO.example", "HTTPS://VEXO.example"], ["another scheme", "ftp://vexo.example", "http://"], ["a script", "javascript:alert(1)", "http://"], ["mail", "mailto:support@vexo.example", "http://"], ["a file", "file:///etc/passwd", "http://"], ["only blanks", "   ", "http://"], ["half a scheme", "http:/", "http://"], ["markup", "http://<b>vexo</b>", "http://<b>vexo</b>"], ["10,000 characters", "http://" + "x".repeat(9993), "http://" + "x".repeat(9993)]].map(([tag, typed, address]) => ({
                    tag: tag,
                    typed: typed,
                    address: address
                }));
    }

    function test_a_new_text_becomes_an_address(row) {
        const field = openUrlField();
        paste(field, row.typed);
        compare(field.text, row.address);
        compare(setting(urlKey), row.address);
        compare(stored(urlKey), row.address);
        compare(field.isValidUrl, true);
        verify(field.cursorPosition <= field.text.length);
    }

    function test_a_text_of_megabytes_is_cut_in_the_field() {
        storedUrl = "http://" + "x".repeat(4000000);
        const field = openUrlField();
        compare(field.text.length, 16384);
        compare(setting(urlKey).length, storedUrl.length);
        field.clear();
        paste(field, "https://" + "y".repeat(4000000));
        compare(setting(urlKey).length, 16384);
    }

    function test_the_user_goes_on_behind_the_scheme() {
        const field = openUrlField();
        for (const character of "wvexo.example")
            keyClick(character);
        compare(field.text, "http://vexo.example");
        compare(setting(urlKey), "http://vexo.example");
    }

    function test_an_emptied_field_empties_the_setting() {
        storedUrl = "http://vexo.example";
        const field = openUrlField();
        field.selectAll();
        keyClick(Qt.Key_Delete);
        compare(field.text, "");
        compare(setting(urlKey), "");
    }

    function test_a_deletion_in_the_scheme_leaves_the_scheme_alone() {
        storedUrl = "http://vexo.example";
        const field = openUrlField();
        field.cursorPosition = 3;
        keyClick(Qt.Key_Backspace);
        compare(field.text, "http://");
        compare(setting(urlKey), "http://");
        compare(field.cursorPosition, 7);
    }

    function test_the_cursor_stays_where_the_user_types_data() {
        return [
            {
                tag: "in the middle",
                at: 11,
                typed: "a",
                cursor: 12,
                text: "http://vexoa.example"
            },
            {
                tag: "a blank in the middle",
                at: 11,
                typed: " ",
                cursor: 11,
                text: "http://vexo.example"
            },
            {
                tag: "blanks and more",
                at: 11,
                typed: " b c ",
                cursor: 13,
                text: "http://vexobc.example"
            },
            {
                tag: "at the end",
                at: 19,
                typed: " ",
                cursor: 19,
                text: "http://vexo.example"
            }
        ];
    }

    function test_the_cursor_stays_where_the_user_types(row) {
        storedUrl = "http://vexo.example";
        const field = openUrlField();
        field.cursorPosition = row.at;
        paste(field, row.typed);
        compare(field.text, row.text);
        compare(field.cursorPosition, row.cursor);
    }

    function test_the_stored_address_shows_and_is_not_written_data() {
        return [["an address", "https://vexo.example", true], ["none", "", true], ["one of a damaged store", "ftp://x y", false], ["a bare word", "vexo", false]].map(([tag, text, valid]) => ({
                    tag: tag,
                    text: text,
                    valid: valid
                }));
    }

    function test_the_stored_address_shows_and_is_not_written(row) {
        ConfigMgr.setValue(urlKey, row.text);
        connectDevice(mixdeskR2);
        storeCalls = [];
        page = createTemporaryObject(pageComponent, testCase);
        compare(child("urlField").text, row.text);
        verify(!written().includes(urlKey));
        compare(child("urlField").isValidUrl, row.valid);
        compare(child("urlField").background.border.color, row.valid ? "#80ffffff" : "#ff4444");
    }

    function test_the_hint_shows_without_focus_and_text_data() {
        return [
            {
                tag: "address",
                field: "urlField",
                hint: "请输入URL",
                text: "http://"
            },
            {
                tag: "keys",
                field: "keyField",
                hint: "请输入键位",
                text: "Ctrl+A"
            }
        ];
    }

    function test_the_hint_shows_without_focus_and_text(row) {
        openPage(mixdeskR2);
        const field = child(row.field);
        const hint = part(field, "hint");
        compare(hint.text, row.hint);
        compare(hint.visible, true);
        field.forceActiveFocus();
        tryCompare(field, "activeFocus", true);
        compare(hint.visible, false);
        field.text = row.text;
        page.forceActiveFocus();
        compare(field.activeFocus, false);
        compare(hint.visible, false);
        field.text = "";
        compare(hint.visible, true);
    }

    // ---- the keys

    function namedKeys() {
        const keys = [["Space", Qt.Key_Space], ["Enter", Qt.Key_Enter], ["Return", Qt.Key_Return], ["Tab", Qt.Key_Tab], ["Esc", Qt.Key_Escape], ["Backspace", Qt.Key_Backspace], ["Delete", Qt.Key_Delete], ["Insert", Qt.Key_Insert], ["Home", Qt.Key_Home], ["End", Qt.Key_End], ["PageUp", Qt.Key_PageUp], ["PageDown", Qt.Key_PageDown], ["Left", Qt.Key_Left], ["Right", Qt.Key_Right], ["Up", Qt.Key_Up], ["Down", Qt.Key_Down], ["-", Qt.Key_Minus], ["+", Qt.Key_Plus], ["=", Qt.Key_Equal], ["[", Qt.Key_BracketLeft], ["]", Qt.Key_BracketRight], ["\\", Qt.Key_Backslash], [";", Qt.Key_Semicolon], ["'", Qt.Key_Apostrophe], [",", Qt.Key_Comma], [".", Qt.Key_Period], ["/", Qt.Key_Slash]];
        for (let number = 0; number < 12; number++)
            keys.push(["F" + (number + 1), Qt.Key_F1 + number]);
        for (let number = 0; number < 26; number++)
            keys.push([String.fromCharCode(65 + number), Qt.Key_A + number]);
        for (let number = 0; number < 10; number++)
            keys.push([String(number), Qt.Key_0 + number]);
        return keys;
    }

    function test_each_key_has_its_name() {
        const field = openKeyField();
        const misses = [];
        for (const [name, key] of namedKeys()) {
            keyClick(key);
            if (field.text !== name || setting(keysKey) !== name)
                misses.push([name, field.text]);
            keyClick(key, Qt.ControlModifier | Qt.ShiftModifier);
            if (field.text !== "Ctrl+Shift+" + name)
                misses.push(["Ctrl+Shift+" + name, field.text]);
        }
        compareData(misses, []);
        compare(field.activeFocus, true);
    }

    function test_modifiers_come_in_their_order_data() {
        const all = Qt.ControlModifier | Qt.AltModifier | Qt.ShiftModifier | Qt.MetaModifier;
        return [["all", "linux", Qt.Key_K, all, "Ctrl+Alt+Shift+Meta+K"], ["all on a Mac", "osx", Qt.Key_K, all, "Command+Option+Shift+Control+K"], ["Ctrl alone", "linux", Qt.Key_Control, Qt.NoModifier, "Ctrl"], ["Ctrl alone, with its flag", "linux", Qt.Key_Control, Qt.ControlModifier, "Ctrl"], ["Alt and Shift", "linux", Qt.Key_Shift, Qt.AltModifier, "Alt+Shift"], ["the other Super", "windows", Qt.Key_Super_R, Qt.NoModifier, "Meta"], ["Shift and Tab", "linux", Qt.Key_Backtab, Qt.ShiftModifier, "Shift+Tab"], ["plus", "linux", Qt.Key_Plus, Qt.ControlModifier, "Ctrl++"], ["the key pad", "linux", Qt.Key_5, Qt.KeypadModifier, "5"], ["Shift and a digit's sign", "linux", Qt.Key_Exclam, Qt.ShiftModifier, "Shift"], ["a key without a name", "linux", Qt.Key_Eacute, Qt.ControlModifier, "Ctrl"], ["AltGr", "linux", Qt.Key_AltGr, Qt.NoModifier, ""], ["F13", "linux", Qt.Key_F13, Qt.NoModifier, ""], ["a Cyrillic letter", "linux", 0x0424, Qt.NoModifier, ""], ["a letter beyond ASCII that ends like one", "linux", 0x10041, Qt.NoModifier, ""]].map(([tag, platform, key, flags, text]) => ({
                    tag: tag,
                    platform: platform,
                    key: key,
                    flags: flags,
                    text: text
                }));
    }

    function test_modifiers_come_in_their_order(row) {
        compare(HotkeyText.textOf(row.key, row.flags, row.platform === "osx"), row.text);
    }

    function test_a_mac_names_its_keys() {
        VxConfig.platformName = "osx";
        const field = openKeyField();
        keyClick(Qt.Key_C, Qt.ControlModifier);
        VxConfig.platformName = "linux";
        compare(field.text, "Command+C");
    }

    function test_the_recorded_keys_are_stored_and_logged() {
        const field = openKeyField();
        keyClick(Qt.Key_S, Qt.ControlModifier);
        compare(field.text, "Ctrl+S");
        compare(stored(keysKey), "Ctrl+S");
        verify(linesWith("捕获到的快捷键:").pop().includes("Ctrl+S"));
    }

    function test_ctrl_alone_is_stored() {
        const field = openKeyField();
        keyClick(Qt.Key_Control);
        compare(field.text, "Ctrl");
        compare(setting(keysKey), "Ctrl");
    }

    function test_a_key_without_a_name_leaves_the_setting() {
        storedKeys = "Ctrl+S";
        const field = openKeyField();
        keyClick(Qt.Key_F13);
        compare(field.text, "Ctrl+S");
        compareData(written(), []);
    }

    function test_a_held_key_is_written_once() {
        openKeyField();
        keyPress(Qt.Key_B);
        for (let count = 0; count < 5; count++)
            Keyboard.repeat(Qt.Key_B);
        keyRelease(Qt.Key_B);
        compareData(written(), [keysKey]);
    }

    function test_the_recording_takes_escape_and_tab() {
        const field = openKeyField();
        keyClick(Qt.Key_Escape);
        compare(field.text, "Esc");
        keyClick(Qt.Key_Tab);
        compare(field.text, "Tab");
        keyClick(Qt.Key_Tab, Qt.ShiftModifier);
        compare(field.activeFocus, true);
        compare(escapes.count, 0);
    }

    function test_the_recording_ends_with_the_focus() {
        const field = openKeyField();
        page.forceActiveFocus();
        compare(field.recording, false);
        keyClick(Qt.Key_A);
        compare(field.text, "");
        reach(field);
        keyClick(Qt.Key_A);
        compare(field.text, "");
        compareData(written(), []);
    }

    function test_the_keyboard_gets_into_the_field_and_out_again_data() {
        return [["Return", Qt.Key_Return], ["Enter", Qt.Key_Enter], ["Space", Qt.Key_Space]].map(([tag, key]) => ({
                    tag: tag,
                    key: key
                }));
    }

    function test_the_keyboard_gets_into_the_field_and_out_again(row) {
        openPage(mixdeskR2);
        const field = reach(child("keyField"));
        tryCompare(field, "activeFocus", true);
        compare(field.recording, false);
        keyClick(Qt.Key_Escape);
        compare(escapes.count, 1);
        keyClick(row.key);
        compare(field.recording, true);
        compareData(written(), []);
        keyPress(Qt.Key_Control);
        compare(field.text, "Ctrl");
        keyPress(Qt.Key_T, Qt.ControlModifier);
        compare(field.text, "Ctrl+T");
        compare(field.recording, true);
        keyRelease(Qt.Key_T, Qt.ControlModifier);
        compare(field.recording, false);
        keyRelease(Qt.Key_Control);
        compare(setting(keysKey), "Ctrl+T");
        keyClick(Qt.Key_Tab);
        compare(field.activeFocus, false);
    }

    // In the ways to begin one.
    function recordingWays() {
        const pressed = field => mouseClick(field);
        const asked = field => field.Accessible.pressAction();
        const typed = field => {
            reach(field);
            keyClick(Qt.Key_Space);
        };
        return [["mouse", pressed, pressed], ["screen reader", asked, asked], ["keyboard, mouse", typed, pressed], ["keyboard, screen reader", typed, asked]];
    }

    function test_a_second_press_ends_the_recording_and_leaves_the_keys_data() {
        return recordingWays().map(([tag, begin, end]) => ({
                    tag: tag,
                    begin: begin,
                    end: end
                }));
    }

    function test_a_second_press_ends_the_recording_and_leaves_the_keys(row) {
        ConfigMgr.setValue(keysKey, "Ctrl+S");
        openPage(mixdeskR2);
        const field = child("keyField");
        row.begin(field);
        tryCompare(field, "activeFocus", true);
        compare(field.recording, true);
        row.end(field);
        compare([field.recording, field.text, setting(keysKey)], [false, "Ctrl+S", "Ctrl+S"]);
        keyClick(Qt.Key_Tab);
        compare(field.activeFocus, false);
        compareData(written(), []);
    }

    function test_a_double_click_begins_a_recording() {
        ConfigMgr.setValue(keysKey, "Ctrl+S");
        openPage(mixdeskR2);
        const field = child("keyField");
        Mouse.clicks(field, 10, 10, 2, 50);
        compare(field.recording, true);
    }

    function test_a_recording_without_a_key_ends_data() {
        return [["mouse", field => mouseClick(field)], ["keyboard", field => {
                    reach(field);
                    keyClick(Qt.Key_Return);
                }]].map(([tag, begin]) => ({
                    tag: tag,
                    begin: begin
                }));
    }

    function test_a_recording_without_a_key_ends(row) {
        ConfigMgr.setValue(keysKey, "Ctrl+S");
        openPage(mixdeskR2);
        const field = child("keyField");
        compare(field.patienceMs, 10000);
        field.patienceMs = 300;
        row.begin(field);
        compare(field.recording, true);
        tryCompare(field, "recording", false);
        compare([field.text, field.activeFocus], ["Ctrl+S", true]);
        compareData(written(), []);
        keyClick(Qt.Key_Tab);
        compare(field.activeFocus, false);
    }

    function test_each_key_lengthens_the_recording() {
        const field = openKeyField();
        field.patienceMs = 300;
        keyClick(Qt.Key_A);
        startReferenceTime(300);
        keyClick(Qt.Key_B);
        tryCompare(field, "recording", false);
        compare(referenceTimeOver, true);
        compare(field.text, "B");
    }

    function test_the_end_of_the_recording_shows_the_stored_keys_data() {
        return [["a paste that looks like keys", "foo+bar"], ["a paste that does not", "foo"]].map(([tag, text]) => ({
                    tag: tag,
                    text: text
                }));
    }

    // As the middle button of the mouse pastes.
    function test_the_end_of_the_recording_shows_the_stored_keys(row) {
        storedKeys = "Ctrl+S";
        const field = openKeyField();
        paste(field, row.text);
        page.forceActiveFocus();
        compare([field.recording, field.text, setting(keysKey)], [false, "Ctrl+S", "Ctrl+S"]);
    }

    function test_a_screen_reader_hears_that_the_field_records() {
        const field = openKeyField();
        compare(field.Accessible.description, "正在录制按键");
        keyClick(Qt.Key_F5);
        page.forceActiveFocus();
        compare(field.Accessible.description, "F5");
        compare(field.Accessible.name, "热键");
    }

    function test_a_text_that_was_not_recorded_data() {
        return [["Chinese", "你好", ""], ["Chinese and a plus", "你好+x", ""], ["the first of the range", "a+\u4e00", ""], ["the last of the range", "a+\u9fff", ""], ["beyond the range", "a+\ua000", "a+\ua000"], ["a word", "abc", ""], ["with a plus", "a+b", "a+b"], ["10,000 characters", "x".repeat(10000), ""]].map(([tag, text, shown]) => ({
                    tag: tag,
                    text: text,
                    shown: shown
                }));
    }

    function test_a_text_that_was_not_recorded(row) {
        storedKeys = "Ctrl+S";
        const field = openKeyField();
        field.text = row.text;
        compare(field.text, row.shown);
        compare(setting(keysKey), "Ctrl+S");
        compareData(written(), []);
    }

    function test_stored_keys_show_as_they_are_data() {
        return ["Ctrl+S", "F5", "A", "", "你好"].map(text => ({
                    tag: text,
                    text: text
                }));
    }

    function test_stored_keys_show_as_they_are(row) {
        ConfigMgr.setValue(keysKey, row.text);
        openPage(mixdeskR2);
        compare(child("keyField").text, row.text);
        compare(setting(keysKey), row.text);
    }

    // Escape, where nothing inside has taken it.
    Item {
        id: escapes

        property int count: 0
    }

    Keys.onEscapePressed: escapes.count++
}
