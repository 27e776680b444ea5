import QtQuick
import MediaControls

/* A row of a card: its text and explanation at the left, the control at the right. */
Item {
    id: settingRow

    required property string text
    property string tips: ""
    property int minimumHeight: 40
    default property alias content: contentRow.data

    width: parent?.width ?? 0
    implicitHeight: Math.max(minimumHeight, label.height + 12, contentRow.height)

    CustomText {
        id: label

        objectName: "label"
        anchors.verticalCenter: parent.verticalCenter
        text: settingRow.text
        tips: settingRow.tips
        maximumWidth: settingRow.width - contentRow.width - 16
    }

    Row {
        id: contentRow

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        spacing: 12
    }
}
