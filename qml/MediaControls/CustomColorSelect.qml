import QtQuick

/* One colour: a tile that opens the picker, and a button back to the default. */
Row {
    id: select

    property color defaultColor: VxTheme.accent
    property color selectedColor: defaultColor
    // What the colour is of, for a screen reader.
    property string name: ""

    // At each step in the picker, and at a reset.
    signal colorChanged(color newColor)
    // When the picker closes, and at a reset.
    signal changeComplete(color newColor, bool isReset)

    function named(text: string): string {
        return name === "" ? text : name + " " + text;
    }

    function reset() {
        selectedColor = defaultColor;
        colorChanged(selectedColor);
        changeComplete(selectedColor, true);
    }

    spacing: 8

    ColorTile {
        objectName: "tile"
        text: select?.named(qsTr("选择颜色")) ?? ""
        colors: [String(select.selectedColor)]
        onClicked: popup.openWith(select.selectedColor)

        ColorPickerPopup {
            id: popup

            objectName: "popup"
            onColorSelected: newColor => {
                select.selectedColor = newColor;
                select.colorChanged(newColor);
            }
            onClosed: select.changeComplete(select.selectedColor, false)
        }
    }
    CustomButton {
        objectName: "resetButton"
        anchors.verticalCenter: parent.verticalCenter
        icon.source: "icons/reset.svg"
        icon.width: 18
        icon.height: 18
        text: qsTr("重置")
        Accessible.name: select?.named(text) ?? ""
        onClicked: select.reset()
    }
}
