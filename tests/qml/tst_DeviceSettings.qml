import MediaControls
import VexoDeckHIDHotplug
import VexoDeckSettings
import VexoDeckTest

/* Reports of the device reach the settings. */
ConfigTestCase {
    id: testCase

    name: "DeviceSettings"

    function report(attribute, ...bytes) {
        HIDHotplugManager.messageReceived(attribute, bytes);
    }

    function test_a_report_is_kept_data() {
        const attrs = HIDDeviceMgr.attrs;
        const row = (name, attribute, info, key, reported, value) => ({
                    tag: name + " " + reported,
                    attribute: attribute,
                    info: info,
                    key: key,
                    reported: reported,
                    value: value
                });
        const rows = [];
        for (const [reported, value] of [[1, true], [0, false], [2, false]]) {
            rows.push(row("mute", attrs.mute, mixdeskR2, "device_mute", reported, value));
            rows.push(row("power", attrs.power, mixdeskR2, "device_phantom", reported, value));
            rows.push(row("anti_noise", attrs.anti_noise, mixdeskR2, "device_boom", reported, value));
            rows.push(row("auto_gain_on", attrs.auto_gain_on, voxmicM40, "auto_gain_on", reported, value));
        }
        for (const reported of [0, 9, 255]) {
            rows.push(row("mic_gain", attrs.mic_gain, voxmicT40, "auto_gain", reported, reported));
            rows.push(row("listen_volume", attrs.listen_volume, mixdeskR2, "device_dB", reported, reported));
            rows.push(row("mic_listen_ratio", attrs.mic_listen_ratio, mixdeskR2, "device_mic_ratio", reported, reported));
        }
        return rows;
    }

    function test_a_report_is_kept(data) {
        connectDevice(data.info);
        if (typeof data.value === "boolean")
            ConfigMgr.setValue(data.key, !data.value);
        report(data.attribute, data.reported, 1);
        compare(ConfigMgr.getValue(data.key), data.value);
        compare(stored(data.key), String(data.value));
    }

    property var seen: []

    MessageListener {
        messageTypes: [MessageBus.messageTypes.UPDATE_MIC_GAIN_LEVEL]
        onMessage: (topic, payload) => testCase.seen.push([payload, ConfigMgr.getValue("auto_gain")])
    }

    function test_the_setting_is_there_when_the_message_arrives() {
        seen = [];
        report(HIDDeviceMgr.attrs.mic_gain, 11);
        compare(seen, [[11, 11]]);
    }

    function test_the_light_report_reaches_no_key() {
        const before = JSON.stringify(declared());
        const keys = Object.keys(ConfigMgr.config);
        report(HIDDeviceMgr.attrs.other_light_off, 1);
        compare(JSON.stringify(declared()), before);
        compare(Object.keys(ConfigMgr.config).filter(key => !keys.includes(key)), []);
        compareList(SettingsManager.getAllKeys(), []);
        compare(ConfigMgr.getValue("color_bg_other_lighting"), false);
        startOn("linux");
        compare(JSON.stringify(declared()), before);
    }

    function test_reports_without_a_setting_change_none_data() {
        const attrs = HIDDeviceMgr.attrs;
        return ["listen_output", "ai_jianzao", "background_light_off", "auto_gain", "mcu_version"].map(name => ({
                    tag: name,
                    attribute: attrs[name]
                }));
    }

    function test_reports_without_a_setting_change_none(data) {
        connectDevice(mixdeskR2);
        const before = JSON.stringify(declared());
        report(data.attribute, 1);
        compare(JSON.stringify(declared()), before);
        compareList(SettingsManager.getAllKeys(), []);
    }

    function test_a_report_without_a_value_changes_nothing() {
        ConfigMgr.setValue("device_mute", true);
        report(HIDDeviceMgr.attrs.mute);
        report(HIDDeviceMgr.attrs.mic_gain);
        compare(ConfigMgr.getValue("device_mute"), true);
        compare(ConfigMgr.getValue("auto_gain"), 15);
    }

    function declared() {
        return Object.keys(ConfigMgr.defaults).filter(key => key !== "objectName").map(key => ConfigMgr.config[key]);
    }
}
