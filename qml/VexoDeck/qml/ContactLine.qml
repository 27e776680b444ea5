import QtQuick
import MediaControls

/* A way to the support: its name, and beside it a number or an address, or what is put into it. */
Item {
    id: contactLine

    required property string name
    property string value: ""
    default property alias content: contentRow.data

    width: parent?.width ?? 0
    implicitHeight: Math.max(label.height, contentRow.height)

    VxText {
        id: label

        objectName: "label"
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width - contentRow.width - 16
        text: contactLine.name
        wrapMode: Text.Wrap
        Accessible.ignored: false
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }

    Row {
        id: contentRow

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter

        VxText {
            objectName: "value"
            visible: text !== ""
            text: contactLine.value
            Accessible.ignored: false
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }
}
