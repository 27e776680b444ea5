import QtQuick
import QtQuick.Templates as T
import MediaControls

/* What the button of the device does: one of five actions, three of which have data of their own. */
SettingsSection {
    id: hotkeyCard

    // By the action's number in the settings.
    readonly property list<HotkeyRow> actions: [appAction, urlAction, keyAction, screenshotAction, recordingAction]

    function store() {
        const action = actions.findIndex(row => row.button === group.checkedButton);
        if (action < 0)
            return;
        ConfigMgr.setValue(ConfigMgr.keys.general_hotkey_type, action);
        DataTrackerMgr.storeAction(["通用", "热键", "旋钮按键"], action);
    }

    title: qsTr("热键")
    minimumCardHeight: 280

    T.ButtonGroup {
        id: group

        onCheckedButtonChanged: hotkeyCard.store()
    }

    SettingRow {
        text: qsTr("旋钮按键")
        tips: qsTr("当Vexo Deck 在后台运行时，双击旋钮可执行自定义功能。")
    }

    HotkeyRow {
        id: appAction

        objectName: "action0"
        text: "App"
        icon: "icons/app1.svg"
        group: group

        CustomComAppBox {
            objectName: "appBox"
            width: parent.width
            name: appAction.text
        }
    }

    HotkeyRow {
        id: urlAction

        objectName: "action1"
        text: "URL"
        icon: "icons/app2.svg"
        group: group

        UrlField {
            objectName: "urlField"
            width: parent.width
            name: urlAction.text
        }
    }

    HotkeyRow {
        id: keyAction

        objectName: "action2"
        text: qsTr("热键")
        icon: "icons/app3.svg"
        group: group

        KeyField {
            objectName: "keyField"
            width: parent.width
            name: keyAction.text
        }
    }

    HotkeyRow {
        id: screenshotAction

        objectName: "action3"
        text: qsTr("系统截图")
        icon: "icons/app4.svg"
        group: group
    }

    HotkeyRow {
        id: recordingAction

        objectName: "action4"
        text: qsTr("系统录屏")
        icon: "icons/app5.svg"
        group: group
    }

    // A number of no action leaves all of them unchecked.
    Component.onCompleted: {
        const row = actions[ConfigMgr.getValue(ConfigMgr.keys.general_hotkey_type)];
        if (row)
            row.button.checked = true;
    }
}
