pragma ComponentBehavior: Bound

import QtQuick
import MediaControls
// The program registers this module when it starts: qmllint finds no description of it.
import VexoDeckSystemBridge // qmllint disable import
import "EqualizerCurve.js" as Curve

/*
    The chart of the equaliser: the curve of the selected preset. The user edits own presets by the points of the curve:
    with the mouse, or with the arrow keys, left and right for the band, up and down for its gain.
*/
DragSurface {
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
            edit.keyBand = edit.band;
            applyAt(y);
        }
        pressed();
    }

    function drag(y: real) {
        if (edit.band >= 0)
            applyAt(y);
    }

    function stepGain(steps: int) {
        if (!editable)
            return;
        tookFocus = false;
        const wanted = Math.round(gains[edit.keyBand] / stepSize + steps) * stepSize;
        gainEdited(edit.keyBand, Math.max(Curve.minimumGain, Math.min(Curve.maximumGain, wanted)));
        pressed();
    }

    function stepBand(steps: int) {
        tookFocus = false;
        edit.keyBand = Math.max(0, Math.min(Curve.bandCount - 1, edit.keyBand + steps));
    }

    objectName: "eqChartContainer"
    // The gain of the keyboard's band in dB.
    current: gains[edit.keyBand]
    minimumValue: Curve.minimumGain
    maximumValue: Curve.maximumGain
    stepSize: 0.5
    orientation: Qt.Vertical
    plane: canvas
    hoverEnabled: true
    cursorShape: editable && (held || Curve.nearestBand(mouseX, canvas.width) >= 0) ? Qt.PointingHandCursor : Qt.ArrowCursor
    activeFocusOnTab: editable
    Accessible.name: frequencyLabels[edit.keyBand]
    Accessible.description: gainText(gains[edit.keyBand])

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

        // Marks the point that the mouse or the keyboard moves.
        Item {
            id: point

            readonly property int band: edit.band >= 0 ? edit.band : edit.keyBand
            readonly property bool focused: eqChartContainer.focusShown && eqChartContainer.editable

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

    onPressedAt: (x, y) => press(x, y)
    onDraggedTo: (x, y) => drag(y)
    onLetGo: edit.band = -1
    onStepped: (right, up) => {
        if (right !== 0)
            stepBand(right);
        if (up !== 0)
            stepGain(up);
    }
    onCurrentEqDataChanged: warnOfLength()
    Component.onCompleted: warnOfLength()
}
