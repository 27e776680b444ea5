import QtQuick
import MediaControls
import VexoDeckSystemBridge // qmllint disable import

/*
    Does what the user has chosen for the button of the device, at each press of it. A worn contact or a link that repeats
    its frames tells of a thousand presses a second: those that come too often are dropped.
*/
QtObject {
    id: buttonAction

    readonly property int buttonMessage: 0x8003
    readonly property var bridge: SystemBridge // qmllint disable unqualified

    // How many presses may still act: a few in a row, then one each interval. Only a press that does something counts.
    component Allowance: Timer {
        readonly property int most: 3
        property int left: most
        property bool refusalTold: false

        function take(): bool {
            if (left === 0) {
                if (!refusalTold)
                    console.warn("The button comes too often");
                refusalTold = true;
                return false;
            }
            left--;
            start();
            return true;
        }

        repeat: true
        onTriggered: {
            left++;
            if (left < most)
                return;
            stop();
            refusalTold = false;
        }
    }

    readonly property Allowance openings: Allowance {
        interval: 1000
    }
    // A double press of the dial takes longer than this.
    readonly property Allowance keyPresses: Allowance {
        interval: 200
    }

    readonly property Connections deviceConnections: Connections {
        target: HIDDeviceMgr.manager

        function onPriMsgCallback(msgid: int, value: int) {
            if (msgid === buttonAction.buttonMessage)
                buttonAction.run();
        }
    }

    function run() {
        const keys = ConfigMgr.keys;
        switch (ConfigMgr.getValue(keys.general_hotkey_type)) {
        case 0:
            openApplication(ConfigMgr.getValue(keys.general_hotkey_value_app));
            break;
        case 1:
            openPage(ConfigMgr.getValue(keys.general_hotkey_value_url));
            break;
        case 2:
            pressKeys(ConfigMgr.getValue(keys.general_hotkey_value_key));
            break;
        case 3:
            if (openings.take())
                bridge.takeScreenshot();
            break;
        case 4:
            if (openings.take())
                bridge.startScreenRecording();
            break;
        }
    }

    // The system's browser has no path. It opens the maker's home page, as do records that name no program.
    function openApplication(record: string) {
        const path = AppInventory.textOf(AppInventory.recordIn(record)?.executablePath);
        if (path === "")
            openPage(Operator.homePage);
        else if (openings.take())
            bridge.openApplication(path);
    }

    // The field of the address leaves only those of the web; a damaged store may hold others.
    function openPage(address: string) {
        if (/^https?:\/\//i.test(address)) {
            if (openings.take())
                WebPages.open(address);
        } else if (address !== "")
            console.warn("The button opens pages of the web only:", address);
    }

    function pressKeys(keys: string) {
        if (keys !== "" && keyPresses.take())
            bridge.simulateKeyPress(keys);
    }
}
