import QtQuick
import QtTest
import MediaControls
import VexoDeckHIDHotplug
import VexoDeckTest

LoggedTestCase {
    id: testCase

    name: "HIDDeviceMgr"

    readonly property var mixer: ({
            dpid: 0x9829,
            pid: 0x0102,
            vid: 7,
            name: "VEXO Mixdesk R2",
            sn: "VX24A0117",
            version: "V1.04"
        })
    readonly property var microphone: ({
            dpid: 0x1396,
            pid: 0x0102,
            vid: 7,
            name: "VEXO Voxmic M40",
            sn: "VX24B0001",
            version: "V2.00"
        })
    readonly property var lightMicrophone: ({
            dpid: 0x1397,
            pid: 0x0102,
            vid: 7,
            name: "VEXO Voxmic T40",
            sn: "VX24C0001",
            version: "V2.00"
        })

    SignalSpy {
        id: connectedSpy

        target: HIDDeviceMgr
        signalName: "deviceConnected"
    }

    SignalSpy {
        id: messageSpy

        target: HIDDeviceMgr
        signalName: "messageReceived"
    }

    SignalSpy {
        id: flushSpy

        target: HIDDeviceMgr.flushTimer
        signalName: "triggered"
    }

    SignalSpy {
        id: progressSpy

        target: HIDDeviceMgr
        signalName: "upgradeFirmwareProgress"
    }

    SignalSpy {
        id: bootloaderSpy

        target: HIDDeviceMgr
        signalName: "upgradeFirmwareSignal"
    }

    // Before the first test connects or writes anything.
    function initTestCase() {
        compare(HIDHotplugManager.calls.map(call => call.name), ["getDeviceInfo"]);
        compare(HIDDeviceMgr.deviceReady, false);
        compare(HIDDeviceMgr.deviceInfo, {});
        compare(HIDDeviceMgr.messageCache, {});
        verify(HIDDeviceMgr.connectTime instanceof Date);
        verify(Math.abs(new Date() - HIDDeviceMgr.connectTime) < 60000, HIDDeviceMgr.connectTime);
    }

    function init() {
        // A connection that ends: the next one begins with nothing.
        HIDHotplugManager.deviceConnected({}, true);
        HIDHotplugManager.deviceConnected({}, false);
        HIDHotplugManager.setDeviceInfo({});
        HIDHotplugManager.clearCalls();
        [connectedSpy, messageSpy, progressSpy, bootloaderSpy].forEach(spy => spy.clear());
        TestLog.begin();
    }

    function callsOf(name) {
        return HIDHotplugManager.calls.filter(call => call.name === name);
    }

    // Returns what an action publishes, topic and payload of each message, and the lines that it logs. Each written
    // setting has its line.
    function effectsOf(action) {
        const published = [];
        const callback = (topic, payload) => published.push([topic, payload]);
        const topics = Object.values(MessageBus.messageTypes);
        topics.forEach(topic => MessageBus.subscribe(topic, callback));
        TestLog.begin();
        action();
        // A copy, since the log continues.
        const lines = Array.from(TestLog.lines);
        topics.forEach(topic => MessageBus.unsubscribe(topic, callback));
        return {
            published: published,
            lines: lines
        };
    }

    function waitForFlush() {
        flushSpy.clear();
        flushSpy.wait();
    }

    function without(info, key) {
        const rest = Object.assign({}, info);
        delete rest[key];
        return rest;
    }

    // ---- catalogue

    function test_the_catalogue_gives_each_attribute_its_id() {
        const expected = {
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
            device_compressor_value: 29
        };
        for (const name in expected)
            compare(HIDDeviceMgr.attrs[name], expected[name], name);
        compare(Object.keys(HIDDeviceMgr.attrs).length, Object.keys(expected).length + 1);
        compare(HIDDeviceMgr.attrs.auto_gain_map, [10, 11.24, 12.57, 13.98, 15.35, 16.98, 18.31, 19.9, 21.82, 23.37, 25.35, 27.27, 28.87, 30.81, 33.45, 35.16, 37.28, 39.3, 41.2, 43.22, 46.7, 48.7, 50.7, 53.7, 56.7, 58.7, 61.7, 64.8, 67.8, 70]);
    }

    // ---- what the device is

    function test_without_a_device_every_answer_is_missing() {
        compare(HIDDeviceMgr.getDeviceName(), "N/A");
        compare(HIDDeviceMgr.getDeviceSN(), "N/A");
        compare(HIDDeviceMgr.getDeviceVersion(), "N/A");
        compare(HIDDeviceMgr.getDevicePID(), "N/A");
        compare(HIDDeviceMgr.getDeviceDPID(), "N/A");
        compare(HIDDeviceMgr.getDeviceVID(), "N/A");
        compare(HIDDeviceMgr.isR2(), false);
        compare(HIDDeviceMgr.isM40(), false);
        compare(HIDDeviceMgr.isT40(), false);
        compare(HIDDeviceMgr.isDeviceReady(), true);
    }

    function test_the_information_is_fetched_from_the_manager_and_kept() {
        HIDHotplugManager.setDeviceInfo(mixer);
        compare(HIDDeviceMgr.getDeviceInfo(), mixer);
        compare(HIDDeviceMgr.getDeviceName(), "VEXO Mixdesk R2");
        compare(HIDDeviceMgr.getDeviceSN(), "VX24A0117");
        compare(HIDDeviceMgr.getDeviceVersion(), "V1.04");
        compare(HIDDeviceMgr.getDevicePID(), 0x0102);
        compare(HIDDeviceMgr.getDeviceDPID(), 0x9829);
        compare(HIDDeviceMgr.getDeviceVID(), 7);
    }

    function test_the_model_is_told_by_the_usb_product_id_data() {
        return [
            {
                tag: "R2",
                info: mixer,
                answers: [true, false, false]
            },
            {
                tag: "M40",
                info: microphone,
                answers: [false, true, false]
            },
            {
                tag: "T40",
                info: lightMicrophone,
                answers: [false, false, true]
            }
        ];
    }

    function test_the_model_is_told_by_the_usb_product_id(row) {
        HIDHotplugManager.deviceConnected(row.info, true);
        compare([HIDDeviceMgr.isR2(), HIDDeviceMgr.isM40(), HIDDeviceMgr.isT40()], row.answers);
        HIDHotplugManager.deviceConnected(row.info, false);
        compare([HIDDeviceMgr.isR2(), HIDDeviceMgr.isM40(), HIDDeviceMgr.isT40()], row.answers, "still after its loss");
    }

    // ---- writes

    function test_of_two_writes_of_one_attribute_only_the_last_is_sent() {
        HIDDeviceMgr.sendMessage(5, [11]);
        HIDDeviceMgr.sendMessage(5, [12]);
        compare(callsOf("messageSend"), [], "nothing goes out before the flush");
        waitForFlush();
        compare(callsOf("messageSend"), [
            {
                name: "messageSend",
                id: 5,
                bytes: [12]
            }
        ]);
        waitForFlush();
        compare(callsOf("messageSend").length, 1, "nothing is sent while nothing has changed");
    }

    function test_writes_of_several_attributes_go_out_in_one_round_by_ascending_id() {
        HIDDeviceMgr.sendMessage(21, [1, 2, 3, 0]);
        HIDDeviceMgr.sendMessage(6, [3]);
        HIDDeviceMgr.sendMessage(5, [4]);
        waitForFlush();
        compare(callsOf("messageSend").map(call => call.id), [5, 6, 21]);
        compare(HIDDeviceMgr.messageCache, {});
    }

    function test_a_write_is_logged_with_id_and_value() {
        HIDDeviceMgr.sendMessage(5, [12]);
        waitForFlush();
        compare(linesWith("发送消息到设备:"), ["发送消息到设备: 5 [12]"]);
    }

    function test_the_flush_comes_every_500_ms() {
        compare(HIDDeviceMgr.flushTimer.interval, 500);
        compare(HIDDeviceMgr.flushTimer.repeat, true);
        compare(HIDDeviceMgr.flushTimer.running, true);
    }

    function test_values_become_bytes_data() {
        return [
            {
                tag: "booleans",
                value: [true, false],
                bytes: [1, 0]
            },
            {
                tag: "negative",
                value: [-5],
                bytes: [0xfb]
            },
            {
                tag: "fraction",
                value: [0.29 * 100],
                bytes: [28]
            },
            {
                tag: "more than a byte",
                value: [0x1ff],
                bytes: [0xff]
            },
            {
                tag: "30 colours",
                value: new Array(120).fill(7),
                bytes: new Array(120).fill(7)
            }
        ];
    }

    function test_values_become_bytes(row) {
        HIDDeviceMgr.sendMessage(25, row.value);
        waitForFlush();
        compare(callsOf("messageSend")[0].bytes, row.bytes);
    }

    function test_a_write_is_still_handed_on_after_the_device_has_gone() {
        HIDHotplugManager.deviceConnected(mixer, true);
        HIDDeviceMgr.sendMessage(5, [4]);
        HIDHotplugManager.deviceConnected(mixer, false);
        waitForFlush();
        compare(callsOf("messageSend").length, 1);
    }

    function test_a_private_message_goes_out_at_once() {
        HIDDeviceMgr.sendPriMessage(0x8004, [1]);
        compare(callsOf("sendPriMessage"), [
            {
                name: "sendPriMessage",
                id: 0x8004,
                bytes: [1]
            }
        ]);
    }

    function test_text_and_hexadecimal_become_bytes() {
        compare(HIDDeviceMgr.stringToByteArray("AA55"), [0x41, 0x41, 0x35, 0x35]);
        compare(HIDDeviceMgr.stringToByteArray(""), []);
        compare(HIDDeviceMgr.stringToByteArray("é€"), [0xe9, 0x20ac]);
        compare(HIDDeviceMgr.stringToByteArray("a\u{1f399}b"), [0x61, 0xd83c, 0xdf99, 0x62], "both halves of a pair");
        compare(HIDDeviceMgr.hexToByteArray("0xAA 0x55 01ff"), [0xaa, 0x55, 0x01, 0xff]);
        compare(HIDDeviceMgr.hexToByteArray("0 xAA 5\t5"), [0xaa, 0x55]);
        compare(HIDDeviceMgr.hexToByteArray(""), []);
    }

    // ---- stopping, upgrading

    function test_only_the_mixer_is_stopped_and_started_data() {
        return [
            {
                tag: "R2",
                info: mixer,
                count: 1
            },
            {
                tag: "M40",
                info: microphone,
                count: 0
            },
            {
                tag: "T40",
                info: lightMicrophone,
                count: 0
            },
            {
                tag: "none",
                info: {},
                count: 0
            }
        ];
    }

    function test_only_the_mixer_is_stopped_and_started(row) {
        HIDHotplugManager.deviceConnected(row.info, true);
        HIDDeviceMgr.stopAndDisconnectDevice();
        HIDDeviceMgr.startAndConnectDevice();
        compare(callsOf("stopAndDisconnectDevice").length, row.count);
        compare(callsOf("startAndConnectDevice").length, row.count);
    }

    function test_the_search_that_a_bootloader_has_stopped_is_started_again_data() {
        return [
            {
                tag: "at the start",
                info: {}
            },
            {
                tag: "after a microphone",
                info: microphone
            }
        ];
    }

    function test_the_search_that_a_bootloader_has_stopped_is_started_again(row) {
        HIDHotplugManager.deviceConnected(row.info, false);
        HIDHotplugManager.upgradeFirmwareSignal();
        HIDDeviceMgr.stopAndDisconnectDevice();
        compare(callsOf("stopAndDisconnectDevice"), []);
        HIDDeviceMgr.startAndConnectDevice();
        compare(callsOf("startAndConnectDevice").length, 1);
        HIDHotplugManager.deviceConnected(microphone, true);
        HIDDeviceMgr.startAndConnectDevice();
        compare(callsOf("startAndConnectDevice").length, 1, "a microphone has not stopped it");
    }

    function test_an_upgrade_begins_when_its_caller_has_returned() {
        HIDDeviceMgr.upgradeFirmware("/firmware/m40.bin");
        compare(callsOf("upgradeFirmware"), []);
        tryVerify(() => callsOf("upgradeFirmware").length === 1);
        compare(callsOf("upgradeFirmware")[0].path, "/firmware/m40.bin");
        compare(progressSpy.count, 0);
    }

    function test_an_upgrade_is_for_the_device_that_was_found_last() {
        HIDHotplugManager.deviceConnected({}, false);
        compare(HIDDeviceMgr.getUpgradeModel(), 0);
        HIDHotplugManager.deviceConnected(microphone, true);
        compare(HIDDeviceMgr.getUpgradeModel(), microphone.dpid);
        HIDHotplugManager.deviceConnected(microphone, false);
        HIDHotplugManager.upgradeFirmwareSignal();
        compare(HIDDeviceMgr.getUpgradeModel(), 0x9829);
        HIDDeviceMgr.leaveBootloader();
        compare(callsOf("leaveBootloader").length, 1);
        compare(HIDDeviceMgr.getUpgradeModel(), microphone.dpid);
    }

    function test_what_was_left_is_asked_for_with_the_search_running() {
        HIDDeviceMgr.askForBootloader();
        compare(callsOf("askForBootloader").length, 1);
        compare(callsOf("startAndConnectDevice").length, 1);
    }

    function test_a_microphone_leaves_no_bootloader() {
        HIDHotplugManager.deviceConnected(microphone, true);
        HIDDeviceMgr.leaveBootloader();
        compare(callsOf("leaveBootloader"), []);
    }

    function test_the_news_of_an_upgrade_come_through() {
        HIDHotplugManager.upgradeFirmwareProgress(40, "升级中");
        compare(progressSpy.count, 1);
        compare(progressSpy.signalArguments[0][0], 40);
        compare(progressSpy.signalArguments[0][1], "升级中");
        HIDHotplugManager.upgradeFirmwareSignal();
        compare(bootloaderSpy.count, 1);
    }

    // ---- connection

    function test_a_complete_report_reads_ten_attributes_once() {
        const before = new Date();
        HIDHotplugManager.deviceConnected(mixer, true);
        compare(connectedSpy.count, 1);
        compare(connectedSpy.signalArguments[0][0], mixer);
        compare(connectedSpy.signalArguments[0][1], true);
        compare(callsOf("messageGet").map(call => call.id), [1, 2, 3, 4, 5, 6, 7, 24, 26, 3]);
        compare(HIDDeviceMgr.deviceReady, true);
        verify(HIDDeviceMgr.connectTime >= before);
        compare(linesWith("=== HIDDeviceMgr.qml: 设备连接成功 ===").length, 1);

        HIDHotplugManager.deviceConnected(mixer, true);
        compare(connectedSpy.count, 2);
        compare(callsOf("messageGet").length, 10, "not again in the same connection");
    }

    function test_screens_hear_of_a_change_before_it_has_its_effects() {
        const seen = [];
        const note = word => seen.push([word, HIDDeviceMgr.deviceInfo.sn, callsOf("messageGet").length, HIDDeviceMgr.deviceReady]);
        const handler = (info, connected) => note(connected ? "connected" : "lost");
        HIDDeviceMgr.deviceConnected.connect(handler);
        const callback = () => note("published");
        MessageBus.subscribe("update_firmware_disconnected", callback);
        HIDHotplugManager.deviceConnected(mixer, true);
        HIDHotplugManager.deviceConnected(mixer, false);
        MessageBus.unsubscribe("update_firmware_disconnected", callback);
        HIDDeviceMgr.deviceConnected.disconnect(handler);
        compare(seen, [["connected", mixer.sn, 0, false], ["lost", mixer.sn, 10, true], ["published", mixer.sn, 10, false]]);
    }

    function test_a_report_with_the_product_id_only_changes_the_information_only() {
        HIDHotplugManager.deviceConnected({
            dpid: 0x1397
        }, true);
        compare(HIDDeviceMgr.isT40(), true);
        compare(HIDDeviceMgr.deviceReady, false);
        compare(callsOf("messageGet"), []);
    }

    function test_a_missing_value_keeps_the_device_from_becoming_ready_data() {
        return ["version", "pid", "sn", "vid", "name"].map(key => ({
                    tag: key
                }));
    }

    function test_a_missing_value_keeps_the_device_from_becoming_ready(row) {
        HIDHotplugManager.deviceConnected(without(mixer, row.tag), true);
        compare(HIDDeviceMgr.deviceReady, false);
        compare(callsOf("messageGet"), []);
        HIDHotplugManager.deviceConnected(mixer, true);
        compare(HIDDeviceMgr.deviceReady, true);
    }

    function test_a_name_that_says_not_available_counts_as_missing() {
        HIDHotplugManager.deviceConnected(Object.assign({}, mixer, {
            name: "N/A"
        }), true);
        compare(HIDDeviceMgr.deviceReady, false);
        compare(callsOf("messageGet"), []);
    }

    function test_a_loss_ends_readiness_and_is_published() {
        const published = [];
        const callback = (topic, payload) => published.push(payload);
        MessageBus.subscribe("update_firmware_disconnected", callback);
        HIDHotplugManager.deviceConnected(mixer, true);
        HIDHotplugManager.deviceConnected(mixer, false);
        MessageBus.unsubscribe("update_firmware_disconnected", callback);
        compare(published, [true]);
        compare(HIDDeviceMgr.deviceReady, false);
        compare(connectedSpy.signalArguments[1][1], false);
    }

    function test_after_a_loss_the_old_information_satisfies_the_first_report() {
        HIDHotplugManager.deviceConnected(mixer, true);
        HIDHotplugManager.deviceConnected(mixer, false);
        HIDHotplugManager.clearCalls();
        HIDHotplugManager.deviceConnected(mixer, true);
        compare(callsOf("messageGet").length, 10);
        compare(HIDDeviceMgr.deviceReady, true);
    }

    function test_each_connection_is_ready_and_read_when_it_has_told_all_about_itself() {
        HIDHotplugManager.deviceConnected(mixer, true);
        HIDHotplugManager.deviceConnected(mixer, false);
        HIDHotplugManager.clearCalls();
        const early = {
            dpid: microphone.dpid
        };
        HIDHotplugManager.deviceConnected(early, true);
        compare(HIDDeviceMgr.isM40(), true);
        compare(HIDDeviceMgr.getDeviceName(), "N/A");
        compare(HIDDeviceMgr.getDeviceSN(), "N/A");
        compare(HIDDeviceMgr.deviceReady, false);
        compare(callsOf("messageGet"), []);
        HIDHotplugManager.deviceConnected(without(microphone, "version"), true);
        compare(callsOf("messageGet"), []);
        HIDHotplugManager.deviceConnected(microphone, true);
        compare(HIDDeviceMgr.deviceReady, true);
        compare(callsOf("messageGet").map(call => call.id), [1, 2, 3, 4, 5, 6, 7, 24, 26, 3]);
    }

    function test_a_device_that_logs_in_again_is_read_again_when_it_has_told_its_version() {
        HIDHotplugManager.deviceConnected(mixer, true);
        HIDHotplugManager.clearCalls();
        HIDDeviceMgr.sendMessage(5, [4]);
        HIDHotplugManager.deviceConnected(without(mixer, "version"), true);
        compare(HIDDeviceMgr.deviceReady, false);
        compare(callsOf("messageGet"), []);
        HIDHotplugManager.deviceConnected(mixer, true);
        compare(HIDDeviceMgr.deviceReady, true);
        compare(callsOf("messageGet").map(call => call.id), [1, 2, 3, 4, 5, 6, 7, 24, 26, 3]);
        waitForFlush();
        compare(callsOf("messageSend").map(call => call.id), [5], "it is the device that was written to");
    }

    function test_another_device_on_the_same_connection_is_read_when_it_has_told_all_about_itself() {
        HIDHotplugManager.deviceConnected(mixer, true);
        HIDHotplugManager.clearCalls();
        HIDHotplugManager.deviceConnected({
            dpid: mixer.dpid,
            pid: 0x0103,
            vid: 7
        }, true);
        compare(HIDDeviceMgr.deviceReady, false);
        compare(HIDDeviceMgr.getDeviceName(), "N/A");
        HIDHotplugManager.deviceConnected(Object.assign({}, mixer, {
            name: "another"
        }), true);
        compare(HIDDeviceMgr.deviceReady, true);
        compare(callsOf("messageGet").length, 10);
    }

    // The page of the lost device takes drags until it has faded out.
    function test_a_write_to_a_device_that_has_yet_to_say_its_name_is_dropped() {
        HIDHotplugManager.deviceConnected(mixer, true);
        HIDHotplugManager.deviceConnected(mixer, false);
        HIDHotplugManager.deviceConnected({
            dpid: microphone.dpid
        }, true);
        HIDDeviceMgr.sendMessage(5, [4]);
        compare(HIDDeviceMgr.isPending(5), false);
        HIDHotplugManager.deviceConnected(without(microphone, "version"), true);
        HIDDeviceMgr.sendMessage(6, [3]);
        waitForFlush();
        compare(callsOf("messageSend").map(call => call.id), [6]);
    }

    function test_a_write_for_one_device_does_not_reach_the_next_data() {
        return [
            {
                tag: "after a loss",
                lost: true
            },
            {
                tag: "on the same connection",
                lost: false
            }
        ];
    }

    function test_a_write_for_one_device_does_not_reach_the_next(row) {
        HIDHotplugManager.deviceConnected(mixer, true);
        waitForFlush();
        HIDDeviceMgr.sendMessage(5, [4]);
        if (row.lost)
            HIDHotplugManager.deviceConnected(mixer, false);
        HIDHotplugManager.deviceConnected({
            dpid: microphone.dpid
        }, true);
        HIDHotplugManager.deviceConnected(microphone, true);
        waitForFlush();
        compare(callsOf("messageSend"), []);
        HIDDeviceMgr.sendMessage(6, [3]);
        waitForFlush();
        compare(callsOf("messageSend").map(call => call.id), [6]);
    }

    // ---- reports

    function test_a_report_is_published_and_logged_data() {
        return [[1, mixer, "mute_state", "静音"], [2, mixer, "power_state", "电源"], [3, mixer, "update_auto_gain", "自动增益"], [3, microphone, "update_auto_gain_on", "自动增益开关"], [3, lightMicrophone, "update_auto_gain_on", "自动增益开关"], [4, mixer, "listen_output_state", "监听输出"], [5, mixer, "update_mic_gain_level", "麦克风增益"], [6, mixer, "listen_volume_level", "监听音量"], [7, mixer, "mic_listen_ratio", "麦克风/电脑监听比例"], [14, mixer, "background_light_mode", "背景灯光模式"], [23, mixer, "anti_noise_state", "防破音"], [24, mixer, "ai_jianzao_state", "AI降噪"], [26, mixer, "update_other_light_off", "其他灯光开关"]].map(row => ({
                    tag: row[0] + " of " + row[1].name,
                    id: row[0],
                    info: row[1],
                    topic: row[2],
                    word: row[3]
                }));
    }

    function test_a_report_is_published_and_logged(row) {
        HIDHotplugManager.deviceConnected(row.info, true);
        const effects = effectsOf(() => HIDHotplugManager.messageReceived(row.id, [9, 8]));
        compare(effects.lines.filter(line => line.includes("收到")), [`收到${row.word}消息: [9,8]`]);
        compare(effects.lines[0], `收到${row.word}消息: [9,8]`);
        compare(effects.published, [[row.topic, 9]]);
        compare(messageSpy.count, 1);
        compare(messageSpy.signalArguments[0][0], row.id);
        compare(messageSpy.signalArguments[0][1], [9, 8]);
    }

    function test_the_report_of_the_other_lights_stores_nothing() {
        HIDHotplugManager.deviceConnected(mixer, true);
        for (const value of [0, 1])
            compare(effectsOf(() => HIDHotplugManager.messageReceived(26, [value])).lines, [`收到其他灯光开关消息: [${value}]`]);
        verify(!("undefined" in ConfigMgr.config));
    }

    function test_id_3_is_the_measurement_on_the_mixer_and_the_switch_on_the_microphones_data() {
        const measured = {
            published: [["update_auto_gain", 1]],
            lines: ["收到自动增益消息: [1]"]
        };
        const switched = {
            published: [["update_auto_gain_on", 1]],
            lines: ["收到自动增益开关消息: [1]", "设置配置: auto_gain_on true"]
        };
        const row = (tag, info, effects) => Object.assign({
                tag: tag,
                info: info
            }, effects);
        return [row("R2", mixer, measured), row("M40", microphone, switched), row("T40", lightMicrophone, switched), row("none", {}, switched)];
    }

    function test_id_3_is_the_measurement_on_the_mixer_and_the_switch_on_the_microphones(row) {
        HIDHotplugManager.deviceConnected(row.info, true);
        const effects = effectsOf(() => HIDHotplugManager.messageReceived(3, [1]));
        compare(effects.published, row.published);
        compare(effects.lines, row.lines);
    }

    function test_a_report_is_handed_on_before_it_is_published() {
        const order = [];
        const handler = () => order.push("handed on");
        const callback = () => order.push("published");
        MessageBus.subscribe("mute_state", callback);
        HIDDeviceMgr.messageReceived.connect(handler);
        HIDHotplugManager.messageReceived(1, [1]);
        HIDDeviceMgr.messageReceived.disconnect(handler);
        MessageBus.unsubscribe("mute_state", callback);
        compare(order, ["handed on", "published"]);
    }

    function test_other_reports_are_only_handed_on_data() {
        const mirrored = [1, 2, 3, 4, 5, 6, 7, 14, 23, 24, 26];
        const catalogue = Object.values(HIDDeviceMgr.attrs).filter(id => typeof id === "number");
        const ids = catalogue.filter(id => !mirrored.includes(id)).concat(0, 20, 65535);
        compare(ids.length, 28 - mirrored.length + 3);
        return ids.map(id => ({
                    tag: String(id),
                    id: id
                }));
    }

    function test_other_reports_are_only_handed_on(row) {
        for (const info of [mixer, microphone, lightMicrophone]) {
            HIDHotplugManager.deviceConnected(info, true);
            messageSpy.clear();
            const effects = effectsOf(() => HIDHotplugManager.messageReceived(row.id, [1]));
            compare(messageSpy.count, 1);
            compare(effects.published, [], info.name);
            compare(effects.lines, [], info.name);
        }
    }

    function test_an_empty_report_is_logged_and_neither_kept_nor_published_data() {
        return HIDDeviceMgr.reports.rows().map(report => ({
                    tag: report.word,
                    id: report.attribute,
                    info: report.attribute === 3 && report.word === "自动增益" ? mixer : microphone
                }));
    }

    function test_an_empty_report_is_logged_and_neither_kept_nor_published(row) {
        HIDHotplugManager.deviceConnected(row.info, true);
        const effects = effectsOf(() => HIDHotplugManager.messageReceived(row.id, []));
        compare(messageSpy.count, 1);
        compare(effects.published, []);
        compare(effects.lines, [`收到${row.tag}消息: []`]);
    }
}
