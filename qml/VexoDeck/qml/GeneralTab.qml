import QtQuick
import MediaControls
import VexoDeckSystemBridge // qmllint disable import

/*
    The page "通用" of the device drawer: the action of the device's button, firmware, sample rate, indicator and factory
    reset. What a model does not offer is only invisible.
*/
SettingsPage {
    id: generalTab

    readonly property bool isR2: HIDDeviceMgr.isR2()

    // Where the drawer has the focus, it goes to the page; else the page gets it together with the drawer.
    function takeFocus() {
        if (visible)
            focus = true;
    }

    // Asks the system whether it opens the device at this rate.
    function chooseRate(index: int, text: string) {
        const entry = ConfigMgr.rate_list[index];
        ConfigMgr.setValue(ConfigMgr.keys.general_rate, entry);
        DataTrackerMgr.storeAction(["通用", "通用", "采样率"], text);
        SystemBridge.SetDeviceSampleRate(HIDDeviceMgr.getDeviceName(), Number(entry) * 1000); // qmllint disable unqualified
    }

    objectName: "generalTab"
    scrollBarShown: isR2

    HotkeyCard {
        objectName: "hotkeyCard"
        visible: generalTab.isR2
    }

    SettingsSection {
        objectName: "firmwareCard"
        title: qsTr("通用")
        minimumCardHeight: 90

        FirmwareRow {
            objectName: "firmwareRow"
        }
    }

    SettingsSection {
        objectName: "rateCard"
        visible: generalTab.isR2
        title: qsTr("采样率")
        titleShown: false
        cardPadding: 13
        minimumCardHeight: 60

        SettingRow {
            minimumHeight: 34
            text: qsTr("采样率")

            CustomComboBox {
                objectName: "rateBox"
                anchors.verticalCenter: parent.verticalCenter
                name: qsTr("采样率")
                model: ConfigMgr.rate_list.map(entry => entry + " kHz")
                currentIndex: ConfigMgr.rate_list.indexOf(String(ConfigMgr.getValue(ConfigMgr.keys.general_rate)))
                onItemSelected: (index, text) => generalTab.chooseRate(index, text)
            }
        }
    }

    SettingsSection {
        objectName: "indicatorCard"
        visible: HIDDeviceMgr.isM40()
        title: qsTr("指示灯")
        titleShown: false
        cardPadding: 13
        minimumCardHeight: 60

        SwitchRow {
            objectName: "lightSwitch"
            minimumHeight: 34
            text: qsTr("指示灯")
            deviceValue: DeviceValues.indicator
            event: ["通用", "通用", "指示灯"]
            onToggled: checked => deviceValue.sendSwitch(checked)
        }
    }

    ResetRow {
        objectName: "resetRow"
        owner: generalTab
    }

    onVisibleChanged: takeFocus()
    Component.onCompleted: {
        console.log("GeneralTab 已加载");
        takeFocus();
    }
}
