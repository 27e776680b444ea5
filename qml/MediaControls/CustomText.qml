import QtQuick

/* A label. With tips it has an icon behind it that shows them, under the mouse or reached by the keyboard. */
Row {
    id: customText

    property string text: ""
    property real textOpacity: 1
    property int textPpixelSize: VxTheme.fontSmall
    property string tips: ""
    // A longer text wraps.
    property real maximumWidth: Number.POSITIVE_INFINITY

    spacing: 6

    Accessible.role: Accessible.StaticText
    Accessible.name: text
    Accessible.description: tips

    // As wide as its lines are after wrapping, so that the icon stands beside them.
    Item {
        anchors.verticalCenter: parent.verticalCenter
        width: Math.ceil(label.contentWidth)
        height: label.height

        VxText {
            id: label

            objectName: "label"
            width: Math.min(Math.ceil(implicitWidth), customText.maximumWidth - (tipsIcon.visible ? tipsIcon.width + customText.spacing : 0))
            text: customText.text
            opacity: customText.textOpacity
            font.pixelSize: customText.textPpixelSize
            wrapMode: Text.Wrap
        }
    }

    TipsIcon {
        id: tipsIcon

        anchors.verticalCenter: parent.verticalCenter
        tips: customText.tips
    }
}
