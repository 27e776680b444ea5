import QtQuick
import MediaControls
import VexoDeck
import VexoDeckSystemBridge
import VexoDeckTest

/* A test case that builds the equaliser's window anew in each test. */
ConfigTestCase {
    id: testCase

    property EqualizerWindow equalizer: null
    // What was published: maps with "topic" and "payload".
    property var published: []
    readonly property var zeros: new Array(12).fill(0)
    readonly property var userPreset: JSON.stringify({
        name: "自定义",
        value: [1, 2, 3, 4, 5, 6, 5, 4, 3, 2, 1, 0],
        img: "icons/zdy.svg"
    })

    readonly property Component equalizerComponent: Component {
        EqualizerWindow {}
    }

    function init() {
        initConfig();
        SystemBridge.clearCalls();
        published = [];
    }

    function cleanup() {
        closeEqualizer();
        compare(TestLog.takeFaults(), []);
    }

    // With presets of the user's behind the fixed ones.
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
            equalizer.destroy();
        equalizer = null;
        wait(0);
    }

    function forget() {
        SystemBridge.clearCalls();
        published = [];
        TestLog.begin();
    }

    function child(name) {
        const item = findChild(equalizer.contentItem, name);
        verify(item, name + " exists");
        return item;
    }

    function eqSelect() {
        return child("eqSelect");
    }

    // How often the engine was told to read the settings.
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

    // The keys that were written, in order.
    function written() {
        return TestLog.lines.map(line => line.match(/^(?:qml: )?设置(?:字符串列表)?配置: (\S+)/)).filter(found => found).map(found => found[1]);
    }

    function payloads() {
        return published.map(news => news.payload);
    }

    MessageListener {
        messageTypes: [MessageBus.messageTypes.UPDATE_DEVICE_EQUALIZER_CURRENT]
        onMessage: (topic, payload) => testCase.published.push({
                topic: topic,
                payload: payload
            })
    }
}
