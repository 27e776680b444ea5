pragma ComponentBehavior: Bound

import QtQuick

/* A row of tiles of equal width, one of which is selected. The selection follows the index alone. */
Row {
    id: tileRow

    // Maps with "text" and, where there is one, "icon".
    required property list<var> tiles
    property int selectIndex: -1
    property int tileHeight: 60
    // Tiles without their texts, which still are their names.
    property bool iconsOnly: false
    // For a screen reader.
    property string name: ""
    readonly property int tabIndex: selectIndex >= 0 && selectIndex < tiles.length ? selectIndex : 0

    // The user has chosen a tile.
    signal chosen(index: int)

    // For the keyboard: the first tile follows the last.
    function choose(index: int) {
        const place = (index + repeater.count) % repeater.count;
        chosen(place);
        repeater.itemAt(place).forceActiveFocus(Qt.TabFocusReason);
    }

    width: parent?.width ?? 0
    spacing: 8

    Accessible.role: Accessible.Grouping
    Accessible.name: name

    Repeater {
        id: repeater

        // A number: texts that change leave the tiles, and the focus in them, where they are.
        model: tileRow.tiles.length

        TileButton {
            required property int index
            readonly property var entry: tileRow.tiles[index]

            objectName: "tile" + index
            width: (tileRow.width - (tileRow.tiles.length - 1) * tileRow.spacing) / tileRow.tiles.length
            height: tileRow.tileHeight
            text: entry?.text ?? ""
            icon.source: entry?.icon ?? ""
            iconOnly: tileRow.iconsOnly
            selected: index === tileRow.selectIndex
            tabStop: index === tileRow.tabIndex
            onMoved: step => tileRow.choose(index + step)
            onClicked: tileRow.chosen(index)
        }
    }
}
