import QtQuick
import MediaControls
import VexoDeckSystemBridge // qmllint disable import

/* Does what the user has chosen for the button of the device, at each press of it. */
QtObject {
    id: buttonAction

    readonly property int buttonMessage: 0x8003
    readonly property var bridge: SystemBridge // qmllint disable unqualified

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
            bridge.takeScreenshot();
            break;
        case 4:
            bridge.startScreenRecording();
            break;
        }
    }

    // The system's browser has no path. It opens the maker's home page, as do records that name no program.
    function openApplication(record: string) {
        const path = AppInventory.textOf(AppInventory.recordIn(record)?.executablePath);
        if (path !== "")
            bridge.openApplication(path);
        else
            openPage(Operator.homePage);
    }

    // The field of the address leaves only those of the web; a damaged store may hold others.
    function openPage(address: string) {
        if (/^https?:\/\//i.test(address))
            Qt.openUrlExternally(address);
        else if (address !== "")
            console.warn("The button opens pages of the web only:", address);
    }

    function pressKeys(keys: string) {
        if (keys !== "")
            bridge.simulateKeyPress(keys);
    }
}
