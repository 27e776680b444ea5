pragma Singleton

import QtQml

/*
    Messages between the screens: a named topic with one payload. publish() calls all subscribers at once, on the
    caller's stack, in order of subscription. The bus keeps no state: who subscribes later, even during the delivery, does
    not get the message, and neither does who leaves before its turn. A callback takes (topic, payload).
*/
QtObject {
    id: messageBus

    readonly property var messageTypes: ({
            CONFIG_CHANGED: "config_changed",
            APP_SELECTED: "app_selected",
            LISTEN_MODE_CHANGED: "listen_mode_changed",
            THEME_CHANGED: "theme_changed",
            LANGUAGE_CHANGED: "language_changed",
            UPDATE_DEVICE_DB: "update_device_dB",
            UPDATE_AUTO_GAIN: "update_auto_gain",
            UPDATE_AUTO_GAIN_ON: "update_auto_gain_on",
            UPDATE_OTHER_LIGHT_OFF: "update_other_light_off",
            AUTO_GAIN_LEVEL: "auto_gain_level",
            UPDATE_MIC_GAIN_LEVEL: "update_mic_gain_level",
            UPDATE_DEVICE_EQUALIZER_CURRENT: "update_device_equalizer_current",
            UPDATE_DEVICE_EQUALIZER_CURRENT_CHANGE_BY_TYPE: "update_device_equalizer_current_change_by_type",
            MUTE_STATE: "mute_state",
            POWER_STATE: "power_state",
            ANTI_NOISE_STATE: "anti_noise_state",
            LISTEN_OUTPUT_STATE: "listen_output_state",
            LISTEN_VOLUME_LEVEL: "listen_volume_level",
            MIC_LISTEN_RATIO: "mic_listen_ratio",
            UPDATE_FIRMWARE: "update_firmware",
            UPDATE_FIRMWARE_DISCONNECTED: "update_firmware_disconnected",
            SCREEN_POWER_STATE_CHANGED: "screen_power_state_changed",
            AI_JIANZAO_STATE: "ai_jianzao_state",
            BACKGROUND_LIGHT_MODE: "background_light_mode",
            UPDATE_CONFIG_MESSAGE: "update_config_message"
        })

    // Topic to callbacks. It has no prototype, since any text may be a topic: the ids of strips are. An array is replaced and
    // never changed: a delivery walks the one with which it began.
    property var subscribers: Object.create(null)
    property var globalInstance: null

    function setGlobalInstance(instance: var) {
        globalInstance = instance;
    }

    function getGlobalInstance(): var {
        return globalInstance || messageBus;
    }

    function subscribe(messageType: string, callback: var) {
        subscribers[messageType] = [...(subscribers[messageType] ?? []), callback];
        console.log("订阅消息:", messageType, "订阅者数量:", subscribers[messageType].length);
    }

    // Removes the first occurrence of the callback; an unknown topic or callback is ignored.
    function unsubscribe(messageType: string, callback: var) {
        const callbacks = subscribers[messageType];
        const index = callbacks ? callbacks.indexOf(callback) : -1;
        if (index < 0)
            return;
        subscribers[messageType] = callbacks.filter((other, place) => place !== index);
        console.log("取消订阅:", messageType, "剩余订阅者:", subscribers[messageType].length);
    }

    function publish(messageType: string, data: var) {
        const callbacks = subscribers[messageType];
        if (!callbacks)
            return;
        for (const callback of callbacks) {
            // A callback that has left meanwhile may belong to a document that is gone.
            if (subscribers[messageType] !== callbacks && !subscribers[messageType].includes(callback))
                continue;
            try {
                callback(messageType, data);
            } catch (error) {
                console.error("消息回调执行错误:", error);
            }
        }
    }

    function publishConfigChanged(key: var, value: var) {
        publish(messageTypes.CONFIG_CHANGED, {
            key: key,
            value: value
        });
    }

    function publishAppSelected(app: var) {
        publish(messageTypes.APP_SELECTED, app);
    }

    function publishListenModeChanged(bundleIdentifier: var) {
        publish(messageTypes.LISTEN_MODE_CHANGED, bundleIdentifier);
    }

    function publishUpdateDeviceDdB(value: var) {
        publish(messageTypes.UPDATE_DEVICE_DB, value);
    }

    function publishUpdateAutoGain(value: var) {
        publish(messageTypes.UPDATE_AUTO_GAIN, value);
    }

    function publishUpdateAutoGainOn(value: var) {
        publish(messageTypes.UPDATE_AUTO_GAIN_ON, value);
    }

    function publishUpdateOtherLightOff(value: var) {
        publish(messageTypes.UPDATE_OTHER_LIGHT_OFF, value);
    }

    function publishAutoGainLevel(level: var) {
        publish(messageTypes.AUTO_GAIN_LEVEL, level);
    }

    function publishUpdateMicGainLevel(value: var) {
        publish(messageTypes.UPDATE_MIC_GAIN_LEVEL, value);
    }

    function publishUpdateDeviceEqualizerCurrent(value: var) {
        publish(messageTypes.UPDATE_DEVICE_EQUALIZER_CURRENT, value);
    }

    function publishUpdateDeviceEqualizerCurrentChangeByType(value: var) {
        publish(messageTypes.UPDATE_DEVICE_EQUALIZER_CURRENT_CHANGE_BY_TYPE, value);
    }

    function publishMuteState(value: var) {
        publish(messageTypes.MUTE_STATE, value);
    }

    function publishPowerState(value: var) {
        publish(messageTypes.POWER_STATE, value);
    }

    function publishAntiNoiseState(value: var) {
        publish(messageTypes.ANTI_NOISE_STATE, value);
    }

    function publishListenOutputState(value: var) {
        publish(messageTypes.LISTEN_OUTPUT_STATE, value);
    }

    function publishListenVolumeLevel(value: var) {
        publish(messageTypes.LISTEN_VOLUME_LEVEL, value);
    }

    function publishMicListenRatio(value: var) {
        publish(messageTypes.MIC_LISTEN_RATIO, value);
    }

    function publishUpdateFirmware(downloadUrl: var) {
        publish(messageTypes.UPDATE_FIRMWARE, downloadUrl);
    }

    function publishUpdateFirmwareDisconnected() {
        publish(messageTypes.UPDATE_FIRMWARE_DISCONNECTED, true);
    }

    function publishScreenPowerStateChanged(value: var) {
        publish(messageTypes.SCREEN_POWER_STATE_CHANGED, value);
    }

    function publishAIJianzaoState(value: var) {
        publish(messageTypes.AI_JIANZAO_STATE, value);
    }

    function publishBackgroundLightMode(value: var) {
        publish(messageTypes.BACKGROUND_LIGHT_MODE, value);
    }

    function publishUpdateConfigMessage(value: var) {
        publish(messageTypes.UPDATE_CONFIG_MESSAGE, value);
    }
}
