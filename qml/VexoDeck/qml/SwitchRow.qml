import QtQuick
import MediaControls

/*
    A row with a switch of the device, which is kept in the settings. Only the user's hand emits toggled, so that only
    the user's changes are sent. A report of the device moves the switch and is not echoed.
*/
SettingRow {
    id: switchRow

    required property DeviceValue deviceValue
    // Module, item and type of the event of each change.
    required property list<string> event
    // What the device reports moves the switch.
    property bool follows: true
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
            if (switchRow.deviceValue.read() === checked)
                return;
            switchRow.deviceValue.store(checked);
            DataTrackerMgr.storeAction(switchRow.event, checked);
        }
        onToggled: checked => switchRow.toggled(checked)
    }

    MessageListener {
        messageTypes: switchRow.follows && switchRow.deviceValue.topic !== "" ? [switchRow.deviceValue.topic] : []
        onMessage: (topic, value) => switchBox.checked = value === 1
    }

    Component.onCompleted: switchBox.checked = deviceValue.read()
}
