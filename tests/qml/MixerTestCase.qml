import QtQuick
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug
import VexoDeckSystemBridge
import VexoDeckTest

/* A test case that builds the mixer anew in each test, with a fake bridge to the sound engine. */
ScreenTestCase {
    id: testCase

    property Item mixer: null
    readonly property string liveBus: "4294967294"
    readonly property string monitorBus: "4294967295"
    readonly property var music: app("Music", 4001)
    readonly property var game: app("Game", 4002)
    readonly property var talk: app("Talk", 4003)
    readonly property var secondMic: ({
            name: "Second Mic",
            bundleIdentifier: "Second Mic",
            processIdentifier: "Second Mic",
            isInput: true
        })

    readonly property Component mixerComponent: Component {
        MainSettings {
            width: 1260
            height: 700
        }
    }

    screen: mixer
    heardTopics: Object.values(MessageBus.messageTypes).concat(["device", "__input1_device__", "__input2_device__", "file:///opt/music", "1", "2"])
    width: 1300
    height: 740
    visible: true

    // A record of the inventory.
    function app(name, processId) {
        return {
            name: name,
            bundleIdentifier: "file:///opt/" + name.toLowerCase(),
            processIdentifier: String(processId),
            iconFilePath: "",
            type: "app",
            isActive: true
        };
    }

    function init() {
        initMixer();
    }

    function initMixer() {
        initConfig();
        SystemBridge.applications = [];
        SystemBridge.iconsThere = true;
        SystemBridge.refusedInputs = [];
        SystemBridge.configuredInputs = [];
        InputStreams.streams = {};
        InputStreams.refused = [];
        InputStreams.closing = [];
        HIDDeviceMgr.messageCache = {};
        published = [];
        connectDevice(mixdeskR2);
        SystemBridge.clearCalls();
    }

    function cleanup() {
        closeMixer();
        compare(TestLog.takeFaults(), []);
    }

    // The entries that the settings hold, as the picker stores them.
    function storeApps(apps) {
        ConfigMgr.setStringList("appList", apps.map(entry => JSON.stringify(entry)));
    }

    function storedApps() {
        return ConfigMgr.getStringList("appList").map(text => JSON.parse(text));
    }

    function openMixer(apps) {
        if (apps)
            storeApps(apps);
        mixer = mixerComponent.createObject(testCase);
        verify(mixer);
        waitForRendering(mixer);
    }

    function closeMixer() {
        if (mixer)
            discard(mixer);
        mixer = null;
    }

    function forget() {
        SystemBridge.clearCalls();
        published = [];
        HIDDeviceMgr.messageCache = {};
    }

    function row() {
        return child("audioControllersRow");
    }

    function strips() {
        return row().audioControlles.map((entry, index) => child("strip" + index));
    }

    function slider(strip) {
        return part(strip, "slider");
    }

    function callsNamed(name) {
        return SystemBridge.calls.filter(call => call.name === name);
    }

    // The inputs that were opened or closed: name, or name and index.
    function inputs(name) {
        return callsNamed(name).map(call => call.index === undefined ? call.deviceName : call.deviceName + " " + call.index);
    }

    function lists() {
        return callsNamed("setAudioConfig").map(call => Array.from(call.configs));
    }

    function lastList() {
        verify(lists().length > 0, "a list was sent");
        return lists().pop();
    }

    // Of the last list.
    function recordOf(bundleID) {
        return lastList().find(record => String(record.bundleID) === bundleID);
    }

    // The picker's list, as opened by a click.
    function openPicker() {
        mouseClick(child("plusButton"));
        tryCompare(findChild(child("plusButton"), "popup"), "opened", true);
        return findChild(child("plusButton"), "list");
    }

    function pick(index) {
        const list = openPicker();
        tryVerify(() => list.itemAtIndex(index));
        mouseClick(list.itemAtIndex(index));
        tryCompare(findChild(child("plusButton"), "popup"), "visible", false);
    }
}
