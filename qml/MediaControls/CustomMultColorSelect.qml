pragma ComponentBehavior: Bound

import QtQuick
import "GradientColors.js" as GradientColors

/*
    A gradient of three colours: presets, one of the user's own (index 3), and a button back to the first preset. The
    colours of the own one are picked under the bar.
*/
Column {
    id: select

    // Texts "#rrggbb".
    property var selectedGradient: presetGradients[0]
    property int selectedPresetIndex: 0
    // Rows of three.
    property var presetGradients: ConfigMgr.color_illusory_color_list
    // What the gradient is of, for a screen reader.
    property string name: ""
    readonly property int ownIndex: 3

    // At each step in the picker, and at a choice or a reset.
    signal gradientChanged(int index, var data)
    // When the picker closes, and at a choice or a reset.
    signal changeComplete(int index, var data, bool isReset)

    function named(text: string): string {
        return name === "" ? text : name + " " + text;
    }

    function choose(index: int, gradient: var, isReset: bool) {
        selectedPresetIndex = index;
        selectedGradient = Array.from(gradient, String);
        gradientChanged(index, selectedGradient);
        changeComplete(index, selectedGradient, isReset);
    }

    // The selected gradient as a list of that many colours.
    function getCurrentGradientXColors(steps: int): var {
        return GradientColors.generateGradientColors(selectedGradient, steps);
    }

    function replaceColor(place: int, newColor: color) {
        selectedGradient = Array.from(selectedGradient, (entry, index) => String(index === place ? newColor : entry));
        gradientChanged(selectedPresetIndex, selectedGradient);
    }

    width: 240
    spacing: 12

    Row {
        spacing: 8

        Repeater {
            model: select.presetGradients.length

            ColorTile {
                required property int index

                objectName: "preset" + index
                text: select?.named(qsTr("渐变") + " " + (index + 1)) ?? ""
                colors: select.presetGradients[index]
                selected: select.selectedPresetIndex === index
                onClicked: select.choose(index, colors, false)
            }
        }
        ColorTile {
            objectName: "own"
            text: select?.named(qsTr("自定义")) ?? ""
            colors: select.selectedPresetIndex === select.ownIndex ? select.selectedGradient : [VxTheme.unselected]
            selected: select.selectedPresetIndex === select.ownIndex
            onClicked: select.choose(select.ownIndex, select.selectedGradient, false)

            VxIcon {
                anchors.centerIn: parent
                source: "icons/minplus.svg"
                visible: !parent.selected
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
            onClicked: select.choose(0, select.presetGradients[0], true)
        }
    }

    GradientBar {
        objectName: "gradientBar"
        width: parent.width
        height: 14
        radius: height / 2
        colors: select.selectedGradient
    }

    // The own colours at the start, the middle and the end of the bar.
    Item {
        id: places

        width: parent.width
        height: 28
        visible: select.selectedPresetIndex === select.ownIndex

        Repeater {
            model: 3

            ColorTile {
                id: colorTile

                required property int index

                objectName: "color" + index
                x: index / 2 * (places.width - width)
                width: 28
                text: select?.named(qsTr("选择颜色") + " " + (index + 1)) ?? ""
                colors: [select.selectedGradient[index]]
                onClicked: popup.openWith(select.selectedGradient[index])

                ColorPickerPopup {
                    id: popup

                    objectName: "popup"
                    onColorSelected: newColor => select.replaceColor(colorTile.index, newColor)
                    onClosed: select.changeComplete(select.selectedPresetIndex, select.selectedGradient, false)
                }
            }
        }
    }
}
