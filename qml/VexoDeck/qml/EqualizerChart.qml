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
    // The gain of the keyboard's band in dB, under the property names that a screen reader reads.
    readonly property real value: gains[edit.keyBand]
    readonly property real minimumValue: Curve.minimumGain
    readonly property real maximumValue: Curve.maximumGain
    readonly property real stepSize: 0.5

    // The user's hand has moved a band's gain, in dB.
    signal gainEdited(band: int, gain: real)
    // A press has been handled, on a band or not. The filter follows presses only, not the moves after them.
    signal pressed

    QtObject {
        id: edit

        property int band: -1
        property int keyBand: 0
        // The focus is shown until the mouse is used.
        property bool focusShown: true
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

    function stepGain(step: real) {
        if (!editable)
            return;
        edit.focusShown = true;
        const wanted = Math.round((gains[edit.keyBand] + step) * 2) / 2;
        gainEdited(edit.keyBand, Math.max(Curve.minimumGain, Math.min(Curve.maximumGain, wanted)));
        pressed();
    }

    function stepBand(step: int) {
        edit.focusShown = true;
        edit.keyBand = Math.max(0, Math.min(Curve.bandCount - 1, edit.keyBand + step));
    }

    objectName: "eqChartContainer"
    activeFocusOnTab: editable
    Accessible.role: Accessible.Slider
    Accessible.name: frequencyLabels[edit.keyBand]
    Accessible.description: gainText(gains[edit.keyBand])
    Accessible.focusable: editable
    Accessible.onIncreaseAction: stepGain(0.5)
    Accessible.onDecreaseAction: stepGain(-0.5)

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
            id: mouse

            objectName: "curveArea"
            anchors.fill: parent
            hoverEnabled: true
            cursorShape: eqChartContainer.editable && (pressed || Curve.nearestBand(mouseX, width) >= 0) ? Qt.PointingHandCursor : Qt.ArrowCursor
            onPressed: event => {
                edit.focusShown = false;
                eqChartContainer.press(event.x, event.y);
                eqChartContainer.forceActiveFocus(Qt.MouseFocusReason);
            }
            onPositionChanged: event => {
                if ((event.buttons & Qt.LeftButton) && edit.band >= 0)
                    eqChartContainer.applyAt(event.y);
            }
            onReleased: edit.band = -1
            onCanceled: edit.band = -1
        }

        // Marks the point that the mouse or the keyboard moves.
        Item {
            id: point

            readonly property int band: edit.band >= 0 ? edit.band : edit.keyBand
            readonly property bool focused: eqChartContainer.activeFocus && edit.focusShown && eqChartContainer.editable

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

    Keys.onLeftPressed: stepBand(-1)
    Keys.onRightPressed: stepBand(1)
    Keys.onUpPressed: stepGain(0.5)
    Keys.onDownPressed: stepGain(-0.5)
    onActiveFocusChanged: {
        if (!activeFocus)
            edit.focusShown = true;
    }
    onCurrentEqDataChanged: warnOfLength()
    Component.onCompleted: warnOfLength()
}
