import QtQuick

/* The bar from black to white through a hue and saturation. */
DragSurface {
    id: bar

    // 0 to 360, 0 to 1, 0 to 1.
    required property real hue
    required property real saturation
    required property real lightness

    signal picked(real lightness)

    function pickAt(x: real) {
        picked(Math.max(0, Math.min(width, x)) / width);
    }

    function pickBeside(steps: int) {
        picked(Math.max(0, Math.min(1, lightness + stepSize * steps)));
    }

    current: lightness
    stepSize: 0.01
    Accessible.name: qsTr("明度")
    Accessible.description: Math.round(lightness * 100) + "%"

    Rectangle {
        objectName: "ramp"
        anchors.fill: parent
        radius: height / 2
        gradient: Gradient {
            orientation: Gradient.Horizontal

            GradientStop {
                position: 0
                color: "black"
            }
            GradientStop {
                position: 0.5
                color: Qt.hsla(bar.hue / 360, bar.saturation, 0.5, 1)
            }
            GradientStop {
                position: 1
                color: "white"
            }
        }
    }

    ColorSelector {
        objectName: "selector"
        x: Math.max(0, Math.min(bar.width - width, bar.lightness * bar.width - width / 2))
        anchors.verticalCenter: parent.verticalCenter
        fill: Qt.hsla(bar.hue / 360, bar.saturation, bar.lightness, 1)
    }

    FocusRing {
        inner: bar.height / 2
        visible: bar.focusShown
    }

    onPressedAt: x => pickAt(x)
    onDraggedTo: x => pickAt(x)
    onStepped: (right, up) => pickBeside(right + up)
}
