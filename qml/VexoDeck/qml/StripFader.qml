pragma ComponentBehavior: Bound

import QtQuick
import MediaControls

/* Meters and fader of a mixer strip, with the value below them. */
Item {
    id: stripFader

    property alias from: slider.from
    property alias to: slider.to
    property alias stepSize: slider.stepSize
    property alias name: slider.name
    // function (value) that returns the text of a value
    property alias textOf: slider.formatedValueFunc
    property real defaultValue: 0
    readonly property alias isManually: slider.isManually
    // The value rounded to its step: the slider's own may be off by a rounding error.
    readonly property real position: Math.round(slider.value / stepSize) / Math.round(1 / stepSize)

    // The user's hand has moved the fader.
    signal moved
    // The user's hand let go 500 ms ago.
    signal changeComplete

    function show(value: real) {
        slider.show(value);
    }

    function setLevels(levelLeft: real, levelRight: real) {
        meter.setLevels(levelLeft, levelRight);
    }

    // Two taps go back to the default where both are on the handle: two on the track set two values. Their times are
    // those of the events, however late they are handled.
    function handleTap(timeMs: real) {
        const pauseMs = timeMs - tap.lastMs;
        const twice = tap.onHandle && pauseMs >= 0 && pauseMs < Application.styleHints.mouseDoubleClickInterval;
        tap.lastMs = twice || !tap.onHandle ? -Infinity : timeMs;
        // Later, since the slider's own release follows and would restore the value.
        if (twice)
            Qt.callLater(backToDefault);
    }

    // As the user's hand does.
    function backToDefault() {
        slider.moveBySteps(Math.round((defaultValue - slider.value) / stepSize));
    }

    QtObject {
        id: tap

        // Of the tap before on the handle.
        property real lastMs: -Infinity
        // The last press was on the handle.
        property bool onHandle: false
    }

    Item {
        id: area

        anchors.top: parent.top
        anchors.bottom: valueLabel.top
        anchors.bottomMargin: 6
        anchors.horizontalCenter: parent.horizontalCenter
        width: 76

        AudioLevelIndicator {
            id: meter

            objectName: "meter"
            owner: stripFader.name
            height: parent.height - captions.height - 4
        }
        Row {
            id: captions

            anchors.bottom: parent.bottom
            spacing: meter.spacing

            Repeater {
                model: ["L", "R"]

                VxText {
                    required property string modelData

                    width: 9
                    text: modelData
                    color: VxTheme.textSecondary
                    font.pixelSize: VxTheme.fontScale
                    horizontalAlignment: Text.AlignHCenter
                }
            }
        }

        // Marks at the quarters of the fader's travel, beside its groove: they are none of the meter.
        Repeater {
            model: 5

            Rectangle {
                required property int index

                x: slider.x + 5
                y: slider.y + 9 + index * (slider.height - 18) / 4
                width: 5
                height: 1
                color: VxTheme.meterLine
            }
        }

        CustomSlider {
            id: slider

            objectName: "slider"
            anchors.right: parent.right
            width: 30
            height: meter.height
            orientation: Qt.Vertical
            snapToStep: true
            onMoved: stripFader.moved()
            onChangeComplete: stripFader.changeComplete()

            TapHandler {
                onPressedChanged: {
                    if (pressed)
                        tap.onHandle = slider.handle.contains(slider.handle.mapFromItem(slider, point.pressPosition));
                }
                onTapped: eventPoint => stripFader.handleTap(eventPoint.timestamp)
            }
        }
    }

    VxText {
        id: valueLabel

        objectName: "value"
        anchors.bottom: parent.bottom
        width: parent.width
        text: slider.valueText
        font.bold: slider.isManually
        horizontalAlignment: Text.AlignHCenter
    }
}
