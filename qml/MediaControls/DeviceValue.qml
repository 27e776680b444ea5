import QtQml

/* A value of the device, kept in the settings. A write goes to the settings, the screens and the device. */
QtObject {
    // In the settings.
    required property string key
    // Of HIDDeviceMgr.
    required property int attribute
    // Of MessageBus: notifies the screens of a new value, from here or from the device. Empty for a value that the
    // device does not report.
    property string topic: ""

    function read(): var {
        return ConfigMgr.getValue(key);
    }

    // In the settings alone.
    function store(value: var) {
        ConfigMgr.setValue(key, value);
    }

    function publish(value: var) {
        MessageBus.publish(topic, value);
    }

    // Sends to the device only what the user's hand has moved.
    function write(value: int, byHand: bool) {
        if (read() !== value) {
            store(value);
            publish(value);
        }
        if (byHand)
            send(value);
    }

    // To the device alone.
    function send(value: int) {
        HIDDeviceMgr.sendMessage(attribute, [value]);
    }

    // As send(), of a switch.
    function sendSwitch(on: bool) {
        send(on ? 1 : 0);
    }
}
