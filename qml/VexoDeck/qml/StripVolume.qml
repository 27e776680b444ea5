import QtQml
import MediaControls
import "AudioConfigRecords.js" as Records

/*
    What the fader of a mixer strip controls: the hardware, for the monitor output and the device, or a volume of the
    engine.
*/
QtObject {
    id: volume

    required property int showType
    required property string bundleIdentifier
    required property StripFader fader

    readonly property bool isMonitor: showType === StripKind.MonitorOutput
    readonly property bool isDevice: showType === StripKind.Device
    // Null where the fader steers the engine.
    readonly property DeviceValue deviceValue: isMonitor ? DeviceValues.monitorVolume : isDevice ? DeviceValues.gain : null

    readonly property real from: isMonitor ? ConfigMgr.auto_device_min : isDevice ? ConfigMgr.auto_gain_min : ConfigMgr.auto_app_min
    readonly property real to: isMonitor ? ConfigMgr.auto_device_max : isDevice ? ConfigMgr.auto_gain_max : ConfigMgr.auto_app_max
    readonly property real stepSize: deviceValue ? 1 : 0.01
    readonly property real defaultValue: deviceValue ? ConfigMgr.defaults[key] : ConfigMgr.defaults.auto_app
    readonly property string key: keyOf(bundleIdentifier)
    // The reports of the hardware.
    readonly property string topic: deviceValue?.topic ?? ""
    readonly property bool byHand: fader.isManually

    signal volumeChanged

    function textOf(value: real): string {
        if (isMonitor)
            return ConfigMgr.monitorText(value);
        if (isDevice)
            return ConfigMgr.gainText(value);
        return Math.round(value * 100) + "%";
    }

    function keyOf(identifier: string): string {
        return deviceValue?.key ?? Records.volumeKey(identifier);
    }

    // The caller passes the identifier: a handler of its change may come before the bindings here.
    function read(identifier: string) {
        const name = keyOf(identifier);
        const value = Number(deviceValue ? deviceValue.read() : ConfigMgr.getValue(name, defaultValue));
        fader.show(Number.isFinite(value) ? value : defaultValue);
    }

    // What comes back from the hardware does not fight the user's hand.
    function follow() {
        if (!fader.isManually)
            read(bundleIdentifier);
    }

    function handleMoved() {
        const value = fader.position;
        if (deviceValue) {
            deviceValue.write(value, fader.isManually);
        } else {
            ConfigMgr.setValue(key, value);
            volumeChanged();
        }
    }

    // What was reported while the user's hand was on the fader.
    onByHandChanged: {
        if (!byHand && deviceValue)
            read(bundleIdentifier);
    }
}
