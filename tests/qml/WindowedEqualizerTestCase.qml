import QtQuick
import MediaControls
import VexoDeck
import VexoDeckSystemBridge
import VexoDeckTest

/* A test case that builds the equaliser's window anew in each test. */
ScreenTestCase {
    id: testCase

    property EqualizerWindow equalizer: null
    readonly property var zeros: new Array(12).fill(0)
    readonly property var userPreset: JSON.stringify({
        name: "自定义",
        value: [1, 2, 3, 4, 5, 6, 5, 4, 3, 2, 1, 0],
        img: "icons/zdy.svg"
    })

    readonly property Component equalizerComponent: Component {
        EqualizerWindow {}
    }

    screen: equalizer?.contentItem ?? null
    heardTopics: [MessageBus.messageTypes.UPDATE_DEVICE_EQUALIZER_CURRENT]

    function init() {
        initConfig();
        SystemBridge.clearCalls();
        published = [];
    }

    function cleanup() {
        closeEqualizer();
        compare(TestLog.takeFaults(), []);
    }

    // With the user's presets after the fixed ones.
    function buildEqualizer(userPresets) {
        if (userPresets)
            ConfigMgr.setStringList("device_equalizer_values", ConfigMgr.defaults.device_equalizer_values.concat(userPresets));
        equalizer = equalizerComponent.createObject(testCase);
        verify(equalizer);
    }

    function openEqualizer(userPresets) {
        buildEqualizer(userPresets);
        equalizer.show();
        tryCompare(equalizer, "opacity", 1);
        forget();
    }

    function closeEqualizer() {
        if (equalizer)
            discard(equalizer);
        equalizer = null;
    }

    function forget() {
        SystemBridge.clearCalls();
        published = [];
        storeCalls = [];
        TestLog.begin();
    }

    function eqSelect() {
        return child("eqSelect");
    }

    // The number of notifications to the engine.
    function updates() {
        return SystemBridge.calls.filter(call => call.name === "updateMonitorDevice").length;
    }

    function storedPresets() {
        return ConfigMgr.getStringList("device_equalizer_values").map(text => JSON.parse(text));
    }

    function current() {
        return JSON.parse(ConfigMgr.getValue("device_equalizer_current"));
    }

    function currentIndex() {
        return ConfigMgr.getValue("device_equalizer_current_index");
    }

    function payloads() {
        return published.map(news => news.payload);
    }
}
