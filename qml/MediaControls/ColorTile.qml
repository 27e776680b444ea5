import QtQuick

/* A tile that shows a colour or a gradient from left to right. */
Pressable {
    id: tile

    // One colour or more.
    required property var colors
    property bool selected: false

    implicitWidth: 44
    implicitHeight: 28
    ringGap: 2

    Accessible.description: Array.from(colors).join(", ")
    Accessible.selected: selected

    background: Item {
        GradientBar {
            anchors.fill: parent
            radius: VxTheme.radiusSmall
            colors: tile.colors
        }
        Rectangle {
            anchors.fill: parent
            radius: VxTheme.radiusSmall
            color: "transparent"
            border.width: tile.selected ? 2 : 1
            border.color: tile.selected || tile.hovered ? VxTheme.text : VxTheme.veilHover
        }
    }
}
