import QtQuick
import MediaControls

/* One of several tiles of which one is selected: a text with an optional icon above it. */
Pressable {
    id: tile

    required property bool selected

    function fillColor(): color {
        if (selected)
            return down ? VxTheme.accentPressed : hovered ? VxTheme.accentHover : VxTheme.accent;
        return hovered && !down ? VxTheme.unselectedHover : VxTheme.unselected;
    }

    padding: 3
    ringGap: 2

    Accessible.role: Accessible.RadioButton
    Accessible.checkable: true
    Accessible.checked: selected

    contentItem: Item {
        Column {
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width
            spacing: 3

            VxIcon {
                anchors.horizontalCenter: parent.horizontalCenter
                visible: source.toString() !== ""
                // Makes room for a second line.
                size: label.lineCount > 1 ? 18 : 24
                source: tile.icon.source
            }

            VxText {
                id: label

                objectName: "label"
                width: parent.width
                text: tile.text
                font.pixelSize: VxTheme.fontCaption
                // A long text first shrinks, then wraps.
                fontSizeMode: Text.HorizontalFit
                minimumPixelSize: VxTheme.fontSmallest
                wrapMode: Text.WordWrap
                maximumLineCount: 2
                elide: Text.ElideRight
                horizontalAlignment: Text.AlignHCenter
            }
        }
    }
    background: Rectangle {
        radius: VxTheme.radiusSmall
        color: tile.fillColor()

        Behavior on color {
            ColorAnimation {
                duration: VxTheme.hoverMs
            }
        }
    }

    VxToolTip {
        visible: label.truncated && (tile.hovered || tile.visualFocus)
        text: tile.text
    }
}
