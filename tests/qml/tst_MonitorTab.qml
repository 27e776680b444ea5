import QtQuick
import MediaControls
import VexoDeck

/* The page "监听" of the device drawer. */
PageTestCase {
    id: testCase

    name: "MonitorTab"
    width: 410
    height: 760
    pageComponent: Component {
        MonitorTab {
            anchors.fill: parent
        }
    }

    readonly property var topics: MessageBus.messageTypes

    // The sliders, and for each the other one.
    function sliderRows() {
        const rows = [];
        for (const model of modelRows)
            rows.push(Object.assign({}, model, {
                tag: model.tag + ", ratio",
                slider: "ratioSlider",
                other: "volumeSlider",
                text: "麦克风/电脑监听比",
                key: "device_mic_ratio",
                attribute: "mic_listen_ratio",
                otherAttribute: "listen_volume",
                topic: topics.MIC_LISTEN_RATIO,
                livesInKey: false
            }), Object.assign({}, model, {
                tag: model.tag + ", volume",
                slider: "volumeSlider",
                other: "ratioSlider",
                text: "监听音量",
                key: "device_dB",
                attribute: "listen_volume",
                otherAttribute: "mic_listen_ratio",
                topic: topics.LISTEN_VOLUME_LEVEL,
                livesInKey: true
            }));
        return rows;
    }

    function test_page_has_its_title_on_every_model_data() {
        return modelRows;
    }

    function test_page_has_its_title_on_every_model(row) {
        openPage(row.info);
        compare(findChild(page, "sectionTitle").text, "监听");
    }

    function test_slider_has_the_models_range_and_its_stored_value_data() {
        return sliderRows();
    }

    function test_slider_has_the_models_range_and_its_stored_value(row) {
        ConfigMgr.setValue(row.key, 9);
        openPage(row.info);
        const slider = child(row.slider);
        compare(slider.from, row.isR2 ? 1 : 0);
        compare(slider.to, row.isR2 ? 30 : 13);
        compare(slider.stepSize, 1);
        compare(slider.value, 9);
        compare(slider.name, row.text);
        compare(findChild(slider.parent, "label").text, row.text);
        compareData(sent(), []);
    }

    function test_slider_shows_the_percent_of_every_step_data() {
        return sliderRows();
    }

    function test_slider_shows_the_percent_of_every_step(row) {
        // Rounded by hand.
        const ofMixer = [0, 3, 7, 10, 14, 17, 21, 24, 28, 31, 34, 38, 41, 45, 48, 52, 55, 59, 62, 66, 69, 72, 76, 79, 83, 86, 90, 93, 97, 100];
        const ofMicrophone = [0, 8, 15, 23, 31, 38, 46, 54, 62, 69, 77, 85, 92, 100];
        const percents = row.isR2 ? ofMixer : ofMicrophone;
        openPage(row.info);
        const slider = child(row.slider);
        for (let index = 0; index < percents.length; index++) {
            report(row.attribute, slider.from + index);
            compare(slider.valueText, percents[index] + "%");
            compare(findChild(slider.parent, "value").text, percents[index] + "%");
            compare(slider.Accessible.description, percents[index] + "%");
        }
    }

    function test_drag_sends_every_step_data() {
        return sliderRows();
    }

    function test_drag_sends_every_step(row) {
        ConfigMgr.setValue(row.key, 5);
        openPage(row.info);
        const slider = child(row.slider);
        press(slider);
        compareData(sent(), []);
        for (let step = slider.from; step <= slider.to; step++) {
            moveTo(slider, step);
            compareData(sent().pop(), {
                [row.attribute]: [step]
            });
            compare(setting(row.key), row.livesInKey ? step : 5);
        }
        compareData(payloadsOf(row.topic), row.livesInKey ? Array.from({
            length: slider.to - slider.from + 1
        }, (unused, index) => slider.from + index) : []);
        release(slider);
        compare(setting(row.key), row.livesInKey ? slider.to : 5);
        waitForEndOf(slider);
        compare(setting(row.key), slider.to);
        compare(Number(stored(row.key)), slider.to);
    }

    function test_volume_moved_to_what_the_key_holds_is_sent_and_not_published() {
        openPage(voxmicM40);
        const slider = child("volumeSlider");
        press(slider);
        moveTo(slider, 10);
        ConfigMgr.setValue("device_dB", 12);
        forgetWhatWasSent();
        moveTo(slider, 12);
        compareData(sent(), [
            {
                listen_volume: [12]
            }
        ]);
        compareData(written(), []);
        compareData(published, []);
        release(slider);
        waitForEndOf(slider);
    }

    function test_report_moves_the_slider_and_is_not_echoed_data() {
        return sliderRows();
    }

    function test_report_moves_the_slider_and_is_not_echoed(row) {
        openPage(row.info);
        report(row.attribute, 2);
        compare(child(row.slider).value, 2);
        compareData(sent(), []);
        compareData(written(), [row.key]);
    }

    function test_message_makes_the_slider_read_its_key_data() {
        return sliderRows();
    }

    function test_message_makes_the_slider_read_its_key(row) {
        openPage(row.info);
        const other = child(row.other).value;
        ConfigMgr.setValue(row.key, 11);
        MessageBus.publish(row.topic, 4);
        compare(child(row.slider).value, 11);
        compare(child(row.other).value, other);
    }

    function test_report_during_a_drag_and_500_ms_after_it_leaves_the_slider_alone_data() {
        return sliderRows();
    }

    function test_report_during_a_drag_and_500_ms_after_it_leaves_the_slider_alone(row) {
        openPage(row.info);
        const slider = child(row.slider);
        press(slider);
        moveTo(slider, 6);
        report(row.attribute, 12);
        compare(slider.value, 6);
        startReferenceTime(debounceMs);
        release(slider);
        report(row.attribute, 11);
        compare(slider.value, 6);
        waitForEndOf(slider);
        compare(referenceTimeOver, true, "it waited as long as it should");
        // The ratio is stored at the end of the gesture, over what was reported; the volume at each step.
        compare(slider.value, row.attribute === "mic_listen_ratio" ? 6 : 11);
        compare(setting(row.key), slider.value);
        report(row.attribute, 10);
        compare(slider.value, 10);
    }

    function test_gesture_on_one_slider_holds_back_reports_for_the_other_data() {
        return sliderRows();
    }

    function test_gesture_on_one_slider_holds_back_reports_for_the_other(row) {
        ConfigMgr.setValue("device_dB", 4);
        ConfigMgr.setValue("device_mic_ratio", 4);
        openPage(row.info);
        press(child(row.slider));
        verify(page.isManually);
        report(row.otherAttribute, 8);
        compare(child(row.other).value, 4);
        release(child(row.slider));
        report(row.otherAttribute, 9);
        compare(child(row.other).value, 4);
        tryVerify(() => !page.isManually, 2000);
        report(row.otherAttribute, 10);
        compare(child(row.other).value, 10);
    }

    function test_end_of_one_gesture_does_not_free_the_other_slider_data() {
        return sliderRows();
    }

    function test_end_of_one_gesture_does_not_free_the_other_slider(row) {
        openPage(row.info);
        const first = child(row.other);
        const second = child(row.slider);
        drag(first, 3);
        press(second);
        moveTo(second, 7);
        waitForEndOf(first);
        report(row.attribute, 1);
        compare(second.value, 7);
        release(second);
        waitForEndOf(second);
    }

    function test_keyboard_step_is_sent_and_kept_data() {
        return sliderRows();
    }

    function test_keyboard_step_is_sent_and_kept(row) {
        ConfigMgr.setValue(row.key, 6);
        openPage(row.info);
        const slider = child(row.slider);
        slider.forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Up);
        compareData(sent(), [
            {
                [row.attribute]: [7]
            }
        ]);
        waitForEndOf(slider);
        compare(setting(row.key), 7);
    }

    function test_press_without_a_move_sends_nothing_data() {
        return sliderRows();
    }

    function test_press_without_a_move_sends_nothing(row) {
        openPage(row.info);
        press(child(row.slider));
        release(child(row.slider));
        waitForEndOf(child(row.slider));
        compareData(sent(), []);
        compareData(payloadsOf(row.topic), []);
    }

    function test_unset_volume_of_a_microphone_is_3_and_the_ratio_13() {
        openPage(voxmicM40);
        compare(child("volumeSlider").value, 3);
        compare(child("ratioSlider").value, 13);
    }
}
