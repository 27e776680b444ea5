import QtQuick
import QtQuick.Templates as T

/* A bar between two texts. The lower one is the percent reached, unless the screen sets it. */
Column {
    id: progress

    property alias mainText: mainLabel.text
    property alias subText: subLabel.text
    property alias value: bar.value
    property alias from: bar.from
    property alias to: bar.to
    // The range, under the property names that a screen reader reads.
    readonly property real minimumValue: from
    readonly property real maximumValue: to

    width: 240
    spacing: 10
    Accessible.role: Accessible.ProgressBar
    Accessible.name: mainText
    Accessible.description: subText

    VxText {
        id: mainLabel

        objectName: "mainLabel"
        width: parent.width
        visible: text !== ""
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        lineHeight: 1.2
    }

    T.ProgressBar {
        id: bar

        objectName: "bar"
        width: parent.width
        implicitHeight: 8
        Accessible.ignored: true

        background: Rectangle {
            radius: height / 2
            color: VxTheme.track
        }
        contentItem: Item {
            Rectangle {
                objectName: "fill"
                width: bar.position > 0 ? Math.max(height, bar.position * parent.width) : 0
                height: parent.height
                radius: height / 2
                color: VxTheme.accent
            }
        }
    }

    VxText {
        id: subLabel

        objectName: "subLabel"
        width: parent.width
        visible: text !== ""
        text: Math.round(bar.position * 100) + "%"
        color: VxTheme.textSecondary
        font.pixelSize: VxTheme.fontCaption
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
    }
}
