import QtQuick
import QtTest
import MediaControls
import VexoDeckTest

Item {
    id: page

    width: 400
    height: 300

    Component {
        id: singleComponent

        AudioChannelIndicatorSingle {
            width: 214
        }
    }

    Component {
        id: channelComponent

        AudioChannelIndicator {
            height: 210
        }
    }

    Component {
        id: pairComponent

        AudioLevelIndicator {}
    }

    LoggedTestCase {
        name: "LevelMeters"

        function create(component, properties) {
            return createTemporaryObject(component, page, properties ?? {});
        }

        function clippingTimer(meter) {
            return Array.from(meter.data).find(object => object.objectName === "clippingTimer");
        }

        function markColor(meter) {
            return findChild(meter, "clipMark").color;
        }

        function test_the_defaults_data() {
            return [
                {
                    tag: "single",
                    component: singleComponent
                },
                {
                    tag: "channel",
                    component: channelComponent
                }
            ];
        }

        function test_the_defaults(row) {
            const meter = create(row.component);
            compare(meter.level, 0);
            compare(meter.clipping, false);
            compare(meter.clippingThreshold, 1);
            compare(meter.clippingDuration, 10000);
            compare(meter.channelName, "L");
            compare(markColor(meter), "#232323");
        }

        function test_a_level_is_clamped_data() {
            return test_the_defaults_data();
        }

        function test_a_level_is_clamped(row) {
            const meter = create(row.component);
            meter.setLevel(-0.5);
            compare(meter.level, 0);
            meter.setLevel(1.7);
            compare(meter.level, 1);
        }

        function test_a_level_at_the_threshold_lights_the_clip_mark_data() {
            return test_the_defaults_data();
        }

        function test_a_level_at_the_threshold_lights_the_clip_mark(row) {
            const meter = create(row.component, {
                clippingThreshold: 0.8
            });
            meter.setLevel(0.79);
            compare(meter.clipping, false);
            meter.setLevel(0.8);
            compare(meter.clipping, true);
            compare(markColor(meter), "#ff3200");
            meter.clearClipping();
            compare(meter.clipping, false);
            compare(markColor(meter), "#232323");
        }

        function test_a_single_meter_at_level_1_lights_the_clip_block_for_its_duration_also_if_the_level_falls_at_once() {
            const meter = create(singleComponent, {
                clippingDuration: 300
            });
            startReferenceTime(meter.clippingDuration);
            meter.setLevel(1);
            meter.setLevel(0.1);
            compare(meter.clipping, true);
            compare(markColor(meter), "#ff3200");
            tryCompare(meter, "clipping", false);
            compare(referenceTimeOver, true, "it stayed as long as it should");
        }

        function test_a_lit_mark_is_not_prolonged_by_the_next_peak() {
            const meter = create(singleComponent);
            meter.setLevel(1);
            const timer = clippingTimer(meter);
            compare(timer.running, true);
            // A restarted timer stops first.
            let changes = 0;
            timer.runningChanged.connect(() => changes++);
            meter.setLevel(0.2);
            meter.setLevel(1);
            compare([changes, timer.running], [0, true]);
        }

        function test_a_cleared_mark_can_be_lit_again() {
            const meter = create(channelComponent);
            meter.setLevel(1);
            meter.clearClipping();
            meter.setLevel(1);
            compare(meter.clipping, true);
        }

        function test_the_bar_of_a_single_meter_follows_the_level_at_once() {
            const meter = create(singleComponent);
            const bar = findChild(meter, "bar");
            const cover = findChild(bar, "cover");
            compare(bar.width, 214 - 9 - 5);
            compare(findChild(meter, "clipMark").width, 9);
            compare(cover.color, "#232323");
            meter.setLevel(0.25);
            compare(cover.width, 150);
            compare(cover.x + cover.width, bar.width);
        }

        function test_the_gradient_of_a_single_meter_runs_from_green_to_yellow() {
            const stops = findChild(create(singleComponent), "bar").gradient.stops;
            compare(Array.from(stops, stop => stop.position + " " + stop.color), ["0 #00e27e", "0.7 #79c33a", "1 #ffc000"]);
        }

        // As WCAG 2 defines it.
        function contrast(one, other) {
            const linear = channel => channel <= 0.04045 ? channel / 12.92 : Math.pow((channel + 0.055) / 1.055, 2.4);
            const luminance = color => 0.2126 * linear(color.r) + 0.7152 * linear(color.g) + 0.0722 * linear(color.b);
            const [dark, light] = [luminance(one), luminance(other)].sort((a, b) => a - b);
            return (light + 0.05) / (dark + 0.05);
        }

        function test_an_empty_meter_and_its_unlit_block_stand_out_from_their_ground_data() {
            return [
                {
                    tag: "channel",
                    component: channelComponent
                },
                {
                    tag: "single",
                    component: singleComponent
                }
            ];
        }

        function test_an_empty_meter_and_its_unlit_block_stand_out_from_their_ground(row) {
            const meter = create(row.component);
            for (const ground of [VxTheme.card, VxTheme.surface, VxTheme.windowBackground]) {
                for (const part of ["clipMark", "frame"]) {
                    const line = findChild(meter, part).border;
                    compare(line.width, 1, part);
                    verify(contrast(line.color, ground) >= 3, `${part}: ${contrast(line.color, ground)}`);
                }
            }
            meter.setLevel(1);
            compare(findChild(meter, "clipMark").border.width, 0);
            meter.clearClipping();
        }

        function test_a_single_meter_does_not_fall_by_itself() {
            const meter = create(singleComponent);
            meter.setLevel(0.5);
            verify(!Array.from(meter.data).some(object => object.running), "nothing waits to take it down");
            compare(meter.level, 0.5);
        }

        function test_a_single_meter_logs_its_channel() {
            create(singleComponent, {
                channelName: "mic 7"
            });
            compare(linesWith("mic 7").length, 1);
        }

        function test_a_clip_mark_stays_for_10_seconds_data() {
            return test_the_defaults_data();
        }

        function test_a_clip_mark_stays_for_10_seconds(row) {
            const meter = create(row.component);
            const timer = clippingTimer(meter);
            compare([timer.interval, timer.repeat, timer.running], [10000, false, false]);
            meter.setLevel(1);
            meter.setLevel(0);
            compare([timer.running, meter.clipping], [true, true]);
            timer.triggered();
            compare([timer.running, meter.clipping], [false, false]);
            compare(markColor(meter), "#232323");
        }

        function test_a_channel_at_full_scale_lights_the_clip_mark_for_its_duration() {
            const meter = create(channelComponent, {
                clippingDuration: 300
            });
            startReferenceTime(meter.clippingDuration);
            meter.setLevel(1);
            tryCompare(meter, "level", 0);
            tryCompare(meter, "clipping", false);
            compare(referenceTimeOver, true, "it stayed as long as it should");
        }

        function test_the_gradient_of_a_channel_runs_upwards() {
            const stops = findChild(create(channelComponent), "bar").gradient.stops;
            const fromBottom = Array.from(stops, stop => (1 - stop.position).toFixed(1) + " " + stop.color).reverse();
            compare(fromBottom, ["0.0 #00e27e", "0.7 #79c33a", "1.0 #ffc000"]);
        }

        function test_a_channel_moves_with_the_pace_of_its_direction_data() {
            return [
                {
                    tag: "far up",
                    from: 0,
                    to: 0.5,
                    duration: 60,
                    easing: Easing.OutQuart
                },
                {
                    tag: "a little up",
                    from: 0.5,
                    to: 0.54,
                    duration: 100,
                    easing: Easing.OutQuad
                },
                {
                    tag: "down to almost nothing",
                    from: 0.5,
                    to: 0.09,
                    duration: 1200,
                    easing: Easing.OutQuart
                },
                {
                    tag: "down",
                    from: 0.5,
                    to: 0.3,
                    duration: 600,
                    easing: Easing.OutQuad
                }
            ];
        }

        function test_a_channel_moves_with_the_pace_of_its_direction(row) {
            const meter = create(channelComponent, {
                autoResetTimeout: 60000
            });
            meter.setLevel(row.from);
            tryCompare(meter, "drawnLevel", row.from);
            meter.setLevel(row.to);
            const animation = Array.from(meter.data).find(entry => entry.objectName === "animation");
            compare(animation.duration, row.duration);
            compare(animation.easing.type, row.easing);
            tryCompare(meter, "drawnLevel", row.to);
        }

        function test_a_rise_is_measured_against_the_drawn_level() {
            const meter = create(channelComponent, {
                autoResetTimeout: 60000
            });
            const animation = Array.from(meter.data).find(entry => entry.objectName === "animation");
            meter.setLevel(0.5);
            tryCompare(meter, "drawnLevel", 0.5);
            // The level falls and then rises a little, while the bar is still far above.
            meter.setLevel(0.2);
            meter.setLevel(0.3);
            verify(meter.drawnLevel > 0.4);
            compare(animation.duration, 100);
        }

        function test_the_cover_of_a_channel_is_black_and_leaves_the_drawn_level() {
            const meter = create(channelComponent, {
                autoResetTimeout: 60000
            });
            const bar = findChild(meter, "bar");
            const cover = findChild(bar, "cover");
            compare(cover.color, "#000000");
            compare(cover.height, bar.height);
            meter.setLevel(0.75);
            tryCompare(cover, "height", bar.height * 0.25);
            compare(cover.y, 0);
        }

        function test_a_channel_drops_100_ms_after_the_last_change() {
            const meter = create(channelComponent);
            compare(meter.autoResetTimeout, 100);
            startReferenceTime(meter.autoResetTimeout);
            meter.setLevel(0.5);
            compare(meter.level, 0.5);
            tryCompare(meter, "level", 0);
            compare(referenceTimeOver, true, "it stayed as long as it should");
            tryCompare(meter, "drawnLevel", 0);
        }

        function test_changes_keep_a_channel_up_and_repetitions_do_not() {
            const meter = create(channelComponent, {
                autoResetTimeout: 200
            });
            const started = Date.now();
            let step = 0;
            let last = started;
            let longestPauseMs = 0;
            let fell = false;
            meter.levelChanged.connect(() => fell = fell || meter.level === 0);
            // A change in each turn, for longer than the time-out.
            tryVerify(() => {
                longestPauseMs = Math.max(longestPauseMs, Date.now() - last);
                meter.setLevel(0.5 + 0.01 * (step++ % 2));
                last = Date.now();
                return last - started > 500;
            });
            verify(!fell || longestPauseMs > 190, `fell at a longest pause of ${longestPauseMs} ms`);
            // A change within 0.001 leaves the timer running.
            const base = meter.level;
            tryVerify(() => {
                if (meter.level > 0)
                    meter.setLevel(base + 0.0005 * (step++ % 2));
                return meter.level === 0;
            }, 2000);
        }

        function test_a_pair_passes_left_and_right_on() {
            const pair = create(pairComponent);
            const left = findChild(pair, "left");
            const right = findChild(pair, "right");
            compare([left.channelName, right.channelName], ["L", "R"]);
            compare([left.width, right.width], [9, 9]);
            compare(right.x - left.x - left.width, 10);
            pair.setLevels(0.3, 1.2);
            compare([left.level, right.level], [0.3, 1]);
            compare([left.clipping, right.clipping], [false, true]);
            pair.clearClipping();
            compare(right.clipping, false);
        }
    }
}
