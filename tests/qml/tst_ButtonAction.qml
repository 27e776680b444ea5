import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug
import VexoDeckSystemBridge
import VexoDeckTest

/* What a press of the device's button does. */
MainWindowTestCase {
    id: testCase

    name: "ButtonAction"

    readonly property string homePage: "https://www.vexo.example"

    function init() {
        SystemBridge.installed = [];
        initMainWindow();
        connectDevice(mixdeskR2);
        SystemBridge.clearCalls();
    }

    function press() {
        HIDHotplugManager.priMsgCallback(0x8003, 1);
    }

    // What reached the system since the last question.
    function done() {
        const names = ["openUrl", "openApplication", "simulateKeyPress", "takeScreenshot", "startScreenRecording"];
        const calls = SystemBridge.calls.filter(call => names.includes(call.name)).map(call => [call.name].concat(call.url ?? call.path ?? call.hotkey ?? []));
        SystemBridge.clearCalls();
        return calls;
    }

    function choose(type, value) {
        const key = ["app", "url", "key"][type];
        ConfigMgr.setValue("general_hotkey_type", type);
        if (key)
            ConfigMgr.setValue("general_hotkey_value_" + key, value);
    }

    function test_a_press_does_what_is_chosen_data() {
        const record = path => JSON.stringify({
                name: "Editor",
                executablePath: path
            });
        return [["an application", 0, record("/opt/editor"), [["openApplication", "/opt/editor"]]], ["no application", 0, "", [["openUrl", homePage]]], ["the system's browser", 0, record(""), [["openUrl", homePage]]], ["a record without a path", 0, "{}", [["openUrl", homePage]]], ["a path that is no text", 0, record(5), [["openUrl", homePage]]], ["an array", 0, "[]", [["openUrl", homePage]]], ["a number", 0, "17", [["openUrl", homePage]]], ["null", 0, "null", [["openUrl", homePage]]], ["no JSON", 0, "{name", [["openUrl", homePage]]], ["an address", 1, "https://vexo.example/a?b=c", [["openUrl", "https://vexo.example/a?b=c"]]], ["no address", 1, "", []], ["keys", 2, "Ctrl+Shift+A", [["simulateKeyPress", "Ctrl+Shift+A"]]], ["no keys", 2, "", []], ["a screenshot", 3, undefined, [["takeScreenshot"]]], ["a recording", 4, undefined, [["startScreenRecording"]]], ["an unknown action", 9, undefined, []], ["a negative action", -1, undefined, []], ["half an action", 1.5, undefined, []]].map(([tag, type, value, calls]) => ({
                    tag: tag,
                    type: type,
                    value: value,
                    calls: calls
                }));
    }

    function test_a_press_does_what_is_chosen(row) {
        choose(row.type, row.value);
        press();
        compare(done(), row.calls);
        press();
        compare(done(), row.calls);
    }

    function test_a_program_that_is_no_longer_listed_leaves_its_box_empty_and_still_opens() {
        SystemBridge.installed = [
            {
                name: "Player",
                executablePath: "/opt/player"
            }
        ];
        choose(0, JSON.stringify({
            name: "Editor",
            executablePath: "/opt/editor"
        }));
        openDrawer(mixdeskR2);
        mouseClick(child("tab3"));
        const box = findChild(child("action0"), "appBox");
        verify(box.visible);
        compare([box.currentIndex, box.displayText], [-1, ""]);
        SystemBridge.clearCalls();
        press();
        compare(done(), [["openApplication", "/opt/editor"]]);
    }

    function test_only_pages_of_the_web_are_opened_data() {
        return ["file:///etc/passwd", "javascript:alert(1)", "vexo.example", "ftp://vexo.example", " https://vexo.example"].map(address => ({
                    tag: address,
                    address: address
                }));
    }

    function test_only_pages_of_the_web_are_opened(row) {
        TestLog.expect("pages of the web only");
        choose(1, row.address);
        press();
        compare(done(), []);
    }

    function test_an_address_that_is_none_is_told_and_opens_nothing_data() {
        return ["http://[", "http://<b>vexo</b>", "https://vexo.example:port"].map(address => ({
                    tag: address,
                    address: address
                }));
    }

    function test_an_address_that_is_none_is_told_and_opens_nothing(row) {
        TestLog.expect("The page cannot be opened: " + row.address);
        choose(1, row.address);
        press();
        compare(done(), []);
    }

    function test_the_value_of_the_message_does_not_count() {
        choose(3);
        for (const value of [0, 1, 255])
            HIDHotplugManager.priMsgCallback(0x8003, value);
        compare(done().length, 3);
    }

    function test_other_messages_do_nothing() {
        choose(3);
        for (const message of [0x8002, 0x8004, 0x8006, 0, 3])
            HIDHotplugManager.priMsgCallback(message, 1);
        compare(done(), []);
    }

    function test_of_a_storm_of_presses_few_act_and_one_line_tells_data() {
        const record = JSON.stringify({
            name: "Editor",
            executablePath: "/opt/editor"
        });
        return [["an application", 0, record, 1000], ["an address", 1, "https://vexo.example", 1000], ["keys", 2, "Ctrl+A", 200], ["a screenshot", 3, undefined, 1000], ["a recording", 4, undefined, 1000]].map(([tag, type, value, refillMs]) => ({
                    tag: tag,
                    type: type,
                    value: value,
                    refillMs: refillMs
                }));
    }

    function test_of_a_storm_of_presses_few_act_and_one_line_tells(row) {
        TestLog.expect("The button comes too often");
        choose(row.type, row.value);
        startReferenceTime(row.refillMs);
        for (let count = 0; count < 100; count++)
            press();
        compare(done().length, 3);
        // Nothing was kept for later, and each further press takes its own time.
        let acted = 0;
        const pressUntilOneActs = () => {
            if (acted === 0) {
                press();
                acted = done().length;
            }
            return acted === 1;
        };
        tryVerify(pressUntilOneActs);
        compare(referenceTimeOver, true);
        press();
        compare(done(), []);
        compare(linesWith("The button comes too often").length, 1);
    }

    function test_each_storm_is_told() {
        choose(2, "A");
        for (let storm = 0; storm < 2; storm++) {
            TestLog.expect("The button comes too often");
            for (let count = 0; count < 100; count++)
                press();
            compare(done().length, 3);
            compare(linesWith("The button comes too often").length, storm + 1);
            tryCompare(window.buttonAction.keyPresses, "running", false);
        }
    }

    function test_a_press_that_does_nothing_leaves_the_next_ones() {
        choose(2, "");
        for (let count = 0; count < 100; count++)
            press();
        choose(2, "A");
        press();
        press();
        press();
        compare(done().length, 3);
    }

    function test_it_works_on_every_page() {
        choose(3);
        press();
        compare(done().length, 1);
        openMainLayout(mixdeskR2);
        press();
        compare(done().length, 1);
        mouseClick(child("deviceSettingsButton"));
        tryCompare(child("deviceSettingsDrawer"), "width", 450);
        press();
        compare(done().length, 1);
    }

    function test_it_works_with_every_model_data() {
        return [mixdeskR2, voxmicM40, voxmicT40].map(info => ({
                    tag: info.name,
                    info: info
                }));
    }

    function test_it_works_with_every_model(row) {
        openMainLayout(row.info);
        choose(4);
        press();
        compare(done(), [["startScreenRecording"]]);
    }

    function test_one_press_acts_once_however_often_the_main_screen_was_built() {
        for (let round = 0; round < 10; round++) {
            openMainLayout(mixdeskR2);
            loseDevice();
            compareWaiting();
        }
        openMainLayout(mixdeskR2);
        choose(3);
        press();
        compare(done().length, 1);
    }
}
