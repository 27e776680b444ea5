import QtQml
import MediaControls

/* A value of the device, kept in the settings. A write goes to the settings, the screens and the device. */
QtObject {
    // In the settings.
    required property string key
    // Of HIDDeviceMgr.
    required property int attribute
    // Of MessageBus: notifies the screens of a new value, from here or from the device.
    required property string topic

    function read(): var {
        return ConfigMgr.getValue(key);
    }

    // Sends to the device only what the user's hand has moved.
    function write(value: int, byHand: bool) {
        if (read() !== value) {
            ConfigMgr.setValue(key, value);
            MessageBus.publish(topic, value);
        }
        if (byHand)
            send(value);
    }

    // To the device alone.
    function send(value: int) {
        HIDDeviceMgr.sendMessage(attribute, [value]);
    }
}
