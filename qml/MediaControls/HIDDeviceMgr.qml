pragma Singleton

import QtQml
// Registered by the program when it starts, so that no description lies on the disk for the linter.
import VexoDeckHIDHotplug // qmllint disable import

/*
    The only door from the screens to the device: the attribute catalogue, writes gathered for 500 ms with the last
    value of each attribute winning, reads at connection, and the device's reports spread on MessageBus. It neither
    retries nor reports anything: a write while no device is open disappears in the manager.
*/
QtObject {
    id: deviceMgr

    // Attribute name to id. Id 3 has two names: the mixer's measurement and the microphones' switch.
    readonly property var attrs: ({
            mute: 1,
            power: 2,
            auto_gain: 3,
            auto_gain_on: 3,
            listen_output: 4,
            mic_gain: 5,
            listen_volume: 6,
            mic_listen_ratio: 7,
            usb_audio_version: 8,
            mcu_version: 9,
            background_static_effect: 10,
            background_breath_effect: 11,
            background_wave_effect: 12,
            input_sound_wave_light_color: 13,
            background_light_off: 14,
            input_sound_wave_direction: 15,
            mic_gain_light_color: 16,
            listen_volume_light_color: 17,
            mic_listen_ratio_light_color: 18,
            rgb_light_brightness: 19,
            rgb_light_off: 21,
            background_wave_light_direction: 22,
            anti_noise: 23,
            ai_jianzao: 24,
            device_boom_value: 25,
            other_light_off: 26,
            reset_factory_settings: 27,
            device_compressor: 28,
            device_compressor_value: 29,
            // dB of each of the mixer's 30 gain steps
            auto_gain_map: [10, 11.24, 12.57, 13.98, 15.35, 16.98, 18.31, 19.9, 21.82, 23.37, 25.35, 27.27, 28.87, 30.81, 33.45, 35.16, 37.28, 39.3, 41.2, 43.22, 46.7, 48.7, 50.7, 53.7, 56.7, 58.7, 61.7, 64.8, 67.8, 70]
        })

    // The last map from the manager: dpid, pid, vid, name, sn, version. It keeps old values after a disconnection.
    property var deviceInfo: ({})
    property bool deviceReady: false
    property var connectTime: new Date()
    // Pending writes: attribute id to value bytes.
    property var messageCache: ({})

    // What a report of the device leads to. The first row that matches applies.
    readonly property list<var> reports: [
        {
            attribute: attrs.mute,
            word: "静音",
            store: value => ConfigMgr.setValue(ConfigMgr.keys.device_mute, value === 1),
            publish: value => MessageBus.publishMuteState(value)
        },
        {
            attribute: attrs.auto_gain_on,
            matches: () => !isR2(),
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
            matches: () => isR2(),
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

    readonly property var manager: HIDHotplugManager // qmllint disable unqualified

    readonly property Timer flushTimer: Timer {
        interval: 500
        repeat: true
        running: true
        onTriggered: deviceMgr.flushMessages()
    }

    readonly property Connections managerConnections: Connections {
        target: deviceMgr.manager

        function onDeviceConnected(deviceInfo: var, isConnected: bool) {
            deviceMgr.handleDeviceConnected(deviceInfo, isConnected);
        }

        function onMessageReceived(attID: int, byteArray: var) {
            deviceMgr.handleMessageReceived(attID, byteArray);
        }

        function onUpgradeFirmwareProgress(progress: int, message: string) {
            deviceMgr.upgradeFirmwareProgress(progress, message);
        }

        function onUpgradeFirmwareSignal() {
            deviceMgr.upgradeFirmwareSignal();
        }
    }

    signal deviceConnected(var deviceInfo, bool connected)
    signal upgradeFirmwareProgress(int progress, string message)
    signal upgradeFirmwareSignal
    signal messageReceived(int attID, var byteArray)

    // Queues the bytes of an attribute for the next flush; they replace what was queued for it.
    function sendMessage(attributeId: int, byteArray: var) {
        messageCache[attributeId] = byteArray;
    }

    // Sends a private message at once.
    function sendPriMessage(attributeId: int, byteArray: var) {
        manager.sendPriMessage(attributeId, byteArray);
    }

    function stopAndDisconnectDevice() {
        if (isR2())
            manager.stopAndDisconnectDevice();
    }

    function startAndConnectDevice() {
        if (isR2())
            manager.startAndConnectDevice();
    }

    function getDeviceInfo(): var {
        deviceInfo = manager.getDeviceInfo();
        return deviceInfo;
    }

    // The manager has no transfer yet that would carry the file: who asks is told so, and waits for nothing.
    function upgradeFirmware(filePath: string) {
        console.log("升级失败:", filePath);
        upgradeFirmwareProgress(0, "升级失败");
    }

    function getDeviceName(): var {
        return deviceInfo.name || "N/A";
    }

    function getDeviceSN(): var {
        return deviceInfo.sn || "N/A";
    }

    function getDeviceVersion(): var {
        return deviceInfo.version || "N/A";
    }

    function getDevicePID(): var {
        return deviceInfo.pid || "N/A";
    }

    function getDeviceDPID(): var {
        return deviceInfo.dpid || "N/A";
    }

    function getDeviceVID(): var {
        return deviceInfo.vid || "N/A";
    }

    function isR2(): bool {
        return getDeviceDPID() === 0x9829;
    }

    function isM40(): bool {
        return getDeviceDPID() === 0x1396;
    }

    function isT40(): bool {
        return getDeviceDPID() === 0x1397;
    }

    function isDeviceReady(): bool {
        return true;
    }

    function stringToByteArray(str: string): var {
        return str.split("").map(character => character.charCodeAt(0));
    }

    function hexToByteArray(hexStr: string): var {
        const digits = hexStr.replace(/\s/g, "").replace(/0x/gi, "");
        const bytes = [];
        for (let index = 0; index < digits.length; index += 2)
            bytes.push(parseInt(digits.substr(index, 2), 16));
        return bytes;
    }

    function flushMessages() {
        for (const attributeId of Object.keys(messageCache)) {
            console.log("发送消息到设备:", attributeId, JSON.stringify(messageCache[attributeId]));
            manager.messageSend(attributeId, messageCache[attributeId]);
            delete messageCache[attributeId];
        }
    }

    function syncDeviceInfo() {
        const attributes = [attrs.mute, attrs.power, attrs.auto_gain, attrs.listen_output, attrs.mic_gain, attrs.listen_volume, attrs.mic_listen_ratio, attrs.ai_jianzao, attrs.other_light_off, attrs.auto_gain_on];
        for (const attribute of attributes)
            manager.messageGet(attribute);
    }

    function handleDeviceConnected(info: var, connected: bool) {
        deviceInfo = info;
        deviceConnected(info, connected);
        const values = [getDeviceVersion(), getDevicePID(), getDeviceSN(), getDeviceVID(), getDeviceName()];
        if (connected) {
            if (deviceReady || values.includes("N/A"))
                return;
            console.log("=== HIDDeviceMgr.qml: 设备连接成功 ===");
            syncDeviceInfo();
            connectTime = new Date();
            deviceReady = true;
        } else {
            deviceReady = false;
            MessageBus.publishUpdateFirmwareDisconnected();
        }
    }

    function handleMessageReceived(attID: int, data: var) {
        messageReceived(attID, data);
        const report = reports.find(row => row.attribute === attID && (!row.matches || row.matches()));
        if (!report)
            return;
        console.log("收到" + report.word + "消息:", JSON.stringify(data));
        // A report without a value says nothing.
        if (data.length === 0)
            return;
        if (report.store)
            report.store(data[0]);
        report.publish(data[0]);
    }

    Component.onCompleted: getDeviceInfo()
}
