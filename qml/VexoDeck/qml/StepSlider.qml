import QtQuick
import MediaControls

/* A slider of whole steps that takes its value from the settings. */
CustomSlider {
    id: stepSlider

    required property string key
    // The value as a whole number: the slider's own may be off by a rounding error.
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
