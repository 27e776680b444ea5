pragma ComponentBehavior: Bound

import QtQuick

/*
    A list of 1 to maxColors colours, shown in its order. A click on a tile selects it, a double click or Enter opens
    the picker for it.
*/
Row {
    id: select

    // Texts "#rrggbb".
    property var colorList: defaultColors
    // What a reset goes back to.
    property var defaultColors: ConfigMgr.defaults.color_bg_bln_cyc_color
    property int maxColors: 7

    // At each step in the picker, and at any other change.
    signal colorsChanged(var colors)
    // When the picker closes, and at any other change.
    signal changeComplete(var colors, bool isReset)

    QtObject {
        id: selection

        property int place: 0
    }

    function take(colors: var, isReset: bool) {
        colorList = Array.from(colors, String);
        selection.place = Math.min(selection.place, colorList.length - 1);
        colorsChanged(colorList);
        changeComplete(colorList, isReset);
    }

    function replaceColor(newColor: color) {
        colorList = Array.from(colorList, (entry, index) => String(index === selection.place ? newColor : entry));
        colorsChanged(colorList);
    }

    function openPicker(place: int) {
        selection.place = place;
        popup.parent = repeater.itemAt(place);
        popup.openWith(colorList[place]);
    }

    function addColor() {
        colorList = Array.from(colorList).concat([colorList[colorList.length - 1]]);
        colorsChanged(colorList);
        openPicker(colorList.length - 1);
    }

    function removeColor() {
        take(Array.from(colorList).filter((entry, index) => index !== selection.place), false);
    }

    spacing: 8

    Repeater {
        id: repeater

        model: select.colorList.length

        ColorTile {
            required property int index

            function enter() {
                select.openPicker(index);
            }

            objectName: "tile" + index
            width: 28
            text: qsTr("颜色") + " " + (index + 1)
            colors: [select.colorList[index] ?? VxTheme.unselected]
            selected: selection.place === index
            onClicked: selection.place = index
            onDoubleClicked: select.openPicker(index)
        }
    }
    CustomButton {
        objectName: "addButton"
        anchors.verticalCenter: parent.verticalCenter
        visible: select.colorList.length < select.maxColors
        icon.source: "icons/minplus.svg"
        icon.width: 18
        icon.height: 18
        text: qsTr("添加颜色")
        onClicked: select.addColor()
    }
    CustomButton {
        objectName: "deleteButton"
        anchors.verticalCenter: parent.verticalCenter
        enabled: select.colorList.length > 1
        icon.source: "icons/trash.svg"
        icon.width: 18
        icon.height: 18
        text: qsTr("删除颜色")
        onClicked: select.removeColor()
    }
    CustomButton {
        objectName: "resetButton"
        anchors.verticalCenter: parent.verticalCenter
        icon.source: "icons/reset.svg"
        icon.width: 18
        icon.height: 18
        text: qsTr("重置")
        onClicked: select.take(select.defaultColors, true)
    }

    ColorPickerPopup {
        id: popup

        objectName: "popup"
        onColorSelected: newColor => select.replaceColor(newColor)
        onClosed: select.changeComplete(select.colorList, false)
    }
}
