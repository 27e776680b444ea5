import QtQuick
import QtQuick.Controls
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug

/* A test case with the main window, made anew for each test, and ways to its pages. */
ConfigTestCase {
    id: testCase

    property Main window: null
    property StackView stackView: null

    readonly property Component mainComponent: Component {
        Main {}
    }

    function init() {
        initMainWindow();
    }

    // Separate from init(), for test cases that set up more.
    function initMainWindow() {
        initConfig();
        // Asked and answered: otherwise the window begins with that question.
        ConfigMgr.setValue("share_data", false);
        storeCalls = [];
        HIDHotplugManager.deviceConnected({}, false);
        HIDHotplugManager.accessMissing = false;
        HIDHotplugManager.bootloaderPresent = false;
        // Drops the pending writes of the test before.
        HIDDeviceMgr.messageCache = {};
        HIDHotplugManager.clearCalls();
        openWindow();
    }

    function openWindow(properties) {
        window = createTemporaryObject(mainComponent, testCase, properties ?? {});
        tryCompare(window, "opacity", 1);
        stackView = child("stackView");
    }

    function child(name) {
        return findChild(window.contentItem, name);
    }

    function loseDevice() {
        HIDHotplugManager.deviceConnected(HIDDeviceMgr.deviceInfo, false);
        tryCompare(stackView, "busy", false);
    }

    // Goes from the waiting page to the main screen of a model and returns it.
    function openMainLayout(info) {
        connectDevice(info);
        tryCompare(child("startButton"), "visible", true);
        mouseClick(child("startButton"));
        compare(stackView.depth, 2);
        tryCompare(stackView, "busy", false);
        compare(stackView.currentItem.objectName, "mainLayout");
        return stackView.currentItem;
    }

    function openDrawer(info) {
        const layout = openMainLayout(info);
        mouseClick(child("deviceSettingsButton"));
        tryCompare(child("deviceSettingsDrawer"), "width", 450);
        return layout;
    }

    function activateWindow() {
        window.requestActivate();
        tryCompare(window, "active", true);
    }

    function compareWaiting() {
        tryCompare(child("startButton"), "visible", false);
        compare(child("status").visible, false);
        compare(child("description").visible, true);
        tryCompare(child("title"), "text", "连接你的 VEXO 设备");
    }

    // The names of the calls that the documents made at the device manager.
    function callsNamed(name) {
        return HIDHotplugManager.calls.filter(call => call.name === name);
    }

    // The layout takes a moment to settle.
    function verifyNoClippedTexts(root) {
        const layout = {
            get clipped(){
                return clippedTexts(root).join("; ");
            }
        };
        tryCompare(layout, "clipped", "");
    }

    // Texts inside an item that are cut off or stand outside of it.
    function clippedTexts(root) {
        return textsIn(root).filter(label => {
            const frame = scrolledContent(label, root) ?? root;
            const end = label.mapToItem(frame, label.width, label.height);
            const begin = label.mapToItem(frame, 0, 0);
            const inside = begin.x >= 0 && begin.y >= 0 && end.x <= frame.width && end.y <= frame.height;
            return label.truncated || label.contentWidth > label.width + 0.5 || label.contentHeight > label.height + 0.5 || !inside;
        }).map(label => label.text);
    }

    // The content that the item scrolls with, or null. The item may stand anywhere in it.
    function scrolledContent(item, root) {
        let ancestor = item;
        while (ancestor && ancestor !== root && ancestor.flickableDirection === undefined)
            ancestor = ancestor.parent;
        return ancestor && ancestor !== root ? ancestor.contentItem : null;
    }

    function textsIn(item) {
        const found = item.visible && item.text && item.contentWidth !== undefined && item.truncated !== undefined ? [item] : [];
        return Array.from(item.children).filter(part => part.visible).reduce((texts, part) => texts.concat(textsIn(part)), found);
    }
}
