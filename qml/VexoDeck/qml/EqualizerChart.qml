pragma ComponentBehavior: Bound

import QtQuick
import MediaControls
// The program registers this module when it starts: qmllint finds no description of it.
import VexoDeckSystemBridge // qmllint disable import
import "EqualizerCurve.js" as Curve

/*
    The chart of the equaliser: the curve of the selected preset. The user edits own presets by the points of the curve:
    with the mouse, or with the arrow keys, left and right for the band, up and down for its gain. The tabulator stops at
    one band.
*/
Item {
    id: eqChartContainer

    // A preset's record.
    required property var currentEqData
    required property bool editable

    readonly property var bridge: SystemBridge // qmllint disable unqualified
    // Hz
    readonly property list<real> frequencies: bridge.equalizerFrequencies
    readonly property list<string> frequencyLabels: frequencies.map(hertz => hertz < 1000 ? hertz + "Hz" : hertz / 1000 + "kHz")
    readonly property list<real> gainLevels: [6, 4, 2, 0, -2, -4, -6]
    readonly property list<string> gainLabels: gainLevels.map(gain => gain === 0 ? "0" : gainText(gain))
    readonly property list<real> gains: Curve.twelveGains(currentEqData.value)

    // The user's hand has moved a band's gain, in dB.
    signal gainEdited(band: int, gain: real)
    // A press has been handled, on a band or not. The filter follows presses only, not the moves after them.
    signal pressed

    QtObject {
        id: edit

        property int band: -1
        property int keyBand: 0
        // The last one to have the focus.
        property EqualizerBand focusedBand: null
    }

    function gainText(gain: real): string {
        return (gain > 0 ? "+" : "") + Math.round(gain * 10) / 10 + "dB";
    }

    function warnOfLength() {
        const value = currentEqData.value;
        if (Array.isArray(value) && value.length !== Curve.bandCount)
            console.warn("均衡器预设不是12个数值:", value.length);
    }

    function applyAt(y: real) {
        gainEdited(edit.band, Curve.gainAt(y, canvas.height));
    }

    function press(x: real, y: real) {
        if (!editable)
            return;
        edit.band = Curve.nearestBand(x, canvas.width);
        if (edit.band >= 0) {
            (bands.itemAt(edit.band) as EqualizerBand).takeFocusByMouse();
            applyAt(y);
        }
        pressed();
    }

    function drag(y: real) {
        if (edit.band >= 0)
            applyAt(y);
    }

    objectName: "eqChartContainer"

    Repeater {
        model: eqChartContainer.gainLevels

        VxText {
            required property real modelData
            required property int index

            x: 0
            y: canvas.y + Curve.gainY(modelData, canvas.height) - height / 2
            width: 38
            text: eqChartContainer.gainLabels[index]
            color: VxTheme.textSecondary
            font.pixelSize: VxTheme.fontScale
            horizontalAlignment: Text.AlignRight
        }
    }

    Repeater {
        model: eqChartContainer.frequencyLabels

        VxText {
            required property string modelData
            required property int index

            x: canvas.x + Curve.bandX(index, canvas.width) - width / 2
            y: canvas.y + canvas.height + 7
            text: modelData
            color: VxTheme.textSecondary
            font.pixelSize: VxTheme.fontScale
        }
    }

    EqualizerCanvas {
        id: canvas

        objectName: "canvas"
        anchors.fill: parent
        anchors.leftMargin: 45
        anchors.rightMargin: 10
        anchors.topMargin: 10
        anchors.bottomMargin: 25
        gains: eqChartContainer.gains

        MouseArea {
            objectName: "dragArea"
            anchors.fill: parent
            preventStealing: true
            hoverEnabled: true
            cursorShape: eqChartContainer.editable && (pressed || Curve.nearestBand(mouseX, width) >= 0) ? Qt.PointingHandCursor : Qt.ArrowCursor
            onPressed: event => eqChartContainer.press(event.x, event.y)
            onPositionChanged: event => {
                if (pressed)
                    eqChartContainer.drag(event.y);
            }
            onReleased: edit.band = -1
            onCanceled: edit.band = -1
        }

        Repeater {
            id: bands

            model: eqChartContainer.frequencyLabels

            EqualizerBand {
                id: slider

                required property string modelData

                objectName: "band" + index
                x: Curve.bandX(index, canvas.width) - width / 2
                width: Curve.plotWidth(canvas.width) / (Curve.bandCount - 1)
                height: canvas.height
                enabled: eqChartContainer.editable
                current: eqChartContainer.gains[index]
                activeFocusOnTab: index === edit.keyBand
                Accessible.name: modelData
                Accessible.description: eqChartContainer.gainText(current)
                onGainWanted: gain => {
                    eqChartContainer.gainEdited(index, gain);
                    eqChartContainer.pressed();
                }
                onBandWanted: band => bands.itemAt(Math.max(0, Math.min(Curve.bandCount - 1, band))).forceActiveFocus(Qt.TabFocusReason)
                onActiveFocusChanged: {
                    if (!activeFocus)
                        return;
                    edit.keyBand = index;
                    edit.focusedBand = slider;
                }
            }
        }

        // Marks the point that the mouse or the keyboard moves.
        Item {
            id: point

            readonly property int band: edit.band >= 0 ? edit.band : edit.keyBand
            readonly property bool focused: edit.focusedBand?.focusShown ?? false

            x: Curve.bandX(band, canvas.width)
            y: Curve.gainY(eqChartContainer.gains[band], canvas.height)

            FocusRing {
                inner: 8
                anchors.margins: -9
                visible: point.focused
            }
            VxToolTip {
                visible: edit.band >= 0 || point.focused
                text: eqChartContainer.frequencyLabels[point.band] + "  " + eqChartContainer.gainText(eqChartContainer.gains[point.band])
            }
        }
    }

    onCurrentEqDataChanged: warnOfLength()
    Component.onCompleted: warnOfLength()
}
