import QtQml
import MediaControls

/*
    What the fader of a mixer strip steers: the hardware, for the monitor output and the device, or a volume of the
    engine.
*/
QtObject {
    id: volume

    required property int showType
    required property string bundleIdentifier
    required property StripFader fader

    readonly property bool isMonitor: showType === StripKind.MonitorOutput
    readonly property bool isDevice: showType === StripKind.Device
    readonly property bool isHardware: isMonitor || isDevice

    readonly property real from: isMonitor ? ConfigMgr.auto_device_min : isDevice ? ConfigMgr.auto_gain_min : ConfigMgr.auto_app_min
    readonly property real to: isMonitor ? ConfigMgr.auto_device_max : isDevice ? ConfigMgr.auto_gain_max : ConfigMgr.auto_app_max
    readonly property real stepSize: isHardware ? 1 : 0.01
    readonly property real defaultValue: isHardware ? ConfigMgr.defaults[key] : ConfigMgr.defaults.auto_app
    readonly property string key: keyOf(bundleIdentifier)
    // The reports of the hardware.
    readonly property string topic: isMonitor ? MessageBus.messageTypes.LISTEN_VOLUME_LEVEL : isDevice ? MessageBus.messageTypes.UPDATE_MIC_GAIN_LEVEL : ""

    signal volumeChanged

    function textOf(value: real): string {
        if (isMonitor)
            return ConfigMgr.monitorText(value);
        if (isDevice)
            return ConfigMgr.gainText(value);
        return Math.round(value * 100) + "%";
    }

    function keyOf(identifier: string): string {
        return isMonitor ? ConfigMgr.keys.device_dB : isDevice ? ConfigMgr.keys.auto_gain : identifier + "_dB";
    }

    // The identifier is given: a handler of its change may come before the bindings here.
    function read(identifier: string) {
        const name = keyOf(identifier);
        const value = Number(isHardware ? ConfigMgr.getValue(name) : ConfigMgr.getValue(name, defaultValue));
        fader.show(Number.isFinite(value) ? value : defaultValue);
    }

    // What comes back from the hardware does not fight the user's hand.
    function follow() {
        if (!fader.isManually)
            read(bundleIdentifier);
    }

    function handleMoved() {
        const value = fader.position;
        if (isHardware) {
            steerHardware(value);
        } else {
            ConfigMgr.setValue(key, value);
            volumeChanged();
        }
    }

    function steerHardware(value: real) {
        if (ConfigMgr.getValue(key) !== value) {
            ConfigMgr.setValue(key, value);
            if (isMonitor)
                MessageBus.publishListenVolumeLevel(value);
            else
                MessageBus.publishUpdateMicGainLevel(value);
        }
        if (fader.isManually)
            HIDDeviceMgr.sendMessage(isMonitor ? HIDDeviceMgr.attrs.listen_volume : HIDDeviceMgr.attrs.mic_gain, [value]);
    }
}
