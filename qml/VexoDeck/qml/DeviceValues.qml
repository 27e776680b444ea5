pragma Singleton

import QtQml
import MediaControls

/* The values of the device that sliders of the screens set. */
QtObject {
    readonly property DeviceValue gain: DeviceValue {
        key: ConfigMgr.keys.auto_gain
        attribute: HIDDeviceMgr.attrs.mic_gain
        topic: MessageBus.messageTypes.UPDATE_MIC_GAIN_LEVEL
    }
    readonly property DeviceValue monitorVolume: DeviceValue {
        key: ConfigMgr.keys.device_dB
        attribute: HIDDeviceMgr.attrs.listen_volume
        topic: MessageBus.messageTypes.LISTEN_VOLUME_LEVEL
    }
    readonly property DeviceValue monitorRatio: DeviceValue {
        key: ConfigMgr.keys.device_mic_ratio
        attribute: HIDDeviceMgr.attrs.mic_listen_ratio
        topic: MessageBus.messageTypes.MIC_LISTEN_RATIO
    }
}
