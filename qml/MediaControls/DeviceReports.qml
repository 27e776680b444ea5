import QtQml

/*
    The effects of each report of the device: a line of the log, the setting that keeps the value, the message on
    MessageBus, and the event: module, item and type, which are data for the service.
*/
QtObject {
    // Of HIDDeviceMgr.
    required property var attrs
    required property bool isR2

    // Made at each report: DeviceValues needs HIDDeviceMgr, whose part this is.
    function rows(): var {
        return [switchRow(DeviceValues.mute, "静音", ["话筒", "XLR输入", "静音"]), Object.assign(switchRow(DeviceValues.autoGain, "自动增益开关", ["话筒", "XLR输入", "自动增益"]), {
                matches: () => !isR2
            }),
            {
                attribute: attrs.other_light_off,
                word: "其他灯光开关",
                event: ["通用", "通用", "其他灯光"],
                // It has no setting of its own: that of the switch on the general tab follows the switch.
                publish: value => MessageBus.publishUpdateOtherLightOff(value)
            },
            switchRow(DeviceValues.phantomPower, "电源", ["话筒", "XLR输入", "48V幻象电源"]),
            {
                attribute: attrs.auto_gain,
                matches: () => isR2,
                word: "自动增益",
                event: ["话筒", "XLR输入", "自动增益"],
                publish: value => MessageBus.publishUpdateAutoGain(value)
            },
            {
                attribute: attrs.listen_output,
                word: "监听输出",
                event: ["监听", "监听", "监听输出"],
                publish: value => MessageBus.publishListenOutputState(value)
            },
            numberRow(DeviceValues.gain, "麦克风增益", ["话筒", "音频增强", "增益"]), numberRow(DeviceValues.monitorVolume, "监听音量", ["监听", "监听", "监听音量"]), numberRow(DeviceValues.monitorRatio, "麦克风/电脑监听比例", ["监听", "监听", "麦克风/电脑监听比"]), switchRow(DeviceValues.antiClipping, "防破音", ["话筒", "音频增强", "防破音"]),
            // The screen stores it: the report holds more than its key.
            messageRow(DeviceValues.noiseReduction, "AI降噪", ["话筒", "音频增强", "AI降噪"]),
            {
                attribute: attrs.background_light_off,
                word: "背景灯光模式",
                event: ["灯光", "背景", "模式"],
                publish: value => MessageBus.publishBackgroundLightMode(value)
            }
        ];
    }

    function messageRow(deviceValue: DeviceValue, word: string, event: var): var {
        return {
            attribute: deviceValue.attribute,
            word: word,
            event: event,
            publish: value => deviceValue.publish(value)
        };
    }

    function numberRow(deviceValue: DeviceValue, word: string, event: var): var {
        return Object.assign(messageRow(deviceValue, word, event), {
            store: value => deviceValue.store(value)
        });
    }

    function switchRow(deviceValue: DeviceValue, word: string, event: var): var {
        return Object.assign(messageRow(deviceValue, word, event), {
            store: value => deviceValue.store(value === 1)
        });
    }

    // The first row that matches applies; undefined for a report that leads to nothing.
    function rowOf(attribute: int): var {
        return rows().find(row => row.attribute === attribute && (!row.matches || row.matches()));
    }
}
