import QtQuick
import QtQuick.Templates as T
import QtTest
import MediaControls
import VexoDeckTest

Item {
    id: page

    width: 400
    height: 400

    Component {
        id: sliderComponent

        CustomSlider {
            x: 40
            y: 60
            width: horizontal ? 214 : 24
            height: horizontal ? 24 : 218
        }
    }

    SignalSpy {
        id: completeSpy

        signalName: "changeComplete"
    }

    SignalSpy {
        id: movedSpy

        signalName: "moved"
    }

    LoggedTestCase {
        id: testCase

        name: "CustomSlider"

        // Milliseconds from a release to changeComplete.
        readonly property int debounceMs: 500

        function create(properties) {
            const slider = createTemporaryObject(sliderComponent, page, properties ?? {});
            for (const spy of [completeSpy, movedSpy]) {
                spy.target = slider;
                spy.clear();
            }
            slider.forceActiveFocus();
            return slider;
        }

        function cleanup() {
            WallClock.offsetMs = 0;
            compare(TestLog.takeFaults(), []);
        }

        // Waits for the slider's timer, so that the next test starts without it.
        function finish() {
            completeSpy.wait(2000);
        }

        // Only this timer emits changeComplete.
        function tooltipTimer(slider) {
            const timer = Array.from(slider.data).find(object => object.objectName === "tooltipTimer");
            compare([timer.interval, timer.repeat], [500, false]);
            return timer;
        }

        function tooltip(slider) {
            return findChild(slider.handle, "tooltip");
        }

        function test_the_defaults() {
            const slider = create();
            compare(slider.showTooltip, true);
            compare(slider.tooltipFormat, "%.0f%%");
            compare(slider.snapToStep, false);
            compare(slider.snapMode, T.Slider.NoSnap);
            compare(slider.formatedValueFunc, null);
            compare(slider.isManually, false);
        }

        function test_snap_to_step_snaps_always() {
            const slider = create({
                snapToStep: true,
                from: 1,
                to: 30,
                stepSize: 1
            });
            compare(slider.snapMode, T.Slider.SnapAlways);
            mousePress(slider, 7, 12);
            mouseMove(slider, 57, 12);
            compare(slider.value, Math.round(slider.value));
            mouseRelease(slider, 57, 12);
            finish();
        }

        function test_the_groove_takes_colour_and_opacity() {
            const slider = create({
                backgroundColor: "#123456",
                backgroundOpacity: 0.5
            });
            const groove = findChild(slider.background, "groove");
            compare(groove.color, "#123456");
            compare(groove.opacity, 0.5);
        }

        function test_the_lying_track_is_filled_from_the_start() {
            const slider = create({
                value: 0.25
            });
            const fill = findChild(slider.background, "fill");
            compare(fill.color, "#0075ff");
            compare(fill.x, 0);
            compare(fill.width, 7 + 0.25 * 200);
            compare(slider.handle.width, 14);
            compare(slider.handle.height, 14);
            verify(String(slider.handle.source).endsWith("icons/dot.svg"));
        }

        function test_the_standing_track_is_filled_from_the_bottom() {
            const slider = create({
                orientation: Qt.Vertical,
                value: 0.25
            });
            const fill = findChild(slider.background, "fill");
            compare(fill.color, "#0075ff");
            compare(fill.y + fill.height, slider.height);
            compare(fill.height, 9 + 0.25 * 200);
            compare(slider.handle.width, 18);
            verify(String(slider.handle.source).endsWith("icons/dot.svg"));
        }

        function test_the_text_is_the_percent_of_one_or_what_the_function_gives() {
            const slider = create({
                value: 0.426
            });
            compare(slider.valueText, "43%");
            slider.formatedValueFunc = value => value.toFixed(1) + "dB";
            compare(slider.valueText, "0.4dB");
            compare(slider.Accessible.description, "0.4dB");
        }

        function test_a_drag_shows_the_value_and_ends_with_one_change_complete() {
            const slider = create();
            mousePress(slider, 7, 12);
            compare(slider.isManually, true);
            tryCompare(tooltip(slider), "visible", true);
            mouseMove(slider, 57, 12);
            mouseMove(slider, 107, 12);
            verify(movedSpy.count >= 2);
            compare(tooltip(slider).text, "50%");
            compare(completeSpy.count, 0);
            testCase.startReferenceTime(testCase.debounceMs);
            mouseRelease(slider, 107, 12);
            compare(slider.isManually, true, "until the wait is over");
            completeSpy.wait(2000);
            compare(testCase.referenceTimeOver, true, "it waited as long as it should");
            compare(completeSpy.count, 1);
            fuzzyCompare(completeSpy.signalArguments[0][0], 0.5, 0.001);
            compare(slider.isManually, false);
            tryCompare(tooltip(slider), "visible", false);
        }

        function test_a_slider_released_and_pressed_again_within_500_ms_emits_change_complete_once_after_the_last_release() {
            const slider = create();
            mousePress(slider, 7, 12);
            mouseMove(slider, 57, 12);
            mouseRelease(slider, 57, 12);
            mousePress(slider, 57, 12);
            mouseMove(slider, 107, 12);
            compare(tooltipTimer(slider).running, false, "nothing may come while it is held");
            compare(completeSpy.count, 0);
            testCase.startReferenceTime(testCase.debounceMs);
            mouseRelease(slider, 107, 12);
            completeSpy.wait(2000);
            compare(testCase.referenceTimeOver, true, "it waited as long as it should");
            compare(completeSpy.count, 1);
            compare(tooltipTimer(slider).running, false, "no second one comes");
        }

        function test_a_program_write_neither_moves_nor_completes() {
            const slider = create();
            slider.show(0.8);
            slider.to = 0.7;
            compare(slider.value, 0.7);
            compare(movedSpy.count, 0);
            compare(slider.isManually, false);
            compare(tooltip(slider).visible, false);
            compare(tooltipTimer(slider).running, false);
            compare(completeSpy.count, 0);
        }

        function test_a_key_counts_as_press_move_and_release_data() {
            return [
                {
                    tag: "right",
                    key: Qt.Key_Right,
                    value: 11
                },
                {
                    tag: "up",
                    key: Qt.Key_Up,
                    value: 11
                },
                {
                    tag: "left",
                    key: Qt.Key_Left,
                    value: 9
                },
                {
                    tag: "down",
                    key: Qt.Key_Down,
                    value: 9
                },
                {
                    tag: "page up",
                    key: Qt.Key_PageUp,
                    value: 13
                },
                {
                    tag: "page down",
                    key: Qt.Key_PageDown,
                    value: 7
                },
                {
                    tag: "home",
                    key: Qt.Key_Home,
                    value: 0
                },
                {
                    tag: "end",
                    key: Qt.Key_End,
                    value: 30
                }
            ];
        }

        function test_a_key_counts_as_press_move_and_release(row) {
            const slider = create({
                from: 0,
                to: 30,
                stepSize: 1,
                value: 10
            });
            let manually = null;
            slider.moved.connect(() => manually = slider.isManually);
            testCase.startReferenceTime(testCase.debounceMs);
            keyClick(row.key);
            compare(slider.value, row.value);
            compare(movedSpy.count, 1);
            compare(manually, true, "the hand is on the slider when it moves");
            compare(tooltip(slider).visible, true);
            completeSpy.wait(2000);
            compare(testCase.referenceTimeOver, true, "it waited as long as it should");
            compare(completeSpy.count, 1);
            compare(completeSpy.signalArguments[0][0], row.value);
            compare(slider.isManually, false);
        }

        function test_a_key_at_the_end_of_the_range_does_not_move() {
            const slider = create({
                value: 1
            });
            keyClick(Qt.Key_Right);
            compare(slider.value, 1);
            compare(movedSpy.count, 0);
            finish();
        }

        function test_a_turn_of_the_wheel_counts_as_press_move_and_release() {
            const slider = create({
                from: 0,
                to: 30,
                stepSize: 1,
                value: 10
            });
            let manually = null;
            slider.moved.connect(() => manually = slider.isManually);
            mouseWheel(slider, 100, 12, 0, 120);
            compare(slider.value, 11);
            compare(movedSpy.count, 1);
            compare(manually, true);
            mouseWheel(slider, 100, 12, 0, -240);
            compare(slider.value, 9);
            compare(completeSpy.count, 0);
            completeSpy.wait(2000);
            compare(completeSpy.count, 1);
            compare(completeSpy.signalArguments[0][0], 9);
            compare(slider.isManually, false);
        }

        function test_small_turns_of_a_touch_pad_add_up() {
            const slider = create({
                from: 0,
                to: 30,
                stepSize: 1,
                value: 10
            });
            mouseWheel(slider, 100, 12, 0, 40);
            mouseWheel(slider, 100, 12, 0, 40);
            compare(slider.value, 10);
            mouseWheel(slider, 100, 12, 0, 40);
            compare(slider.value, 11);
            finish();
        }

        function test_a_wheel_during_a_drag_does_not_end_it() {
            const slider = create({
                stepSize: 0.01
            });
            mousePress(slider, 57, 12);
            mouseWheel(slider, 57, 12, 0, 120);
            compare(tooltipTimer(slider).running, false);
            compare(completeSpy.count, 0);
            mouseRelease(slider, 57, 12);
            finish();
            compare(completeSpy.count, 1);
        }

        function test_a_value_from_assistive_technology_counts_as_press_move_and_release_data() {
            return [
                {
                    tag: "on a step",
                    written: 20,
                    value: 20
                },
                {
                    tag: "between two",
                    written: 19.6,
                    value: 20
                },
                {
                    tag: "above the range",
                    written: 99,
                    value: 30
                }
            ];
        }

        // Assistive technology writes the property, and nothing else.
        function test_a_value_from_assistive_technology_counts_as_press_move_and_release(row) {
            const slider = create({
                from: 0,
                to: 30,
                stepSize: 1,
                value: 10
            });
            let manually = null;
            slider.moved.connect(() => manually = slider.isManually);
            slider.value = row.written;
            compare(slider.value, row.value);
            tryCompare(movedSpy, "count", 1);
            compare(manually, true);
            finish();
            compare(completeSpy.count, 1);
            compare(completeSpy.signalArguments[0][0], row.value);
            compare(slider.isManually, false);
        }

        function test_a_value_within_the_step_that_is_shown_does_not_move() {
            const slider = create({
                from: 0,
                to: 30,
                stepSize: 1,
                value: 10
            });
            slider.value = 10.3;
            compare(slider.value, 10);
            compare(movedSpy.count, 0);
            finish();
        }

        function test_a_turn_of_the_wheel_belongs_to_the_slider_where_it_began() {
            const slider = create({
                from: 0,
                to: 30,
                stepSize: 1,
                value: 10
            });
            const other = createTemporaryObject(sliderComponent, page, {
                y: 160,
                from: 0,
                to: 30,
                stepSize: 1,
                value: 10
            });
            page.forceActiveFocus();
            mouseWheel(slider, 100, 12, 0, 120);
            mouseWheel(other, 100, 12, 0, 120);
            compare([slider.value, other.value], [11, 10]);
            // One with the focus need not wait.
            other.forceActiveFocus();
            mouseWheel(other, 100, 12, 0, 120);
            compare([slider.value, other.value], [11, 11]);
            page.forceActiveFocus();
            tryVerify(() => !WheelTurn.isRunning());
            mouseWheel(slider, 100, 12, 0, 120);
            compare([slider.value, other.value], [12, 11]);
            finish();
        }

        function test_a_clock_that_is_set_back_does_not_lengthen_a_turn_of_the_wheel() {
            const slider = create({
                from: 0,
                to: 30,
                stepSize: 1,
                value: 10
            });
            const other = createTemporaryObject(sliderComponent, page, {
                y: 160,
                from: 0,
                to: 30,
                stepSize: 1,
                value: 10
            });
            page.forceActiveFocus();
            mouseWheel(slider, 100, 12, 0, 120);
            const before = Date.now();
            WallClock.offsetMs = -3600000;
            verify(Date.now() < before);
            tryVerify(() => !WheelTurn.isRunning());
            mouseWheel(other, 100, 12, 0, 120);
            compare([slider.value, other.value], [11, 11]);
            finish();
        }

        function test_without_show_tooltip_there_is_none() {
            const slider = create({
                showTooltip: false
            });
            mousePress(slider, 57, 12);
            compare(tooltip(slider).visible, false);
            mouseRelease(slider, 57, 12);
            finish();
        }

        function test_a_disabled_slider_ignores_the_hand() {
            const slider = create({
                enabled: false,
                value: 0.5
            });
            mouseClick(slider, 10, 12);
            mouseWheel(slider, 100, 12, 0, 120);
            slider.value = 0.9;
            slider.Accessible.increaseAction();
            compare(slider.value, 0.5);
            compare(movedSpy.count, 0);
        }

        function test_a_screen_reader_gets_role_name_and_value() {
            const slider = create({
                name: "增益",
                from: -1,
                to: 2,
                value: 0.5
            });
            compare([slider.minimumValue, slider.maximumValue], [-1, 2]);
            compare(slider.Accessible.role, Accessible.Slider);
            compare(slider.Accessible.name, "增益");
            compare(slider.Accessible.description, "50%");
            slider.Accessible.increaseAction();
            fuzzyCompare(slider.value, 0.6, 0.0001);
            slider.Accessible.decreaseAction();
            fuzzyCompare(slider.value, 0.5, 0.0001);
            finish();
        }
    }
}
