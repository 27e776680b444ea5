import QtQuick
import MediaControls

/*
    One of several tiles of which one is selected: a text with an optional icon above it. The arrow keys go from one to
    the next; the tabulator stops at one of them.
*/
Pressable {
    id: tile

    required property bool selected
    // The tile at which the tabulator stops.
    property bool tabStop: selected
    // Shows no text. It still is the name.
    property bool iconOnly: false

    signal moved(step: int)

    function fillColor(): color {
        if (selected)
            return down ? VxTheme.accentPressed : hovered ? VxTheme.accentHover : VxTheme.accent;
        return hovered && !down ? VxTheme.unselectedHover : VxTheme.unselected;
    }

    focusPolicy: tabStop || activeFocus ? Qt.StrongFocus : Qt.ClickFocus
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
                objectName: "icon"
                anchors.horizontalCenter: parent.horizontalCenter
                visible: source.toString() !== ""
                // Makes room for a second line.
                size: !tile.iconOnly && label.lineCount > 1 ? 18 : 24
                source: tile.icon.source
            }

            VxText {
                id: label

                objectName: "label"
                width: parent.width
                visible: !tile.iconOnly
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
        visible: (label.truncated || tile.iconOnly) && (tile.hovered || tile.visualFocus)
        text: tile.text
    }

    // Without it Qt would check the tile and choose nothing.
    Accessible.onToggleAction: click()
    Keys.onLeftPressed: moved(-1)
    Keys.onUpPressed: moved(-1)
    Keys.onRightPressed: moved(1)
    Keys.onDownPressed: moved(1)
}
