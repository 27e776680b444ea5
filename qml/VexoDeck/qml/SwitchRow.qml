import QtQuick
import MediaControls

/*
    A row with a switch that is kept in the settings. Only the user's hand emits toggled, so that only the user's changes
    are sent. A report of the device moves the switch and is not echoed.
*/
SettingRow {
    id: switchRow

    required property string key
    // The topic of the device's reports.
    property string topic: ""
    // Shown beside the switch.
    property string valueText: ""
    property alias checked: switchBox.checked

    signal toggled(checked: bool)

    VxText {
        objectName: "value"
        anchors.verticalCenter: parent.verticalCenter
        visible: text !== ""
        text: switchRow.valueText
        color: VxTheme.textSecondary
    }

    SwitchBox {
        id: switchBox

        objectName: "switch"
        anchors.verticalCenter: parent.verticalCenter
        name: switchRow.text
        description: switchRow.tips
        onCheckedChanged: {
            if (ConfigMgr.getValue(switchRow.key) !== checked)
                ConfigMgr.setValue(switchRow.key, checked);
        }
        onToggled: checked => switchRow.toggled(checked)
    }

    MessageListener {
        messageTypes: switchRow.topic === "" ? [] : [switchRow.topic]
        onMessage: (topic, value) => switchBox.checked = value === 1
    }

    Component.onCompleted: switchBox.checked = ConfigMgr.getValue(key)
}
