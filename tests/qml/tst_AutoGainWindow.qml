import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug
import VexoDeckTest

/* The automatic gain measurement: how its window opens, what it shows, and how it closes. */
MainWindowTestCase {
    id: testCase

    name: "AutoGainWindow"

    property AutoGainWindow measurement: null
    property var layout: null
    readonly property int levelMessage: 0x8002

    // What the device reports.
    function report(attribute, value) {
        HIDHotplugManager.messageReceived(HIDDeviceMgr.attrs[attribute], [value]);
    }

    // A window of the layout other than the current one, or null.
    function secondWindow() {
        const name = measurement.objectName;
        measurement.objectName = "";
        const other = layoutWindow();
        measurement.objectName = name;
        return other;
    }

    function startMeasurement() {
        layout = openMainLayout(mixdeskR2);
        HIDHotplugManager.clearCalls();
        HIDDeviceMgr.messageCache = {};
        MessageBus.publishUpdateAutoGain(true);
        takeWindow();
    }

    function takeWindow() {
        measurement = layoutWindow();
        verify(measurement);
        tryCompare(measurement, "opacity", 1);
    }

    function layoutWindow() {
        return findChild(layout, "autoGainWindow");
    }

    function part(name) {
        const item = findChild(measurement.contentItem, name);
        verify(item, name + " exists");
        return item;
    }

    function pending() {
        return HIDDeviceMgr.messageCache[HIDDeviceMgr.attrs.auto_gain];
    }

    function compareMeasuring() {
        compare([part("resetProgress").visible, part("gain_view").visible, part("btn1").visible], [true, true, true]);
        compare([part("seccussView").visible, part("btn2").visible], [false, false]);
    }

    function compareDone() {
        compare([part("resetProgress").visible, part("gain_view").visible, part("btn1").visible], [false, false, false]);
        compare([part("seccussView").visible, part("btn2").visible], [true, true]);
    }

    function test_the_buttons_true_equals_1_and_opens_the_window() {
        startMeasurement();
        compare(measurement.title, "自动增益");
        compare([measurement.width, measurement.height, measurement.minimumWidth, measurement.maximumHeight], [500, 300, 500, 300]);
        compare(measurement.modality, Qt.ApplicationModal);
        compare(measurement.isDestroy, true);
        compareMeasuring();
    }

    function test_a_measurement_of_the_devices_own_opens_the_window_and_is_asked_for_all_the_same() {
        layout = openMainLayout(mixdeskR2);
        HIDDeviceMgr.messageCache = {};
        report("auto_gain", 1);
        compare(pending(), [1]);
        takeWindow();
    }

    function test_other_payloads_open_no_window_data() {
        return [0, 2, false, undefined].map(payload => ({
                    tag: String(payload),
                    payload: payload
                }));
    }

    function test_other_payloads_open_no_window(data) {
        layout = openMainLayout(mixdeskR2);
        MessageBus.publishUpdateAutoGain(data.payload);
        compare(layoutWindow(), null);
    }

    function test_the_measurement_is_asked_for_at_the_next_flush() {
        startMeasurement();
        tryVerify(() => callsNamed("messageSend").length === 1);
        compare(callsNamed("messageSend")[0].id, 3);
        compare(Array.from(callsNamed("messageSend")[0].bytes), [1]);
    }

    function test_the_countdown_starts_at_10_and_shows_1_until_the_last_tenth_has_run_out() {
        startMeasurement();
        const bar = part("resetProgress");
        MessageBus.publishUpdateAutoGain(1);
        verify(bar.value < 0.05);
        compare(bar.mainText, "使用正常的音量讲话\n倒计时 10s");
        for (const [value, seconds] of [[0, 10], [0.05, 10], [0.101, 9], [0.55, 5], [0.9, 1], [0.999, 1], [1, 0]]) {
            bar.value = value;
            compare(bar.mainText, `使用正常的音量讲话\n倒计时 ${seconds}s`);
        }
    }

    function test_a_report_of_1_restarts_the_visible_window() {
        startMeasurement();
        const bar = part("resetProgress");
        tryVerify(() => bar.value > 0.02);
        const reached = bar.value;
        report("auto_gain", 1);
        verify(bar.value < reached);
        compare(secondWindow(), null);
        // Also when it shows its result.
        report("mic_gain", 20);
        compareDone();
        report("auto_gain", 1);
        compareMeasuring();
        compare(secondWindow(), null);
    }

    function test_the_levels_move_the_meter_data() {
        return [[0, 0], [1, 1 / 30], [15, 0.5], [30, 1]].map(row => ({
                    tag: String(row[0]),
                    value: row[0],
                    level: row[1]
                }));
    }

    function test_the_levels_move_the_meter(data) {
        startMeasurement();
        HIDHotplugManager.priMsgCallback(levelMessage, data.value);
        compare(part("gain_view").level, data.level);
        HIDHotplugManager.priMsgCallback(0x8003, 7);
        compare(part("gain_view").level, data.level);
    }

    function test_the_percent_of_a_step_data() {
        return [[1, "1%"], [15, "49%"], [22, "73%"], [30, "100%"]].map(row => ({
                    tag: String(row[0]),
                    step: row[0],
                    text: row[1]
                }));
    }

    function test_the_percent_of_a_step(data) {
        startMeasurement();
        report("mic_gain", data.step);
        compareDone();
        compare(part("setText").text, "设置成功\n增益为 " + data.text);
        compare(measurement.gainValue, data.step);
    }

    function test_a_turn_of_the_knob_counts_as_the_end() {
        startMeasurement();
        MessageBus.publishUpdateMicGainLevel(5);
        compareDone();
    }

    function test_a_gain_report_without_a_value_is_no_end() {
        startMeasurement();
        HIDHotplugManager.messageReceived(HIDDeviceMgr.attrs.mic_gain, []);
        compareMeasuring();
    }

    function test_a_report_of_0_closes_the_window() {
        startMeasurement();
        report("auto_gain", 0);
        tryVerify(() => layoutWindow() === null);
        // A later start builds a new one.
        MessageBus.publishUpdateAutoGain(1);
        takeWindow();
        compareMeasuring();
    }

    function test_false_counts_as_0_and_closes_the_window() {
        startMeasurement();
        MessageBus.publishUpdateAutoGain(false);
        tryVerify(() => layoutWindow() === null);
    }

    function test_cancel_closes_and_stops_the_device() {
        startMeasurement();
        HIDDeviceMgr.flushMessages();
        mouseClick(part("btn1"));
        compare(pending(), [0]);
        tryVerify(() => layoutWindow() === null);
    }

    function test_whatever_closes_the_window_cancels_the_measurement_data() {
        return [
            {
                tag: "Escape",
                close: () => {
                    measurement.requestActivate();
                    tryCompare(measurement, "active", true);
                    keyClick(Qt.Key_Escape);
                }
            },
            {
                tag: "its close button",
                close: () => mouseClick(part("closeButton"))
            },
            {
                tag: "the system",
                close: () => measurement.close()
            }
        ];
    }

    function test_whatever_closes_the_window_cancels_the_measurement(row) {
        startMeasurement();
        HIDDeviceMgr.flushMessages();
        row.close();
        compare(pending(), [0]);
        tryVerify(() => !layoutWindow());
    }

    function test_a_closed_window_of_a_finished_measurement_sends_nothing() {
        startMeasurement();
        HIDDeviceMgr.flushMessages();
        report("mic_gain", 12);
        measurement.close();
        compare(pending(), undefined);
        tryVerify(() => !layoutWindow());
    }

    function test_a_measurement_that_begins_while_the_last_window_fades_out_opens_one_that_stays() {
        startMeasurement();
        measurement.close();
        report("auto_gain", 1);
        const next = secondWindow();
        verify(next);
        compare(pending(), [1]);
        measurement = next;
        tryCompare(measurement, "opacity", 1);
        compareMeasuring();
    }

    function test_ok_closes_and_sends_nothing() {
        startMeasurement();
        report("mic_gain", 20);
        HIDDeviceMgr.flushMessages();
        mouseClick(part("btn2"));
        compare(pending(), undefined);
        tryVerify(() => layoutWindow() === null);
    }

    function test_without_an_answer_the_bar_stays_full_and_cancel_stays() {
        startMeasurement();
        const animation = Array.from(part("resetProgress").parent.parent.data).find(object => object.duration === 10000);
        verify(animation);
        compare([animation.from, animation.to, animation.loops], [0, 1, 1]);
        animation.complete();
        compare(part("resetProgress").value, 1);
        compareMeasuring();
        compare(part("btn1").enabled, true);
    }

    function test_levels_after_the_window_has_gone_are_logged_and_harmless() {
        startMeasurement();
        report("auto_gain", 0);
        tryVerify(() => layoutWindow() === null);
        TestLog.begin();
        HIDHotplugManager.priMsgCallback(levelMessage, 12);
        verify(linesWith("AutoGainWindow: gain_view 未初始化，忽略 setLevel 调用").length > 0);
    }

    function test_a_lost_device_takes_the_window_with_it() {
        startMeasurement();
        loseDevice();
        tryVerify(() => !testCase.measurement);
    }
}
