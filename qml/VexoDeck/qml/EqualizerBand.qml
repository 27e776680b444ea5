import QtQuick
import MediaControls
import "EqualizerCurve.js" as Curve

/* A band of the equaliser's chart for the keyboard and a screen reader: a slider of its gain in dB. The chart draws it. */
StepSurface {
    id: equalizerBand

    required property int index

    // The user's hand wants another gain of this band, in dB.
    signal gainWanted(gain: real)
    // The arrow keys go to another band. Beyond the ends there is none.
    signal bandWanted(band: int)

    function stepGain(steps: int) {
        tookFocus = false;
        const wanted = Math.round(current / stepSize + steps) * stepSize;
        gainWanted(Math.max(minimumValue, Math.min(maximumValue, wanted)));
    }

    minimumValue: Curve.minimumGain
    maximumValue: Curve.maximumGain
    stepSize: 0.5
    orientation: Qt.Vertical

    onStepped: (right, up) => {
        if (right !== 0)
            bandWanted(index + right);
        if (up !== 0)
            stepGain(up);
    }
}
