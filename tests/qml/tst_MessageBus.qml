import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckTest

LoggedTestCase {
    id: testCase

    name: "MessageBus"

    Component {
        id: listenerComponent

        MessageListener {
            id: listener

            property var received: []

            onMessage: function (topic, payload) {
                received.push([topic, payload]);
            }
        }
    }

    Component {
        id: silentListenerComponent

        MessageListener {
            messageTypes: ["silent"]
        }
    }

    Component {
        id: welcomeComponent

        WelcomeLayout {}
    }

    function record(calls, name) {
        return (topic, payload) => calls.push([name, topic, payload]);
    }

    function test_topics_have_their_names() {
        compare(MessageBus.messageTypes, {
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
        });
    }

    function test_publish_functions_publish_on_their_topics_data() {
        return [["publishAppSelected", "app_selected"], ["publishListenModeChanged", "listen_mode_changed"], ["publishUpdateDeviceDdB", "update_device_dB"], ["publishUpdateAutoGain", "update_auto_gain"], ["publishUpdateAutoGainOn", "update_auto_gain_on"], ["publishUpdateOtherLightOff", "update_other_light_off"], ["publishAutoGainLevel", "auto_gain_level"], ["publishUpdateMicGainLevel", "update_mic_gain_level"], ["publishUpdateDeviceEqualizerCurrent", "update_device_equalizer_current"], ["publishUpdateDeviceEqualizerCurrentChangeByType", "update_device_equalizer_current_change_by_type"], ["publishMuteState", "mute_state"], ["publishPowerState", "power_state"], ["publishAntiNoiseState", "anti_noise_state"], ["publishListenOutputState", "listen_output_state"], ["publishListenVolumeLevel", "listen_volume_level"], ["publishMicListenRatio", "mic_listen_ratio"], ["publishUpdateFirmware", "update_firmware"], ["publishScreenPowerStateChanged", "screen_power_state_changed"], ["publishAIJianzaoState", "ai_jianzao_state"], ["publishBackgroundLightMode", "background_light_mode"], ["publishUpdateConfigMessage", "update_config_message"]].map(row => ({
                    tag: row[0],
                    topic: row[1]
                }));
    }

    function test_publish_functions_publish_on_their_topics(row) {
        const calls = [];
        const callback = record(calls, "a");
        MessageBus.subscribe(row.topic, callback);
        MessageBus[row.tag](42);
        MessageBus.unsubscribe(row.topic, callback);
        compare(calls, [["a", row.topic, 42]]);
    }

    function test_config_changed_carries_key_and_value() {
        const calls = [];
        const callback = record(calls, "a");
        MessageBus.subscribe("config_changed", callback);
        MessageBus.publishConfigChanged("auto_gain", 7);
        MessageBus.unsubscribe("config_changed", callback);
        compare(calls, [["a", "config_changed",
                {
                    key: "auto_gain",
                    value: 7
                }
            ]]);
    }

    function test_a_disconnection_during_an_upgrade_is_published_as_true() {
        const calls = [];
        const callback = record(calls, "a");
        MessageBus.subscribe("update_firmware_disconnected", callback);
        MessageBus.publishUpdateFirmwareDisconnected();
        MessageBus.unsubscribe("update_firmware_disconnected", callback);
        compare(calls, [["a", "update_firmware_disconnected", true]]);
    }

    function test_subscribers_are_called_at_once_and_in_order() {
        const calls = [];
        const first = record(calls, "first");
        const second = record(calls, "second");
        MessageBus.subscribe("order", first);
        MessageBus.subscribe("order", second);
        MessageBus.publish("order", 1);
        compare(calls, [["first", "order", 1], ["second", "order", 1]]);
        MessageBus.unsubscribe("order", first);
        MessageBus.unsubscribe("order", second);
    }

    function test_subscribing_and_leaving_is_logged_with_the_count() {
        const callback = () => {};
        MessageBus.subscribe("logged", callback);
        MessageBus.subscribe("logged", callback);
        MessageBus.unsubscribe("logged", callback);
        MessageBus.unsubscribe("logged", callback);
        compare(TestLog.lines, ["订阅消息: logged 订阅者数量: 1", "订阅消息: logged 订阅者数量: 2", "取消订阅: logged 剩余订阅者: 1", "取消订阅: logged 剩余订阅者: 0"]);
    }

    function test_publishing_is_not_logged() {
        const callback = () => {};
        MessageBus.subscribe("quiet", callback);
        TestLog.begin();
        MessageBus.publish("quiet", 1);
        compare(TestLog.lines, []);
        MessageBus.unsubscribe("quiet", callback);
    }

    function test_a_callback_subscribed_twice_is_called_twice() {
        const calls = [];
        const callback = record(calls, "a");
        MessageBus.subscribe("twice", callback);
        MessageBus.subscribe("twice", callback);
        MessageBus.publish("twice", 1);
        compare(calls.length, 2);
        MessageBus.unsubscribe("twice", callback);
        MessageBus.publish("twice", 1);
        compare(calls.length, 3);
        MessageBus.unsubscribe("twice", callback);
    }

    function test_leaving_an_unknown_topic_or_callback_is_ignored_in_silence() {
        MessageBus.unsubscribe("nobody here", () => {});
        const callback = () => {};
        MessageBus.subscribe("known", callback);
        TestLog.begin();
        MessageBus.unsubscribe("known", () => {});
        compare(TestLog.lines, []);
        compare(MessageBus.subscribers["known"].length, 1);
        MessageBus.unsubscribe("known", callback);
    }

    function test_the_array_of_a_topic_stays_after_the_last_one_leaves() {
        const callback = () => {};
        MessageBus.subscribe("stays", callback);
        MessageBus.unsubscribe("stays", callback);
        compare(MessageBus.subscribers["stays"], []);
    }

    function test_publishing_without_a_subscriber_does_and_creates_nothing() {
        MessageBus.publish("nobody", 1);
        compare(MessageBus.subscribers["nobody"], undefined);
        compare(TestLog.lines, []);
    }

    function test_any_text_may_be_a_topic_data() {
        return ["constructor", "__proto__", "toString", "", "com.example.应用"].map(topic => ({
                    tag: topic || "empty",
                    topic: topic
                }));
    }

    function test_any_text_may_be_a_topic(row) {
        MessageBus.publish(row.topic, 0);
        const calls = [];
        const callback = record(calls, "a");
        MessageBus.subscribe(row.topic, callback);
        MessageBus.publish(row.topic, 1);
        MessageBus.unsubscribe(row.topic, callback);
        compare(calls, [["a", row.topic, 1]]);
    }

    function test_a_callback_that_throws_does_not_keep_later_ones_from_running() {
        const calls = [];
        const broken = () => {
            throw new Error("broken callback");
        };
        const later = record(calls, "later");
        MessageBus.subscribe("throwing", broken);
        MessageBus.subscribe("throwing", later);
        TestLog.expect("消息回调执行错误: Error: broken callback");
        MessageBus.publish("throwing", 1);
        compare(calls, [["later", "throwing", 1]]);
        MessageBus.unsubscribe("throwing", broken);
        MessageBus.unsubscribe("throwing", later);
    }

    function test_a_callback_that_leaves_during_delivery_keeps_nobody_from_the_message() {
        const calls = [];
        const leaving = (topic, payload) => {
            calls.push("leaving");
            MessageBus.unsubscribe(topic, leaving);
        };
        const next = () => calls.push("next");
        const last = () => calls.push("last");
        MessageBus.subscribe("shrinking", leaving);
        MessageBus.subscribe("shrinking", next);
        MessageBus.subscribe("shrinking", last);
        MessageBus.publish("shrinking", 1);
        compare(calls, ["leaving", "next", "last"]);
        MessageBus.publish("shrinking", 2);
        compare(calls.slice(3), ["next", "last"]);
        MessageBus.unsubscribe("shrinking", next);
        MessageBus.unsubscribe("shrinking", last);
    }

    function test_a_callback_that_joins_during_delivery_gets_the_next_message() {
        const calls = [];
        const joining = record(calls, "joining");
        const host = (topic, payload) => {
            calls.push(["host", topic, payload]);
            if (payload === 1)
                MessageBus.subscribe(topic, joining);
        };
        MessageBus.subscribe("growing", host);
        MessageBus.publish("growing", 1);
        compare(calls, [["host", "growing", 1]]);
        MessageBus.publish("growing", 2);
        compare(calls.slice(1), [["host", "growing", 2], ["joining", "growing", 2]]);
        MessageBus.unsubscribe("growing", joining);
        MessageBus.unsubscribe("growing", host);
    }

    function test_a_callback_that_is_removed_before_its_turn_gets_nothing() {
        const calls = [];
        const removed = record(calls, "removed");
        const remover = (topic, payload) => {
            calls.push(["remover", topic, payload]);
            MessageBus.unsubscribe(topic, removed);
        };
        const last = record(calls, "last");
        MessageBus.subscribe("cut", remover);
        MessageBus.subscribe("cut", removed);
        MessageBus.subscribe("cut", last);
        MessageBus.publish("cut", 1);
        compare(calls, [["remover", "cut", 1], ["last", "cut", 1]]);
        MessageBus.unsubscribe("cut", remover);
        MessageBus.unsubscribe("cut", last);
    }

    function test_a_publish_in_a_callback_nests_a_further_round() {
        const calls = [];
        const outer = (topic, payload) => {
            calls.push("outer " + payload);
            if (payload < 2)
                MessageBus.publish(topic, payload + 1);
        };
        const inner = (topic, payload) => calls.push("inner " + payload);
        MessageBus.subscribe("nested", outer);
        MessageBus.subscribe("nested", inner);
        MessageBus.publish("nested", 1);
        compare(calls, ["outer 1", "outer 2", "inner 2", "inner 1"]);
        MessageBus.unsubscribe("nested", outer);
        MessageBus.unsubscribe("nested", inner);
    }

    function test_the_global_instance_is_the_bus_until_another_is_set() {
        compare(MessageBus.globalInstance, null);
        compare(MessageBus.getGlobalInstance(), MessageBus);
        MessageBus.setGlobalInstance(testCase);
        compare(MessageBus.getGlobalInstance(), testCase);
        MessageBus.setGlobalInstance(null);
    }

    function test_a_listener_hears_its_topics_while_it_lives() {
        const listener = createTemporaryObject(listenerComponent, testCase, {
            messageTypes: ["first", "second"]
        });
        MessageBus.publish("first", 1);
        MessageBus.publish("second", 2);
        MessageBus.publish("third", 3);
        compare(listener.received, [["first", 1], ["second", 2]]);
        compare(MessageBus.subscribers["first"].length, 1);
        listener.destroy();
        tryVerify(() => MessageBus.subscribers["first"].length === 0);
        compare(MessageBus.subscribers["second"].length, 0);
    }

    function test_a_listener_created_after_a_publish_gets_nothing_of_it() {
        MessageBus.publish("early", 1);
        const listener = createTemporaryObject(listenerComponent, testCase, {
            messageTypes: ["early"]
        });
        compare(listener.received, []);
    }

    function test_a_listener_without_a_function_swallows_its_messages() {
        const listener = createTemporaryObject(silentListenerComponent, testCase);
        compare(listener.onMessage, null);
        MessageBus.publish("silent", 1);
        compare(MessageBus.subscribers["silent"].length, 1);
    }

    function test_a_later_change_of_the_topics_has_no_effect() {
        const listener = createTemporaryObject(listenerComponent, testCase, {
            messageTypes: ["old"]
        });
        listener.messageTypes = ["new"];
        MessageBus.publish("new", 1);
        MessageBus.publish("old", 2);
        compare(listener.received, [["old", 2]]);
        listener.destroy();
        tryVerify(() => MessageBus.subscribers["old"].length === 0);
    }

    function test_news_of_a_disconnection_during_an_upgrade_reaches_nobody() {
        const page = createTemporaryObject(welcomeComponent, testCase);
        page.isUpdateFirmware = true;
        MessageBus.publishUpdateFirmwareDisconnected();
        compare(page.isUpdateFirmware, true);
    }
}
