import QtQuick
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug
import VexoDeckTest

/* The first card of the page, and how the page differs between the models. */
PageTestCase {
    id: testCase

    name: "MicrophoneTab"
    width: 410
    height: 760
    pageComponent: Component {
        MicrophoneTab {
            anchors.fill: parent
        }
    }

    readonly property var topics: MessageBus.messageTypes

    function gainSlider() {
        return child("autoGainSlider");
    }

    // ---- models

    function test_model_decides_what_is_shown_data() {
        return modelRows;
    }

    function test_model_decides_what_is_shown(row) {
        openPage(row.info);
        compare(findChild(child("microphoneInput"), "sectionTitle").text, row.isR2 ? "XLR输入" : "话筒");
        compare(findChild(child("microphoneInput"), "card").height, row.isR2 ? 220 : 180);
        compare(findChild(child("audioBoost"), "sectionTitle").text, "音频增强");
        const shown = ["autoGainSlider", "muteSwitch", "equalizerRow"];
        const ofMixer = ["autoGainMeasurement", "autoGainButton", "phantomSwitch", "plainAntiClipping"];
        const ofMicrophones = ["autoGainSwitch", "selectRowType", "aiSwitch", "antiClipping", "compressor"];
        for (const name of shown)
            verify(child(name).visible, name);
        for (const name of ofMixer)
            compare(child(name).visible, row.isR2, name);
        for (const name of ofMicrophones)
            compare(child(name).visible, !row.isR2, name);
    }

    function test_hidden_controls_exist_on_every_model_data() {
        return modelRows;
    }

    function test_hidden_controls_exist_on_every_model(row) {
        openPage(row.info);
        for (const name of ["autoGainButton", "autoGainSwitch", "phantomSwitch", "selectRowType", "aiSwitch", "noiseSelect2", "antiClipping", "fanbaoYinSlider", "compressor", "yasuoQiSlider", "plainAntiClipping", "equalizerRow"])
            child(name);
    }

    function test_scroll_bar_is_shown_on_the_microphones_alone_data() {
        return modelRows;
    }

    function test_scroll_bar_is_shown_on_the_microphones_alone(row) {
        openPage(row.info);
        page.anchors.fill = null;
        page.height = 200;
        compare(findChild(page, "scrollBar").visible, !row.isR2);
    }

    function test_texts_and_explanations_are_those_of_the_controls_data() {
        return [
            {
                tag: "gain",
                row: "autoGainSlider",
                text: "增益",
                tips: "提高增益，避免声音过小。\n降低增益，避免声音失真。"
            },
            {
                tag: "automatic gain switch",
                row: "autoGainSwitch",
                text: "自动增益",
                tips: "开启后，话筒音量将自动调节至最佳增益。"
            },
            {
                tag: "automatic gain button",
                row: "autoGainMeasurement",
                text: "自动增益",
                tips: "开启后，话筒音量将自动调节至最佳增益。"
            },
            {
                tag: "mute",
                row: "muteSwitch",
                text: "静音",
                tips: ""
            },
            {
                tag: "phantom power",
                row: "phantomSwitch",
                text: "48V幻象电源",
                tips: ""
            }
        ];
    }

    function test_texts_and_explanations_are_those_of_the_controls(row) {
        openPage(mixdeskR2);
        const item = row.row === "autoGainSlider" ? child(row.row).parent : child(row.row);
        const label = findChild(item, "label");
        compare(label.text, row.text);
        compare(label.tips, row.tips);
    }

    // ---- gain

    function test_gain_range_is_that_of_the_model_data() {
        return modelRows;
    }

    function test_gain_range_is_that_of_the_model(row) {
        openPage(row.info);
        compare(gainSlider().from, row.isR2 ? 1 : 0);
        compare(gainSlider().to, row.isR2 ? 30 : 18);
        compare(gainSlider().value, 15);
    }

    function test_stored_gain_is_shown_at_build_data() {
        return modelRows;
    }

    function test_stored_gain_is_shown_at_build(row) {
        ConfigMgr.setValue("auto_gain", 7);
        openPage(row.info);
        compare(gainSlider().value, 7);
        compareData(sent(), []);
    }

    function test_stored_gain_beyond_the_range_is_shown_at_its_end_and_kept() {
        ConfigMgr.setValue("auto_gain", 25);
        openPage(voxmicM40);
        compare(gainSlider().value, 18);
        compare(setting("auto_gain"), 25);
    }

    function test_step_is_the_nearest_whole_number() {
        openPage(voxmicM40);
        const slider = gainSlider();
        for (const value of [6.9999999999, 7.0000000001]) {
            slider.show(value);
            compare(slider.step, 7);
            compare(slider.valueText, "40%");
        }
    }

    function test_gain_percent_at_every_step_data() {
        const rows = [];
        for (let step = 0; step <= 18; step++)
            rows.push({
                tag: "microphone, step " + step,
                info: voxmicM40,
                step: step,
                // Rounded by hand.
                text: [1, 7, 12, 18, 23, 29, 34, 40, 45, 51, 56, 62, 67, 73, 78, 84, 89, 95, 100][step] + "%"
            });
        const ofMixer = [1, 4, 8, 11, 15, 18, 21, 25, 28, 32, 35, 39, 42, 45, 49, 52, 56, 59, 62, 66, 69, 73, 76, 80, 83, 86, 90, 93, 97, 100];
        for (let step = 1; step <= 30; step++)
            rows.push({
                tag: "mixer, step " + step,
                info: mixdeskR2,
                step: step,
                text: ofMixer[step - 1] + "%"
            });
        return rows;
    }

    function test_gain_percent_at_every_step(row) {
        ConfigMgr.setValue("auto_gain", row.step);
        openPage(row.info);
        compare(gainSlider().valueText, row.text);
        compare(findChild(gainSlider().parent, "value").text, row.text);
        compare(gainSlider().Accessible.description, row.text);
    }

    function test_lowest_gain_of_a_microphone_shows_1_and_its_highest_100_percent() {
        openPage(voxmicM40);
        report("mic_gain", 0);
        compare(gainSlider().valueText, "1%");
        report("mic_gain", 18);
        compare(gainSlider().valueText, "100%");
    }

    function test_gain_tooltip_is_in_percent() {
        openPage(voxmicT40);
        press(gainSlider());
        moveTo(gainSlider(), 9);
        compare(tooltipOf(gainSlider()).text, "51%");
        verify(tooltipOf(gainSlider()).visible);
        release(gainSlider());
        waitForEndOf(gainSlider());
    }

    function test_gain_drag_writes_publishes_and_sends_every_step_data() {
        return modelRows;
    }

    function test_gain_drag_writes_publishes_and_sends_every_step(row) {
        openPage(row.info);
        const slider = gainSlider();
        press(slider);
        for (let step = slider.from; step <= slider.to; step++) {
            moveTo(slider, step);
            compare(setting("auto_gain"), step);
            compareData(sent().pop().mic_gain, [step]);
        }
        const steps = payloadsOf(topics.UPDATE_MIC_GAIN_LEVEL);
        compare(steps.length, slider.to - slider.from + 1);
        compare(steps[0], slider.from);
        compare(steps.pop(), slider.to);
        release(slider);
        waitForEndOf(slider);
        compareData(sent().pop().mic_gain, [slider.to]);
        compare(Number(stored("auto_gain")), slider.to);
    }

    function test_gain_press_without_a_move_changes_nothing() {
        openPage(voxmicM40);
        press(gainSlider());
        verify(gainSlider().isManually);
        release(gainSlider());
        waitForEndOf(gainSlider());
        compareData(sent(), []);
        compareData(written(), []);
        compareData(payloadsOf(topics.UPDATE_MIC_GAIN_LEVEL), []);
    }

    function test_gain_moved_to_what_the_key_holds_is_sent_and_not_published() {
        openPage(voxmicM40);
        press(gainSlider());
        moveTo(gainSlider(), 10);
        ConfigMgr.setValue("auto_gain", 12);
        forgetWhatWasSent();
        moveTo(gainSlider(), 12);
        compareData(sent(), [
            {
                mic_gain: [12]
            }
        ]);
        compareData(written(), []);
        compareData(published, []);
        release(gainSlider());
        waitForEndOf(gainSlider());
    }

    function test_slider_stays_under_the_mouse_until_500_ms_after_the_release_data() {
        return modelRows;
    }

    function test_slider_stays_under_the_mouse_until_500_ms_after_the_release(row) {
        openPage(row.info);
        const slider = gainSlider();
        press(slider);
        moveTo(slider, 5);
        report("mic_gain", 14);
        compare(slider.value, 5);
        compare(setting("auto_gain"), 14);
        moveTo(slider, 6);
        compare(slider.value, 6);
        compare(setting("auto_gain"), 6);
        startReferenceTime(debounceMs);
        release(slider);
        report("mic_gain", 13);
        compare(slider.value, 6);
        waitForEndOf(slider);
        compare(referenceTimeOver, true, "it waited as long as it should");
        compare(slider.value, 13, "what was reported meanwhile, and the strip shows");
        report("mic_gain", 12);
        compare(slider.value, 12);
    }

    function test_reported_gain_moves_the_slider_and_is_not_echoed_data() {
        return modelRows;
    }

    function test_reported_gain_moves_the_slider_and_is_not_echoed(row) {
        openPage(row.info);
        report("mic_gain", 3);
        compare(gainSlider().value, 3);
        compareData(sent(), []);
        compareData(payloadsOf(topics.UPDATE_MIC_GAIN_LEVEL), [3]);
    }

    function test_gain_message_of_another_screen_makes_the_slider_read_its_key() {
        openPage(voxmicM40);
        ConfigMgr.setValue("auto_gain", 4);
        MessageBus.publishUpdateMicGainLevel(9);
        compare(gainSlider().value, 4);
    }

    function test_report_before_the_page_is_built_is_shown() {
        connectDevice(mixdeskR2);
        report("mic_gain", 29);
        report("mute", 1);
        report("power", 1);
        openPage(mixdeskR2);
        compare(gainSlider().value, 29);
        verify(switchOf("muteSwitch").checked);
        verify(switchOf("phantomSwitch").checked);
    }

    function test_keyboard_step_is_a_press_a_move_and_a_release() {
        openPage(mixdeskR2);
        const slider = gainSlider();
        slider.forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Right);
        compare(slider.value, 16);
        verify(slider.isManually);
        compare(setting("auto_gain"), 16);
        compareData(sent(), [
            {
                mic_gain: [16]
            }
        ]);
        report("mic_gain", 20);
        compare(slider.value, 16);
        waitForEndOf(slider);
        compare(slider.value, 20);
        keyClick(Qt.Key_Left);
        keyClick(Qt.Key_Down);
        compare(slider.value, 18);
        keyClick(Qt.Key_End);
        compare(setting("auto_gain"), 30);
        keyClick(Qt.Key_Home);
        compare(setting("auto_gain"), 1);
        waitForEndOf(slider);
    }

    function test_loading_the_settings_anew_leaves_the_controls_alone() {
        openPage(voxmicM40);
        drag(gainSlider(), 4);
        waitForEndOf(gainSlider());
        toggle("muteSwitch");
        ConfigMgr.resetDeviceToDefaults();
        compare(gainSlider().value, 4);
        verify(switchOf("muteSwitch").checked);
    }

    // ---- switches

    function switchRows() {
        return [
            {
                tag: "automatic gain",
                row: "autoGainSwitch",
                info: voxmicM40,
                key: "auto_gain_on",
                attribute: "auto_gain_on",
                topic: topics.UPDATE_AUTO_GAIN_ON
            },
            {
                tag: "mute of a microphone",
                row: "muteSwitch",
                info: voxmicT40,
                key: "device_mute",
                attribute: "mute",
                topic: topics.MUTE_STATE
            },
            {
                tag: "mute of the mixer",
                row: "muteSwitch",
                info: mixdeskR2,
                key: "device_mute",
                attribute: "mute",
                topic: topics.MUTE_STATE
            },
            {
                tag: "phantom power",
                row: "phantomSwitch",
                info: mixdeskR2,
                key: "device_phantom",
                attribute: "power",
                topic: topics.POWER_STATE
            }
        ];
    }

    // The catalogue has two names for the attribute of the automatic gain.
    function bytesSentFor(row) {
        const names = row.attribute === "auto_gain_on" ? ["auto_gain", "auto_gain_on"] : [row.attribute];
        return sent().map(message => message[names.find(name => name in message)]);
    }

    function test_switch_starts_from_its_key_data() {
        return switchRows();
    }

    function test_switch_starts_from_its_key(row) {
        ConfigMgr.setValue(row.key, true);
        openPage(row.info);
        verify(switchOf(row.row).checked);
        compareData(sent(), []);
    }

    function test_click_of_a_switch_writes_its_key_and_sends_data() {
        return switchRows();
    }

    function test_click_of_a_switch_writes_its_key_and_sends(row) {
        openPage(row.info);
        toggle(row.row);
        compare(setting(row.key), true);
        compareData(bytesSentFor(row), [[1]]);
        compareData(written(), [row.key]);
        forgetWhatWasSent();
        toggle(row.row);
        compare(setting(row.key), false);
        compareData(bytesSentFor(row), [[0]]);
        compare(String(stored(row.key)), "false");
    }

    function test_report_sets_a_switch_and_is_not_echoed_data() {
        return switchRows();
    }

    function test_report_sets_a_switch_and_is_not_echoed(row) {
        openPage(row.info);
        report(row.attribute, 1);
        verify(switchOf(row.row).checked);
        compare(setting(row.key), true);
        report(row.attribute, 1);
        verify(switchOf(row.row).checked);
        report(row.attribute, 0);
        verify(!switchOf(row.row).checked);
        compare(setting(row.key), false);
        compareData(sent(), []);
    }

    function test_report_without_a_value_leaves_a_switch_alone_data() {
        return switchRows();
    }

    function test_report_without_a_value_leaves_a_switch_alone(row) {
        ConfigMgr.setValue(row.key, true);
        openPage(row.info);
        HIDHotplugManager.messageReceived(HIDDeviceMgr.attrs[row.attribute], []);
        compare(switchOf(row.row).checked, true);
        compare(setting(row.key), true);
        compareData(published, []);
    }

    function test_payload_other_than_1_clears_a_switch_data() {
        return switchRows();
    }

    function test_payload_other_than_1_clears_a_switch(row) {
        ConfigMgr.setValue(row.key, true);
        openPage(row.info);
        MessageBus.publish(row.topic, 2);
        verify(!switchOf(row.row).checked);
        compare(setting(row.key), false);
        compareData(sent(), []);
    }

    function test_switch_moved_by_the_bus_writes_a_key_that_holds_another_value_data() {
        return switchRows();
    }

    function test_switch_moved_by_the_bus_writes_a_key_that_holds_another_value(row) {
        openPage(row.info);
        MessageBus.publish(row.topic, 1);
        compareData(written(), [row.key]);
        compare(setting(row.key), true);
        MessageBus.publish(row.topic, 1);
        compareData(written(), [row.key]);
    }

    function test_hidden_phantom_switch_follows_the_device_on_a_microphone() {
        openPage(voxmicM40);
        report("power", 1);
        verify(switchOf("phantomSwitch").checked);
        compare(setting("device_phantom"), true);
        compareData(sent(), []);
    }

    function test_space_and_enter_flip_a_switch() {
        openPage(voxmicM40);
        reach(switchOf("muteSwitch"));
        keyClick(Qt.Key_Space);
        compare(setting("device_mute"), true);
        compareData(sent(), [
            {
                mute: [1]
            }
        ]);
        keyClick(Qt.Key_Return);
        compare(setting("device_mute"), false);
    }

    // ---- automatic gain of the mixer

    function test_button_asks_for_the_measurement_and_sends_nothing() {
        openPage(mixdeskR2);
        compare(child("autoGainButton").text, "开始检测");
        mouseClick(child("autoGainButton"));
        compareData(published, [
            {
                topic: topics.UPDATE_AUTO_GAIN,
                payload: true
            }
        ]);
        compareData(sent(), []);
        compareData(written(), []);
    }

    function test_result_of_the_measurement_leaves_the_hidden_switch_alone() {
        openPage(mixdeskR2);
        report("auto_gain", 1);
        verify(!switchOf("autoGainSwitch").checked);
        compare(setting("auto_gain_on"), false);
    }
}
