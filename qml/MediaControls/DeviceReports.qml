import QtQml

/*
    The effects of each report of the device: a line of the log, the setting that keeps the value, and the message on
    MessageBus.
*/
QtObject {
    // Of HIDDeviceMgr.
    required property var attrs
    required property bool isR2

    readonly property list<var> rows: [
        {
            attribute: attrs.mute,
            word: "静音",
            store: value => ConfigMgr.setValue(ConfigMgr.keys.device_mute, value === 1),
            publish: value => MessageBus.publishMuteState(value)
        },
        {
            attribute: attrs.auto_gain_on,
            matches: () => !isR2,
            word: "自动增益开关",
            store: value => ConfigMgr.setValue(ConfigMgr.keys.auto_gain_on, value === 1),
            publish: value => MessageBus.publishUpdateAutoGainOn(value)
        },
        {
            attribute: attrs.other_light_off,
            word: "其他灯光开关",
            // Kept: no key of this name is declared. The setting follows through the switch of the general tab.
            store: value => ConfigMgr.setValue(ConfigMgr.keys["other_light_off"], value === 1),
            publish: value => MessageBus.publishUpdateOtherLightOff(value)
        },
        {
            attribute: attrs.power,
            word: "电源",
            store: value => ConfigMgr.setValue(ConfigMgr.keys.device_phantom, value === 1),
            publish: value => MessageBus.publishPowerState(value)
        },
        {
            attribute: attrs.auto_gain,
            matches: () => isR2,
            word: "自动增益",
            publish: value => MessageBus.publishUpdateAutoGain(value)
        },
        {
            attribute: attrs.listen_output,
            word: "监听输出",
            publish: value => MessageBus.publishListenOutputState(value)
        },
        {
            attribute: attrs.mic_gain,
            word: "麦克风增益",
            store: value => ConfigMgr.setValue(ConfigMgr.keys.auto_gain, value),
            publish: value => MessageBus.publishUpdateMicGainLevel(value)
        },
        {
            attribute: attrs.listen_volume,
            word: "监听音量",
            store: value => ConfigMgr.setValue(ConfigMgr.keys.device_dB, value),
            publish: value => MessageBus.publishListenVolumeLevel(value)
        },
        {
            attribute: attrs.mic_listen_ratio,
            word: "麦克风/电脑监听比例",
            store: value => ConfigMgr.setValue(ConfigMgr.keys.device_mic_ratio, value),
            publish: value => MessageBus.publishMicListenRatio(value)
        },
        {
            attribute: attrs.anti_noise,
            word: "防破音",
            store: value => ConfigMgr.setValue(ConfigMgr.keys.device_boom, value === 1),
            publish: value => MessageBus.publishAntiNoiseState(value)
        },
        {
            attribute: attrs.ai_jianzao,
            word: "AI降噪",
            publish: value => MessageBus.publishAIJianzaoState(value)
        },
        {
            attribute: attrs.background_light_off,
            word: "背景灯光模式",
            publish: value => MessageBus.publishBackgroundLightMode(value)
        }
    ]

    // The first row that matches applies; undefined for a report that leads to nothing.
    function rowOf(attribute: int): var {
        return rows.find(row => row.attribute === attribute && (!row.matches || row.matches()));
    }
}
