import QtQuick
import MediaControls
import VexoDeckHIDHotplug
import VexoDeckTest

/* A test case that builds a page of the device drawer anew in each test, as the drawer shows it. */
ConfigTestCase {
    id: testCase

    // Of the page, from the test's own component.
    property Component pageComponent: null
    property Item page: null
    // What was published since the page was built: maps with "topic" and "payload".
    property var published: []
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

    // From a release of the hand to what follows it once, less what a coarse timer may be early.
    readonly property int debounceMs: 500 * 0.95

    // A test case hides what stands in it.
    visible: true

    function record(topic, payload) {
        published.push({
            topic: topic,
            payload: payload
        });
    }

    function payloadsOf(topic) {
        return published.filter(news => news.topic === topic).map(news => news.payload);
    }

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
        TestLog.begin();
    }

    // The writes to the device, in order: the bytes under the attribute's name.
    function sent() {
        HIDDeviceMgr.flushMessages();
        const names = Object.keys(HIDDeviceMgr.attrs);
        return HIDHotplugManager.calls.filter(call => call.name === "messageSend").map(call => ({
                    [names.find(name => HIDDeviceMgr.attrs[name] === call.id)]: Array.from(call.bytes)
                }));
    }

    // The keys that were written, in order.
    function written() {
        return linesWith("设置配置:").map(line => line.split(" ")[1]);
    }

    function report(attribute, value) {
        HIDHotplugManager.messageReceived(HIDDeviceMgr.attrs[attribute], [value]);
    }

    // Members in the order of their names.
    function textOf(data) {
        const sorted = value => Object.keys(value).sort().reduce((members, name) => Object.assign(members, {
                    [name]: value[name]
                }), {});
        return JSON.stringify(data, (name, value) => value && typeof value === "object" && !Array.isArray(value) ? sorted(value) : value);
    }

    // Fails with both texts.
    function compareData(actual, expected, message) {
        compare(textOf(actual), textOf(expected), message);
    }

    function setting(key) {
        return ConfigMgr.getValue(key);
    }

    function allSettings() {
        return Object.assign({}, ConfigMgr.config);
    }

    function child(name) {
        const item = findChild(page, name);
        verify(item, name + " exists");
        return item;
    }

    function switchOf(rowName) {
        return findChild(child(rowName), "switch");
    }

    function toggle(rowName) {
        mouseClick(switchOf(rowName));
        // What follows from it may have moved the rows.
        waitForPolish(Window.window);
    }

    function tooltipOf(slider) {
        const tooltip = slider.handle.data.find(object => object.objectName === "tooltip");
        verify(tooltip, "tooltip exists");
        return tooltip;
    }

    // Where the handle's middle stands for a value.
    function placeOf(slider, value) {
        const share = (value - slider.from) / (slider.to - slider.from);
        const half = slider.handle.width / 2;
        return half + share * (slider.width - 2 * half);
    }

    function press(slider) {
        mousePress(slider, placeOf(slider, slider.value), slider.height / 2);
    }

    function moveTo(slider, value) {
        mouseMove(slider, placeOf(slider, value), slider.height / 2);
    }

    function release(slider) {
        mouseRelease(slider, placeOf(slider, slider.value), slider.height / 2);
    }

    function drag(slider, value) {
        press(slider);
        moveTo(slider, value);
        release(slider);
    }

    function waitForEndOf(slider) {
        tryVerify(() => !slider.isManually, 2000);
    }

    function cleanup() {
        if (page)
            page.destroy();
        page = null;
        wait(0);
        compare(TestLog.takeFaults(), []);
    }

    Item {
        id: host

        width: 410
        height: 760
    }

    MessageListener {
        messageTypes: Object.values(MessageBus.messageTypes)
        onMessage: (topic, payload) => testCase.record(topic, payload)
    }
}
