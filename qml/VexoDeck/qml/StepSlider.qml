import QtQuick
import MediaControls

/* A slider of a device's value, in whole steps. It takes the value from the settings. */
CustomSlider {
    id: stepSlider

    required property DeviceValue deviceValue
    // The value as a whole number: the slider's own may be off by a rounding error.
    readonly property int step: Math.round(value)

    function readValue() {
        show(deviceValue.read());
    }

    function writeValue() {
        deviceValue.store(step);
    }

    stepSize: 1
    snapToStep: true

    Component.onCompleted: readValue()
}
