pragma Singleton

import QtQml

/* The values of the device that the screens set and that are kept in the settings. */
QtObject {
    readonly property DeviceValue mute: DeviceValue {
        key: ConfigMgr.keys.device_mute
        attribute: HIDDeviceMgr.attrs.mute
        topic: MessageBus.messageTypes.MUTE_STATE
    }
    readonly property DeviceValue phantomPower: DeviceValue {
        key: ConfigMgr.keys.device_phantom
        attribute: HIDDeviceMgr.attrs.power
        topic: MessageBus.messageTypes.POWER_STATE
    }
    readonly property DeviceValue gain: DeviceValue {
        key: ConfigMgr.keys.auto_gain
        attribute: HIDDeviceMgr.attrs.mic_gain
        topic: MessageBus.messageTypes.UPDATE_MIC_GAIN_LEVEL
    }
    readonly property DeviceValue autoGain: DeviceValue {
        key: ConfigMgr.keys.auto_gain_on
        attribute: HIDDeviceMgr.attrs.auto_gain_on
        topic: MessageBus.messageTypes.UPDATE_AUTO_GAIN_ON
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
    // To the device 0 is off, any other value the strength plus 1.
    readonly property DeviceValue noiseReduction: DeviceValue {
        key: ConfigMgr.keys.ai_jianzao
        attribute: HIDDeviceMgr.attrs.ai_jianzao
        topic: MessageBus.messageTypes.AI_JIANZAO_STATE
    }
    readonly property DeviceValue antiClipping: DeviceValue {
        key: ConfigMgr.keys.device_boom
        attribute: HIDDeviceMgr.attrs.anti_noise
        topic: MessageBus.messageTypes.ANTI_NOISE_STATE
    }
    // dB
    readonly property DeviceValue antiClippingThreshold: DeviceValue {
        key: ConfigMgr.keys.device_boom_value
        attribute: HIDDeviceMgr.attrs.device_boom_value
    }
    readonly property DeviceValue indicator: DeviceValue {
        key: ConfigMgr.keys.color_bg_other_lighting
        attribute: HIDDeviceMgr.attrs.other_light_off
        topic: MessageBus.messageTypes.UPDATE_OTHER_LIGHT_OFF
    }
    // The screens do not send those of the compressor.
    readonly property DeviceValue compressor: DeviceValue {
        key: ConfigMgr.keys.device_compressor
        attribute: HIDDeviceMgr.attrs.device_compressor
    }
    // dB
    readonly property DeviceValue compressorThreshold: DeviceValue {
        key: ConfigMgr.keys.device_compressor_value
        attribute: HIDDeviceMgr.attrs.device_compressor_value
    }
}
