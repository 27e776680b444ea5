import QtQuick
import MediaControls
import VexoDeckHIDHotplug
import VexoDeckTest

/* A test case that builds a page of the device drawer anew in each test, as the drawer shows it. */
ScreenTestCase {
    id: testCase

    // Of the page, from the test's own component.
    property Component pageComponent: null
    property Item page: null
    readonly property var modelRows: [
        {
            tag: "Mixdesk R2",
            info: mixdeskR2,
            isR2: true
        },
        {
            tag: "Voxmic M40",
            info: voxmicM40,
            isR2: false
        },
        {
            tag: "Voxmic T40",
            info: voxmicT40,
            isR2: false
        }
    ]

    // Milliseconds from a release to changeComplete.
    readonly property int debounceMs: 500

    screen: page
    // A test case is invisible by default, and its content with it.
    visible: true

    function openPage(info) {
        connectDevice(info);
        page = createTemporaryObject(pageComponent, host);
        verify(page);
        waitForRendering(page);
        forgetWhatWasSent();
    }

    function forgetWhatWasSent() {
        HIDDeviceMgr.flushMessages();
        HIDHotplugManager.clearCalls();
        published = [];
        storeCalls = [];
    }

    // The writes to the device, in order: the bytes under the attribute's name.
    function sent() {
        HIDDeviceMgr.flushMessages();
        const names = Object.keys(HIDDeviceMgr.attrs);
        return HIDHotplugManager.calls.filter(call => call.name === "messageSend").map(call => ({
                    [names.find(name => HIDDeviceMgr.attrs[name] === call.id)]: Array.from(call.bytes)
                }));
    }

    function report(attribute, value) {
        HIDHotplugManager.messageReceived(HIDDeviceMgr.attrs[attribute], [value]);
    }

    function setting(key) {
        return ConfigMgr.getValue(key);
    }

    function allSettings() {
        return Object.assign({}, ConfigMgr.config);
    }

    function switchOf(rowName) {
        return findChild(child(rowName), "switch");
    }

    function toggle(rowName) {
        mouseClick(switchOf(rowName));
        // The rows may move.
        waitForPolish(Window.window);
    }

    function tooltipOf(slider) {
        const tooltip = slider.handle.data.find(object => object.objectName === "tooltip");
        verify(tooltip, "tooltip exists");
        return tooltip;
    }

    function waitForEndOf(slider) {
        tryVerify(() => !slider.isManually, 2000);
    }

    function cleanup() {
        if (page)
            discard(page);
        page = null;
        compare(TestLog.takeFaults(), []);
    }

    Item {
        id: host

        width: 410
        height: 760
    }
}
