import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug
import VexoDeckTest

/* The factory reset. */
ScreenTestCase {
    id: testCase

    name: "ResetWindow"

    property ResetWindow window: null

    visible: true
    screen: window ? window.contentItem : null

    Item {
        id: owner
    }

    function init() {
        initConfig();
        published = [];
    }

    function cleanup() {
        if (window)
            discard(window);
        compare(TestLog.takeFaults(), []);
    }

    function open(info) {
        connectDevice(info);
        HIDDeviceMgr.messageCache = {};
        HIDHotplugManager.clearCalls();
        window = VxConfig.createWindow("ResetWindow.qml", owner);
        tryCompare(window, "opacity", 1);
        storeCalls = [];
        published = [];
    }

    function confirm() {
        mouseClick(child("okButton"));
    }

    // What is seen of: question, bar, success, its button.
    function seen() {
        return ["question", "bar", "successView", "doneButton"].filter(name => child(name).visible);
    }

    function test_the_window_asks_first() {
        open(mixdeskR2);
        compare([window.title, window.modality, window.isDestroy], ["恢复出厂", Qt.ApplicationModal, true]);
        compare([window.width, window.height, window.minimumWidth, window.minimumHeight, window.maximumWidth, window.maximumHeight], [500, 300, 500, 300, 500, 300]);
        compare(child("question").text, "恢复出厂设置后，所有设置将恢复至默认状态，确定要恢复出厂设置吗？");
        compare([child("cancelButton").text, child("okButton").text], ["取消", "确定"]);
        compare(seen(), ["question"]);
        compare([written(), published, HIDHotplugManager.calls], [[], [], []]);
    }

    function test_cancel_closes_and_resets_nothing() {
        open(mixdeskR2);
        mouseClick(child("cancelButton"));
        tryVerify(() => !testCase.window);
        compare([written(), published, HIDHotplugManager.calls, HIDDeviceMgr.messageCache], [[], [], [],
            {}
        ]);
    }

    function test_ok_resets_the_settings_then_the_device_and_then_tells_the_screens_data() {
        return [
            {
                tag: "Mixdesk R2",
                info: mixdeskR2
            },
            {
                tag: "Voxmic M40",
                info: voxmicM40
            },
            {
                tag: "Voxmic T40",
                info: voxmicT40
            }
        ];
    }

    function test_ok_resets_the_settings_then_the_device_and_then_tells_the_screens(data) {
        const isR2 = data.info.dpid === 0x9829;
        ConfigMgr.setValue("auto_gain", 7);
        open(data.info);
        const order = [];
        const sendsNow = () => HIDHotplugManager.calls.some(call => call.name === "sendPriMessage") || HIDDeviceMgr.attrs.reset_factory_settings in HIDDeviceMgr.messageCache;
        const note = () => order.push([ConfigMgr.getValue("auto_gain"), sendsNow()]);
        MessageBus.subscribe(MessageBus.messageTypes.UPDATE_CONFIG_MESSAGE, note);
        confirm();
        MessageBus.unsubscribe(MessageBus.messageTypes.UPDATE_CONFIG_MESSAGE, note);
        compare(order, [[15, true]], "both before the message");
        compare(payloadsOf(MessageBus.messageTypes.UPDATE_CONFIG_MESSAGE), [true]);
        const direct = HIDHotplugManager.calls.filter(call => call.name === "sendPriMessage").map(call => [call.id, Array.from(call.bytes)]);
        compare(direct, isR2 ? [[0x8004, [1]]] : []);
        compare(HIDDeviceMgr.messageCache, isR2 ? {} : {
            [HIDDeviceMgr.attrs.reset_factory_settings]: [1]
        });
    }

    function test_the_bar_fills_in_a_second_and_then_comes_the_success() {
        open(voxmicM40);
        verifyMovement(() => {
            confirm();
            compare(seen(), ["bar"]);
            compare([child("cancelButton").visible, child("okButton").visible, child("bar").mainText], [false, false, "设置中"]);
        }, () => child("bar"), "value", 0, 1, 1000, Easing.Linear);
        tryVerify(() => child("doneButton").visible);
        compare(seen(), ["successView", "doneButton"]);
        compare([child("setText").text, child("doneButton").text], ["成功", "确定"]);
        mouseClick(child("doneButton"));
        tryVerify(() => !testCase.window);
    }

    function test_the_keyboard_does_it_all() {
        open(voxmicM40);
        window.requestActivate();
        tryCompare(window, "active", true);
        reach(child("okButton"));
        keyClick(Qt.Key_Return);
        tryVerify(() => child("doneButton").activeFocus, 10000);
        keyClick(Qt.Key_Return);
        tryVerify(() => !testCase.window);
        compare(published.filter(news => news.topic === MessageBus.messageTypes.UPDATE_CONFIG_MESSAGE).length, 1);
    }

    function test_escape_closes_it_without_a_reset() {
        open(voxmicM40);
        window.requestActivate();
        tryCompare(window, "active", true);
        keyClick(Qt.Key_Escape);
        tryVerify(() => !testCase.window);
        compare(written(), []);
    }

    function test_what_the_user_has_chosen_for_the_program_stays() {
        const kept = {
            share_data: true,
            auto_install: false,
            listen: "app"
        };
        const reset = {
            trackId: "trackId",
            auto_install_path: "",
            general_hotkey_type: 0,
            general_hotkey_value_url: "",
            auto_gain: 15
        };
        for (const key of Object.keys(kept))
            ConfigMgr.setValue(key, kept[key]);
        for (const key of Object.keys(reset))
            ConfigMgr.setValue(key, typeof reset[key] === "number" ? 3 : "changed");
        ConfigMgr.setStringList("appList", ["a"]);
        ConfigMgr.setStringList("color_picker_preset_colors", ["#123456"]);
        ConfigMgr.settings.setValue("language", "fr_FR");
        open(mixdeskR2);
        confirm();
        for (const key of Object.keys(kept))
            compare(ConfigMgr.getValue(key), kept[key], key);
        for (const key of Object.keys(reset))
            compare(ConfigMgr.getValue(key), reset[key], key);
        compareList(ConfigMgr.getStringList("appList"), ["a"]);
        compareList(ConfigMgr.getStringList("color_picker_preset_colors"), ConfigMgr.defaults.color_picker_preset_colors);
        compare(stored("language"), "fr_FR");
    }

    function test_without_a_device_the_settings_are_reset_all_the_same() {
        ConfigMgr.setValue("auto_gain", 7);
        open({});
        confirm();
        compare(ConfigMgr.getValue("auto_gain"), 15);
        tryVerify(() => child("successView").visible, 10000);
    }

    function test_a_device_that_goes_takes_the_question_with_it() {
        ConfigMgr.setValue("auto_gain", 7);
        open(mixdeskR2);
        HIDHotplugManager.deviceConnected({}, false);
        // Another one comes while the window fades.
        connectDevice(voxmicM40);
        confirm();
        tryVerify(() => !testCase.window);
        compare([ConfigMgr.getValue("auto_gain"), written(), payloadsOf(MessageBus.messageTypes.UPDATE_CONFIG_MESSAGE)], [7, [], []]);
        compare(HIDDeviceMgr.messageCache, {});
    }

    function test_a_device_that_goes_leaves_a_reset_that_has_begun() {
        open(voxmicM40);
        confirm();
        HIDHotplugManager.deviceConnected({}, false);
        compare(seen(), ["bar"]);
        tryVerify(() => child("successView").visible, 10000);
    }

    function test_a_press_on_ok_right_after_cancel_resets_nothing() {
        open(mixdeskR2);
        mouseClick(child("cancelButton"));
        confirm();
        tryVerify(() => !testCase.window);
        compare([written(), published, HIDHotplugManager.calls], [[], [], []]);
    }

    function test_a_page_that_goes_takes_the_window_with_it() {
        const page = createTemporaryQmlObject("import QtQuick; Item {}", testCase);
        connectDevice(voxmicM40);
        window = VxConfig.createWindow("ResetWindow.qml", page);
        tryCompare(window, "opacity", 1);
        confirm();
        tryVerify(() => child("bar").value > 0);
        page.destroy();
        tryVerify(() => !testCase.window);
    }
}
