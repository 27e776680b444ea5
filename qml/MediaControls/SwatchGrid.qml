pragma ComponentBehavior: Bound

import QtQuick

/* Places for colours, five in a row. The Tab key stops at one of them, the arrow keys move between them. */
Grid {
    id: grid

    // Texts or colours; null is an empty place.
    required property var colors
    required property color current

    signal chosen(color newColor)
    signal addRequested

    QtObject {
        id: keyboard

        property int place: 0
    }

    function moveFocus(from: int, step: int) {
        const place = from + step;
        if (place >= 0 && place < repeater.count) {
            repeater.itemAt(place).forceActiveFocus(Qt.TabFocusReason);
            keyboard.place = place;
        }
    }

    columns: 5
    columnSpacing: (width - 5 * 26) / 4
    rowSpacing: 8

    Repeater {
        id: repeater

        model: grid.colors.length

        Pressable {
            id: swatch

            required property int index
            readonly property var entry: grid.colors[index]
            readonly property bool filled: entry !== null && entry !== undefined
            readonly property bool selected: filled && Qt.colorEqual(entry, String(grid.current))

            objectName: "swatch" + index
            implicitWidth: 26
            implicitHeight: 26
            ringGap: 2
            focusPolicy: index === keyboard.place ? Qt.StrongFocus : Qt.ClickFocus
            text: filled ? String(entry) : qsTr("添加颜色")

            background: Rectangle {
                radius: VxTheme.radiusSmall
                color: swatch.filled ? swatch.entry : "transparent"
                border.width: swatch.selected ? 2 : 1
                border.color: swatch.selected ? VxTheme.text : swatch.filled ? VxTheme.veilHover : swatch.hovered ? VxTheme.outlineHover : VxTheme.outline
                scale: swatch.down ? 0.92 : 1

                VxIcon {
                    anchors.centerIn: parent
                    source: "icons/minplus.svg"
                    visible: !swatch.filled
                    opacity: swatch.hovered ? 1 : 0.6
                }
            }

            Keys.onLeftPressed: grid.moveFocus(index, -1)
            Keys.onRightPressed: grid.moveFocus(index, 1)
            Keys.onUpPressed: grid.moveFocus(index, -grid.columns)
            Keys.onDownPressed: grid.moveFocus(index, grid.columns)
            onPressed: keyboard.place = index
            onClicked: {
                if (filled)
                    grid.chosen(entry);
                else
                    grid.addRequested();
            }
        }
    }
}
