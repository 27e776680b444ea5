import QtQuick
import QtQuick.Templates as T
import MediaControls

/* One action of the device's button: its radio button, and at the right what the action needs. */
Item {
    id: hotkeyRow

    required property string text
    required property string icon
    required property T.ButtonGroup group
    readonly property alias button: radioButton
    default property alias content: contentPlace.data

    width: parent?.width ?? 0
    implicitHeight: Math.max(40, radioButton.height)

    CustomRadioButton {
        id: radioButton

        objectName: "button"
        anchors.verticalCenter: parent.verticalCenter
        width: Math.min(implicitWidth, hotkeyRow.width - (contentPlace.visible ? contentPlace.width + 8 : 0))
        group: hotkeyRow.group
        text: hotkeyRow.text

        contentItem: Item {
            implicitWidth: label.x + Math.ceil(label.implicitWidth)
            implicitHeight: Math.max(picture.height, label.height)

            VxIcon {
                id: picture

                anchors.verticalCenter: parent.verticalCenter
                x: radioButton.indicator.width + radioButton.spacing
                size: 18
                source: VxConfig.iconUrl(hotkeyRow.icon, "")
            }
            VxText {
                id: label

                anchors.verticalCenter: parent.verticalCenter
                x: picture.x + picture.width + 8
                width: parent.width - x
                text: radioButton.text
                wrapMode: Text.Wrap
            }
        }
    }

    Item {
        id: contentPlace

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        width: 200
        height: childrenRect.height
        visible: children.length > 0
    }
}
