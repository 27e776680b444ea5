import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckTest
import "qrc:/qt/qml/VexoDeck/qml/EqualizerCurve.js" as Curve

/* The geometry of the equaliser's curve, against points computed by hand and by the definition. */
WindowedEqualizerTestCase {
    id: testCase

    name: "EqualizerCurve"

    // 0.5 * (...) as it is defined, one coordinate.
    function catmullRom(p, t) {
        return 0.5 * (2 * p[1] + (p[2] - p[0]) * t + (2 * p[0] - 5 * p[1] + 4 * p[2] - p[3]) * t * t + (3 * p[1] - p[0] - 3 * p[2] + p[3]) * t * t * t);
    }

    function near(actual, expected, what) {
        verify(Math.abs(actual - expected) < 1e-9, `${what}: ${actual} instead of ${expected}`);
    }

    function test_the_chart_has_the_bands_and_labels_of_the_filter() {
        openEqualizer();
        const chart = child("eqChartContainer");
        compare(Array.from(chart.frequencies), [63, 125, 250, 400, 630, 1000, 1600, 2500, 4000, 6300, 10000, 16000]);
        compare(Array.from(chart.frequencyLabels), ["63Hz", "125Hz", "250Hz", "400Hz", "630Hz", "1kHz", "1.6kHz", "2.5kHz", "4kHz", "6.3kHz", "10kHz", "16kHz"]);
        compare(Array.from(chart.gainLevels), [6, 4, 2, 0, -2, -4, -6]);
        compare(Array.from(chart.gainLabels), ["+6dB", "+4dB", "+2dB", "0", "-2dB", "-4dB", "-6dB"]);
    }

    function test_the_canvas_has_its_margins() {
        openEqualizer();
        const chart = child("eqChartContainer");
        const canvas = child("canvas");
        compare([canvas.x, canvas.y, chart.width - canvas.x - canvas.width, chart.height - canvas.y - canvas.height], [45, 10, 10, 25]);
    }

    function test_the_points_lie_on_their_bands() {
        const points = Curve.points([6, 0, -6, 3, 0, 0, 0, 0, 0, 0, 0, 1.5], 240, 180);
        near(points[0].x, 10, "x of the first");
        near(points[11].x, 230, "x of the last");
        near(points[1].x, 30, "x of the second");
        near(points[0].y, 30, "+6 dB");
        near(points[1].y, 90, "0 dB");
        near(points[2].y, 150, "-6 dB");
        near(points[3].y, 60, "+3 dB");
        near(points[11].y, 75, "+1.5 dB");
    }

    function test_the_curve_is_the_spline_through_the_points() {
        const gains = [-4.5, -2, 1, 3, 2, -1, -3, 0, 4, 5.5, 3, -6];
        const points = Curve.points(gains, 455, 225);
        const positions = Curve.curve(points);
        // Each span has 31 positions, and its first is the last of the one before.
        compare(positions.length, 11 * 30 + 1);
        for (let span = 0; span < 11; span++) {
            const around = [-1, 0, 1, 2].map(offset => points[Math.max(0, Math.min(11, span + offset))]);
            for (let step = 0; step <= 30; step++) {
                const position = positions[span * 30 + step];
                near(position.x, catmullRom(around.map(point => point.x), step / 30), `x of ${span}.${step}`);
                near(position.y, catmullRom(around.map(point => point.y), step / 30), `y of ${span}.${step}`);
            }
        }
    }

    function test_the_curve_at_some_points_computed_by_hand() {
        // A step from 0 to 6 dB between bands 5 and 6, plot of 110 by 120: bands 10 apart, 10 a dB.
        const positions = Curve.curve(Curve.points([0, 0, 0, 0, 0, 0, 6, 6, 6, 6, 6, 6], 130, 180));
        near(positions[5 * 30 + 15].x, 65, "x in the middle");
        near(positions[5 * 30 + 15].y, 60, "y in the middle");
        // Half a band before the step the curve dips by a sixteenth of the step; half a band after, it overshoots as much.
        near(positions[4 * 30 + 15].y, 93.75, "before the step");
        near(positions[6 * 30 + 15].y, 26.25, "behind the step");
        near(positions[0].x, 10, "begin");
        near(positions[positions.length - 1].x, 120, "end");
    }

    function test_equal_positions_follow_one_another_once() {
        const point = {
            x: 5,
            y: 5
        };
        compare(Curve.curve([point, point, point]).length, 1);
    }

    function test_the_nearest_band_data() {
        // Bands 20 apart, at 10, 30, 50...
        return [[10, 0], [19, 0], [20, 0], [21, 1], [40, 1], [230, 11], [259, 11], [260, -1], [-19, 0], [-20, -1]].map(row => ({
                    tag: `at ${row[0]}`,
                    x: row[0],
                    band: row[1]
                }));
    }

    function test_the_nearest_band(data) {
        compare(Curve.nearestBand(data.x, 240), data.band);
    }

    function test_between_wide_bands_there_is_none() {
        // Bands 100 apart.
        compare(Curve.nearestBand(39, 1120), 0);
        compare(Curve.nearestBand(40, 1120), -1);
        compare(Curve.nearestBand(60, 1120), -1);
        compare(Curve.nearestBand(81, 1120), 1);
    }

    function test_a_gain_from_the_mouse_data() {
        return [[30, 6], [90, 0], [150, -6], [91, -0.1], [29, 6], [-50, 6], [151, -6], [500, -6]].map(row => ({
                    tag: `at ${row[0]}`,
                    y: row[0],
                    gain: row[1]
                }));
    }

    function test_a_gain_from_the_mouse(data) {
        near(Curve.gainAt(data.y, 180), data.gain, "gain");
    }

    function test_records_of_any_kind_become_twelve_gains_data() {
        const zeros = new Array(12).fill(0);
        return [
            {
                tag: "no array",
                value: "1,2,3",
                gains: zeros
            },
            {
                tag: "nothing",
                value: undefined,
                gains: zeros
            },
            {
                tag: "short",
                value: [1, 2],
                gains: [1, 2].concat(zeros.slice(2))
            },
            {
                tag: "long",
                value: new Array(20).fill(3),
                gains: new Array(12).fill(3)
            },
            {
                tag: "no numbers",
                value: ["1", null, NaN, Infinity,
                    {},
                    2, 0, 0, 0, 0, 0, 0],
                gains: [0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0]
            }
        ];
    }

    function test_records_of_any_kind_become_twelve_gains(data) {
        compare(Curve.twelveGains(data.value), data.gains);
    }

    // The drawn picture: white circles at the points, the area below the line, nothing above it.
    function test_the_picture_shows_points_line_and_area() {
        openEqualizer();
        eqSelect().select(3);
        const canvas = child("canvas");
        tryVerify(() => canvas.available);
        let picture = null;
        const origin = canvas.mapToItem(null, 0, 0);
        const at = (x, y) => picture.pixel(Math.round(origin.x + x), Math.round(origin.y + y));
        const points = Curve.points(Array.from(canvas.gains), canvas.width, canvas.height);
        tryVerify(() => {
            picture = grabImage(equalizer.contentItem);
            return Qt.colorEqual(at(points[0].x, points[0].y), "#ffffff");
        });
        for (const point of points)
            verify(Qt.colorEqual(at(point.x, point.y), "#ffffff"), `${point.x}, ${point.y}: ${at(point.x, point.y)}`);
        const middle = (points[6].x + points[7].x) / 2;
        // A line of one pixel may share two rows.
        const rows = [-1, 0, 1].map(offset => at(middle, points[6].y + offset));
        verify(rows.some(line => line.b > 0.5 && line.b > line.r + 0.2), "line: " + rows);
        const below = at(middle, points[6].y + 8);
        const above = at(middle, points[6].y - 8);
        verify(below.b > above.b + 0.05, `below ${below}, above ${above}`);
    }
}
