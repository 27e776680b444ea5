import QtQuick
import MediaControls

/* What a window shows when it has done its work: a green tick and the result. */
Column {
    id: successView

    required property string text

    width: 360
    spacing: 18

    Accessible.role: Accessible.AlertMessage
    Accessible.name: text

    VxIcon {
        anchors.horizontalCenter: parent.horizontalCenter
        size: 56
        source: VxConfig.iconUrl("icons/success.svg", "")
    }
    VxText {
        objectName: "setText"
        width: parent.width
        text: successView.text
        font.pixelSize: VxTheme.fontLead
        lineHeight: 1.3
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
    }
}
