import QtQuick
import MediaControls

/* A slider of whole steps that takes its value from the settings. */
CustomSlider {
    id: stepSlider

    required property string key
    // The position as a whole number: that of the track may miss it by a rounding.
    readonly property int step: Math.round(value)

    function readValue() {
        value = ConfigMgr.getValue(key);
    }

    function writeValue() {
        ConfigMgr.setValue(key, step);
    }

    stepSize: 1
    snapToStep: true

    Component.onCompleted: readValue()
}
