import QtQuick

/*
    The panel to pick a colour: an area for hue and saturation, a bar for lightness, text fields and swatches. Every
    pick emits colorSelected at once, a drag at each move.
*/
Rectangle {
    id: picker

    property color selectedColor: presetColors[0] ?? VxTheme.accent
    // Read once, when the picker is created.
    property var presetColors: []
    // Upper-case texts, for as long as this picker lives.
    property var dynamicColors: []
    readonly property int placeCount: 15
    // Presets, then dynamic colours, then null.
    readonly property var allColors: {
        const filled = Array.from(presetColors).concat(dynamicColors);
        return filled.concat(Array(Math.max(0, placeCount - filled.length)).fill(null));
    }
    // A text field's entry is being applied: the fields keep what they show.
    property bool updatingFromInput: false

    signal colorSelected(color newColor)

    QtObject {
        id: hsl

        // 0 to 360, 0 to 1, 0 to 1. Kept beside the colour, since a grey has no hue.
        property real hue: 0
        property real saturation: 0
        property real lightness: 0.5
    }

    // Moves every part to the colour without a signal.
    function flushToColor(newColor: color) {
        if (newColor.hslHue >= 0)
            hsl.hue = newColor.hslHue * 360;
        hsl.saturation = newColor.hslSaturation;
        hsl.lightness = newColor.hslLightness;
        selectedColor = newColor;
    }

    function focusOut() {
        fields.focusOut();
    }

    function pick(newColor: color) {
        flushToColor(newColor);
        colorSelected(newColor);
    }

    function pickHsl(hue: real, saturation: real, lightness: real) {
        hsl.hue = hue;
        hsl.saturation = saturation;
        hsl.lightness = lightness;
        selectedColor = Qt.hsla(hue / 360, saturation, lightness, 1);
        colorSelected(selectedColor);
    }

    function addSwatch() {
        const text = String(selectedColor).toUpperCase();
        if (!allColors.some(entry => entry !== null && String(entry).toUpperCase() === text))
            dynamicColors = dynamicColors.concat([text]);
    }

    implicitWidth: 210
    implicitHeight: 330
    radius: VxTheme.radiusPanel
    color: VxTheme.popup

    Accessible.role: Accessible.ColorChooser
    Accessible.name: qsTr("选择颜色")

    // Keeps clicks away from the page below.
    MouseArea {
        anchors.fill: parent
        hoverEnabled: true
        onPressed: picker.focusOut()
        onWheel: wheel => wheel.accepted = true
    }

    Column {
        x: 12
        y: 12
        width: parent.width - 24
        spacing: 14

        ColorArea {
            objectName: "area"
            width: parent.width
            height: 90
            hue: hsl.hue
            saturation: hsl.saturation
            lightness: hsl.lightness
            onPicked: (hue, saturation) => picker.pickHsl(hue, saturation, hsl.lightness)
        }
        LightnessBar {
            objectName: "bar"
            width: parent.width
            height: 14
            hue: hsl.hue
            saturation: hsl.saturation
            lightness: hsl.lightness
            onPicked: lightness => picker.pickHsl(hsl.hue, hsl.saturation, lightness)
        }
        ColorFields {
            id: fields

            width: parent.width
            shown: picker.selectedColor
            frozen: picker.updatingFromInput
            onEntered: newColor => {
                picker.updatingFromInput = true;
                picker.pick(newColor);
                picker.updatingFromInput = false;
            }
        }
        SwatchGrid {
            objectName: "swatches"
            width: parent.width
            colors: picker.allColors
            current: picker.selectedColor
            onChosen: newColor => picker.pick(newColor)
            onAddRequested: picker.addSwatch()
        }
    }

    Component.onCompleted: {
        presetColors = Array.from(ConfigMgr.getStringList(ConfigMgr.keys.color_picker_preset_colors));
        flushToColor(selectedColor);
    }
}
