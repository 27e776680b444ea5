import MediaControls
import VexoDeckHIDHotplug
import VexoDeckSettings
import VexoDeckTest

/* A test case that starts each test with no device, an empty store and its settings loaded as on Linux. */
LoggedTestCase {
    id: testCase

    // The device information of each model.
    readonly property var mixdeskR2: ({
            dpid: 0x9829,
            pid: 1,
            vid: 2,
            name: "VEXO Mixdesk R2",
            sn: "VX24A0117",
            version: "V1.04"
        })
    readonly property var voxmicM40: Object.assign({}, mixdeskR2, {
        dpid: 0x1396,
        name: "VEXO Voxmic M40"
    })
    readonly property var voxmicT40: Object.assign({}, mixdeskR2, {
        dpid: 0x1397,
        name: "VEXO Voxmic T40"
    })

    // The calls into the store: operation, key and value of each.
    property var storeCalls: []

    function init() {
        initConfig();
    }

    // Separate from init(), for test cases that set up more.
    function initConfig() {
        TestLog.begin();
        // A click of the test before is none of this one.
        WebPages.clicking.stop();
        connectDevice({});
        SettingsManager.clear();
        ConfigMgr.settings = recordingStore();
        loadOn("linux");
        storeCalls = [];
        TestLog.begin();
    }

    // Passes all calls on.
    function recordingStore() {
        const store = {};
        for (const name of ["contains", "getValue", "setValue", "removeValue", "getColor", "setColor", "getStringList", "setStringList"]) {
            store[name] = function (key, value) {
                storeCalls.push([name, key, value]);
                return SettingsManager[name].apply(SettingsManager, arguments);
            };
        }
        return store;
    }

    // Operation and key of each.
    function storeCallsOf(action) {
        storeCalls = [];
        action();
        return storeCalls.map(([name, key]) => [name, key]);
    }

    function writes() {
        return storeCalls.filter(([name]) => name.startsWith("set"));
    }

    // The keys that were written, in order.
    function written() {
        return writes().map(([, key]) => key);
    }

    function connectDevice(info) {
        HIDHotplugManager.deviceConnected(info, true);
    }

    // Loads the settings as a new start of the program on a platform does.
    function startOn(platformName) {
        StoreFile.restart();
        loadOn(platformName);
    }

    function startWith(lines, platformName) {
        StoreFile.replace(lines);
        loadOn(platformName);
    }

    function loadOn(platformName) {
        ConfigMgr.platformName = platformName;
        ConfigMgr.loadAllSettings();
    }

    // Returns the stored value as a new start reads it, undefined for a missing key.
    function stored(key) {
        StoreFile.restart();
        return SettingsManager.getValue(key);
    }

    function storedList(key) {
        StoreFile.restart();
        return Array.from(SettingsManager.getStringList(key));
    }

    // Makes an array of a list of the engine: compare() distinguishes them.
    function compareList(actual, expected) {
        compare(Array.from(actual), expected);
    }

    // Returns the text of the script error that the call raises. Fails when there is none.
    function errorOf(call) {
        try {
            call();
        } catch (error) {
            return String(error);
        }
        fail("no script error");
    }
}
