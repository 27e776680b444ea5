pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T

/* A ColorPicker that opens beside its parent. It is made at the first opening and keeps its added swatches. */
T.Popup {
    id: popup

    readonly property ColorPicker picker: loader.item as ColorPicker

    signal colorSelected(color newColor)

    function openWith(startColor: color) {
        loader.active = true;
        picker.flushToColor(startColor);
        open();
    }

    y: parent ? parent.height + 6 : 0
    margins: 6
    padding: 0
    focus: true
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutside
    implicitWidth: 210
    implicitHeight: 330

    contentItem: FocusScope {
        focus: true

        Loader {
            id: loader

            active: false
            anchors.fill: parent
            sourceComponent: ColorPicker {
                border.width: 1
                border.color: VxTheme.outline
                onColorSelected: newColor => popup.colorSelected(newColor)
            }
        }
    }
    enter: Transition {
        NumberAnimation {
            property: "opacity"
            from: 0
            to: 1
            duration: VxTheme.hoverMs
        }
    }

    PopupName {
        owner: popup
        name: popup.picker?.Accessible.name ?? ""
    }
}
