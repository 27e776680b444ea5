import QtQuick
import QtTest
import MediaControls
import VexoDeckTest

Item {
    id: page

    width: 500
    height: 400

    property int pageClicks: 0

    MouseArea {
        anchors.fill: parent
        onClicked: page.pageClicks++
    }

    Component {
        id: pickerComponent

        ColorPicker {
            property var picked: []

            x: 20
            y: 20
            onColorSelected: newColor => picked.push(String(newColor))
        }
    }

    SignalSpy {
        id: paintedSpy

        signalName: "painted"
    }

    LoggedTestCase {
        id: testCase

        name: "ColorPicker"

        readonly property var presets: ["#FF0000", "#FF7F00", "#FBFC00", "#00FC00", "#00FCFD", "#0000FF", "#FF00FF", "#FFFFFF"]

        function create(properties) {
            const picker = createTemporaryObject(pickerComponent, page, properties ?? {});
            paintedSpy.target = canvas(picker);
            paintedSpy.clear();
            return picker;
        }

        function canvas(picker) {
            return findChild(picker, "canvas");
        }

        function area(picker) {
            return findChild(picker, "area");
        }

        function bar(picker) {
            return findChild(picker, "bar");
        }

        function field(picker, label) {
            return findChild(picker, "field" + label);
        }

        function swatch(picker, index) {
            return findChild(picker, "swatch" + index);
        }

        function fieldTexts(picker) {
            return ["HEX", "R", "G", "B"].map(label => field(picker, label).text);
        }

        function enter(input) {
            mouseClick(input, 10, 10);
            compare(input.activeFocus, true);
            input.selectAll();
        }

        function type(text) {
            for (const character of text)
                keyClick(character);
        }

        function hsl(picker) {
            const item = area(picker);
            return [item.hue, item.saturation, item.lightness].map(value => Math.round(value * 1000) / 1000);
        }

        // A pixel of the colour area in a picture of the page.
        function pixel(shot, picker, x, y) {
            const place = canvas(picker).mapToItem(page, x, y);
            return shot.pixel(place.x, place.y);
        }

        function isNear(shot, picker, x, y, wanted) {
            const seen = pixel(shot, picker, x, y);
            return ["r", "g", "b"].every(channel => Math.abs(seen[channel] - wanted[channel]) * 255 <= 1.5);
        }

        // A picture of the page after a pixel of the colour area has its colour: painting is visible one frame later.
        function shotWith(picker, x, y, wanted) {
            let shot = null;
            tryVerify(() => {
                shot = grabImage(page);
                return isNear(shot, picker, x, y, wanted);
            });
            return shot;
        }

        function test_the_panel_is_210_by_330() {
            const picker = create();
            compare(picker.width, 210);
            compare(picker.height, 330);
            compare(picker.color, "#292929");
            compare(picker.radius, 8);
            compare(area(picker).height, 90);
            verify(picker.childrenRect.height <= 330);
        }

        function test_a_picker_starts_with_the_first_preset_and_is_silent() {
            const picker = create();
            compare(Array.from(picker.presetColors), testCase.presets);
            compare(picker.selectedColor, "#ff0000");
            compare(picker.updatingFromInput, false);
            compare(picker.dynamicColors, []);
            compare(fieldTexts(picker), ["FF0000", "255", "0", "0"]);
            compare(hsl(picker), [0, 1, 0.5]);
            compare(picker.picked, []);
        }

        function test_presets_are_those_at_the_creation() {
            const picker = create();
            ConfigMgr.addStringList("color_picker_preset_colors", "#123456");
            compare(picker.presetColors, testCase.presets);
            ConfigMgr.loadAllSettings();
            compare(picker.presetColors, testCase.presets);
            compare(create().presetColors, testCase.presets.concat("#123456"));
            ConfigMgr.removeValue("color_picker_preset_colors");
        }

        function test_all_colours_are_presets_then_added_ones_then_empty_places() {
            const picker = create({
                dynamicColors: ["#123456"]
            });
            compare(picker.allColors, testCase.presets.concat(["#123456"], Array(6).fill(null)));
        }

        function test_flush_to_color_moves_every_part_and_emits_nothing() {
            const picker = create();
            picker.flushToColor("#2b8cff");
            compare(picker.selectedColor, "#2b8cff");
            compare(fieldTexts(picker), ["2B8CFF", "43", "140", "255"]);
            fuzzyCompare(area(picker).hue, 212.5, 0.5);
            fuzzyCompare(area(picker).saturation, 1, 0.01);
            fuzzyCompare(bar(picker).lightness, 0.584, 0.005);
            compare(findChild(picker, "preview").color, "#2b8cff");
            compare(picker.picked, []);
        }

        function test_the_area_maps_columns_to_hue_and_rows_to_saturation_data() {
            return [
                {
                    tag: "left edge, top",
                    x: 0,
                    y: 0,
                    hue: 0,
                    saturation: 1
                },
                {
                    tag: "a third, half way down",
                    x: 62,
                    y: 45,
                    hue: 120,
                    saturation: 0.5
                },
                {
                    tag: "half, near the bottom",
                    x: 93,
                    y: 72,
                    hue: 180,
                    saturation: 0.2
                }
            ];
        }

        function test_the_area_maps_columns_to_hue_and_rows_to_saturation(row) {
            const picker = create();
            compare(area(picker).width, 186);
            mousePress(area(picker), row.x, row.y);
            compare(hsl(picker), [row.hue, row.saturation, 0.5]);
            compare(picker.picked, [String(Qt.hsla(row.hue / 360, row.saturation, 0.5, 1))]);
            mouseRelease(area(picker), row.x, row.y);
            compare(picker.picked.length, 1);
        }

        function test_a_drag_emits_at_each_move_and_is_clamped_to_the_area() {
            const picker = create();
            const item = area(picker);
            mousePress(item, 20, 20);
            mouseMove(item, 60, 30);
            mouseMove(item, 400, -100);
            compare(picker.picked.length, 3);
            compare(hsl(picker), [360, 1, 0.5]);
            mouseMove(item, -50, 300);
            compare(hsl(picker), [0, 0, 0.5]);
            compare(picker.picked.length, 4);
            mouseRelease(item, -50, 300);
            compare(picker.picked.length, 4);
        }

        function test_the_selector_of_14_stays_inside_of_the_area() {
            const picker = create();
            const item = area(picker);
            const selector = findChild(item, "selector");
            compare(selector.width, 14);
            for (const corner of [[0, 0], [185, 0], [185, 89], [0, 89], [93, 45]]) {
                mouseClick(item, corner[0], corner[1]);
                verify(selector.x >= 0 && selector.x + 14 <= item.width, "x " + selector.x);
                verify(selector.y >= 0 && selector.y + 14 <= item.height, "y " + selector.y);
            }
            compare([selector.x, selector.y], [86, 38]);
        }

        function test_every_pixel_has_the_hue_of_its_column_and_the_saturation_of_its_row_data() {
            return [
                {
                    tag: "middle lightness",
                    lightness: 0.5
                },
                {
                    tag: "dark",
                    lightness: 0.2
                },
                {
                    tag: "light",
                    lightness: 0.8
                }
            ];
        }

        function test_every_pixel_has_the_hue_of_its_column_and_the_saturation_of_its_row(row) {
            const picker = create();
            picker.flushToColor(Qt.hsla(0, 1, row.lightness, 1));
            findChild(area(picker), "selector").visible = false;
            tryVerify(() => Math.abs(canvas(picker).paintedLightness - row.lightness) < 0.001);
            const middle = Qt.hsla(0.5, 0.5, canvas(picker).paintedLightness, 1);
            const shot = shotWith(picker, 93, 45, middle);
            for (const x of [13, 50, 93, 140, 172]) {
                for (const y of [0, 20, 45, 89]) {
                    const wanted = Qt.hsla(x / 186, 1 - y / 90, canvas(picker).paintedLightness, 1);
                    verify(isNear(shot, picker, x, y, wanted), x + "," + y + ": " + pixel(shot, picker, x, y) + " is not " + wanted);
                }
            }
        }

        function test_the_corners_of_the_area_are_rounded() {
            const picker = create();
            findChild(area(picker), "selector").visible = false;
            const shot = shotWith(picker, 93, 45, Qt.hsla(0.5, 0.5, 0.5, 1));
            for (const corner of [[0, 0], [185, 0], [185, 89], [0, 89], [2, 2]])
                compare(pixel(shot, picker, corner[0], corner[1]), "#292929", corner);
            for (const inside of [[20, 0], [0, 12], [4, 4], [185, 77]])
                verify(pixel(shot, picker, inside[0], inside[1]) !== "#292929", inside);
        }

        function test_the_area_is_painted_again_only_for_another_lightness() {
            const picker = create();
            tryVerify(() => paintedSpy.count > 0);
            paintedSpy.clear();
            mousePress(area(picker), 20, 20);
            mouseMove(area(picker), 60, 30);
            mouseRelease(area(picker), 60, 30);
            picker.flushToColor("#00ff00");
            waitForRendering(picker);
            compare(paintedSpy.count, 0, "the same lightness");
            picker.flushToColor(Qt.hsla(0.3, 1, 0.5005, 1));
            waitForRendering(picker);
            compare(paintedSpy.count, 0, "a change below 0.001");
            picker.flushToColor("#400000");
            tryCompare(paintedSpy, "count", 1);
        }

        function test_many_changes_of_lightness_are_painted_once_a_frame_at_most() {
            const picker = create();
            tryVerify(() => paintedSpy.count > 0);
            paintedSpy.clear();
            for (let x = 0; x < 100; x++)
                bar(picker).pickAt(x);
            tryVerify(() => paintedSpy.count > 0);
            tryVerify(() => Math.abs(canvas(picker).paintedLightness - 99 / 186) < 0.001);
            verify(paintedSpy.count <= 2, paintedSpy.count + " paintings");
        }

        function test_the_area_is_painted_at_every_showing() {
            const picker = create();
            tryVerify(() => paintedSpy.count > 0);
            picker.visible = false;
            paintedSpy.clear();
            picker.visible = true;
            tryVerify(() => paintedSpy.count > 0);
        }

        function test_the_bar_sets_the_lightness_and_emits_at_each_move() {
            const picker = create();
            const item = bar(picker);
            mousePress(item, 93, 7);
            mouseMove(item, 31, 7);
            compare(hsl(picker), [0, 1, 0.167]);
            mouseMove(item, 500, 7);
            compare(picker.picked, ["#ff0000", "#550000", "#ffffff"]);
            mouseMove(item, -20, 7);
            compare(picker.selectedColor, "#000000");
            mouseRelease(item, -20, 7);
            compare(picker.picked.length, 4);
        }

        function test_the_bar_runs_from_black_to_white_through_the_colour() {
            const picker = create();
            picker.flushToColor(Qt.hsla(0.6, 0.8, 0.2, 1));
            const stops = findChild(bar(picker), "ramp").gradient.stops;
            compare(stops[0].color, "#000000");
            compare(stops[2].color, "#ffffff");
            compare(String(stops[1].color), String(Qt.hsla(0.6, 0.8, 0.5, 1)));
        }

        function test_hue_and_saturation_survive_black_and_white() {
            const picker = create();
            mouseClick(area(picker), 62, 45);
            mousePress(bar(picker), 93, 7);
            mouseMove(bar(picker), 200, 7);
            mouseRelease(bar(picker), 200, 7);
            compare(picker.selectedColor, "#ffffff");
            mouseClick(bar(picker), 93, 7);
            compare(hsl(picker), [120, 0.5, 0.5]);
        }

        function test_hex_acts_at_exactly_six_digits() {
            const picker = create();
            enter(field(picker, "HEX"));
            type("3f2ef");
            compare(picker.picked, []);
            compare(picker.selectedColor, "#ff0000");
            type("8");
            compare(picker.picked, ["#3f2ef8"]);
            compare(picker.selectedColor, "#3f2ef8");
            compare(field(picker, "HEX").text, "3f2ef8", "what was typed stays while it has the focus");
            compare(["R", "G", "B"].map(label => field(picker, label).text), ["63", "46", "248"]);
            compare(picker.updatingFromInput, false);
            type("9");
            compare(field(picker, "HEX").text, "3f2ef8", "no seventh digit");
            compare(picker.picked.length, 1);
        }

        function test_hex_takes_digits_only_and_an_unfinished_entry_goes() {
            const picker = create();
            const input = field(picker, "HEX");
            enter(input);
            type("12xyz");
            compare(input.text, "12");
            picker.focusOut();
            compare(input.text, "FF0000");
            compare(picker.picked, []);
        }

        function test_hex_takes_a_pasted_colour_with_its_sign() {
            const picker = create();
            const input = field(picker, "HEX");
            enter(input);
            type("#00ff00");
            compare(picker.picked, ["#00ff00"]);
            compare(input.text, "00ff00");
        }

        function test_a_number_is_taken_over_when_it_is_finished() {
            const picker = create();
            enter(field(picker, "G"));
            type("128");
            compare(picker.picked, []);
            keyClick(Qt.Key_Return);
            compare(picker.picked, ["#ff8000"]);
            compare(field(picker, "HEX").text, "FF8000");
            fuzzyCompare(area(picker).hue, 30.1, 0.1);
            keyClick(Qt.Key_Return);
            compare(picker.picked.length, 1, "the same number again is no news");
        }

        function test_an_invalid_number_is_replaced_by_the_current_one_data() {
            return [
                {
                    tag: "too large",
                    text: "256"
                },
                {
                    tag: "empty",
                    text: ""
                }
            ];
        }

        function test_an_invalid_number_is_replaced_by_the_current_one(row) {
            const picker = create();
            const input = field(picker, "R");
            enter(input);
            keyClick(Qt.Key_Delete);
            type(row.text);
            compare(input.text, row.text);
            keyClick(Qt.Key_Return);
            compare(input.text, "255");
            compare(picker.picked, []);
        }

        function test_letters_do_not_enter_a_number() {
            const picker = create();
            enter(field(picker, "B"));
            type("a-7.");
            compare(field(picker, "B").text, "7");
            picker.focusOut();
            compare(picker.picked, ["#ff0007"]);
        }

        function test_a_field_with_the_focus_is_not_overwritten() {
            const picker = create();
            enter(field(picker, "R"));
            picker.flushToColor("#00ff00");
            compare(field(picker, "R").text, "255");
            compare(field(picker, "HEX").text, "00FF00");
            keyClick(Qt.Key_Delete);
            picker.focusOut();
            compare(field(picker, "R").text, "0");
        }

        function test_focus_out_takes_the_focus_from_every_field() {
            const picker = create();
            for (const label of ["HEX", "R", "G", "B"]) {
                enter(field(picker, label));
                picker.focusOut();
                compare(field(picker, label).activeFocus, false);
            }
        }

        function test_a_click_on_a_filled_swatch_picks_its_colour() {
            const picker = create();
            mouseClick(swatch(picker, 5));
            compare(picker.picked, ["#0000ff"]);
            compare(hsl(picker), [240, 1, 0.5]);
            compare(fieldTexts(picker), ["0000FF", "0", "0", "255"]);
        }

        function test_the_grid_has_15_places_in_five_columns() {
            const picker = create();
            compare(swatch(picker, 14) !== null, true);
            compare(swatch(picker, 15), null);
            compare(swatch(picker, 4).y, swatch(picker, 0).y);
            verify(swatch(picker, 5).y > swatch(picker, 0).y);
        }

        function test_an_empty_place_adds_the_current_colour_and_neither_emits_nor_stores() {
            const picker = create();
            picker.flushToColor("#2b8cff");
            mouseClick(swatch(picker, 11));
            compare(picker.dynamicColors, ["#2B8CFF"]);
            compare(picker.allColors[8], "#2B8CFF");
            compare(swatch(picker, 8).entry, "#2B8CFF");
            compare(picker.picked, []);
            compare(ConfigMgr.getStringList(ConfigMgr.keys.color_picker_preset_colors), testCase.presets);
            compare(linesWith("color_picker_preset_colors").length, 0);
        }

        function test_the_empty_place_with_the_current_colour_already_listed_does_nothing() {
            const picker = create();
            picker.flushToColor("#00fc00");
            mouseClick(swatch(picker, 8));
            compare(picker.dynamicColors, [], "a preset");
            picker.flushToColor("#abcdef");
            mouseClick(swatch(picker, 8));
            mouseClick(swatch(picker, 9));
            compare(picker.dynamicColors, ["#ABCDEF"]);
            compare(picker.picked, []);
        }

        function test_a_colour_added_in_one_picker_is_not_among_the_swatches_of_another_nor_after_a_restart() {
            const first = create();
            const second = create({
                x: 260
            });
            first.flushToColor("#2b8cff");
            mouseClick(swatch(first, 8));
            compare(first.allColors[8], "#2B8CFF");
            compare(second.allColors[8], null);
            compare(create().allColors[8], null, "nor of one made later");
            StoreFile.restart();
            ConfigMgr.loadAllSettings();
            compare(create().allColors[8], null, "nor after a restart");
        }

        function test_a_full_grid_takes_no_more() {
            const picker = create();
            for (let index = 0; index < 7; index++) {
                picker.flushToColor(Qt.rgba(0.1, 0.1, (index + 1) / 10, 1));
                mouseClick(swatch(picker, 8 + index));
            }
            compare(picker.dynamicColors.length, 7);
            compare(picker.allColors.length, 15);
            compare(picker.allColors.includes(null), false);
        }

        function test_clicks_do_not_reach_the_page_below() {
            const picker = create();
            page.pageClicks = 0;
            mouseClick(picker, 5, 325);
            mouseClick(picker, 105, 5);
            compare(page.pageClicks, 0);
            mouseClick(page, 450, 390);
            compare(page.pageClicks, 1);
        }

        function test_the_keyboard_reaches_and_moves_every_part() {
            const picker = create();
            picker.flushToColor(Qt.hsla(0.5, 0.5, 0.5, 1));
            area(picker).forceActiveFocus(Qt.TabFocusReason);
            const before = hsl(picker);
            keyClick(Qt.Key_Right);
            compare(hsl(picker)[0], before[0] + 3);
            keyClick(Qt.Key_Up);
            verify(hsl(picker)[1] > before[1]);
            keyClick(Qt.Key_Tab);
            compare(bar(picker).activeFocus, true);
            keyClick(Qt.Key_Right);
            verify(hsl(picker)[2] > before[2]);
            compare(picker.picked.length, 3);
            for (const label of ["HEX", "R", "G", "B"]) {
                keyClick(Qt.Key_Tab);
                compare(field(picker, label).activeFocus, true);
            }
            keyClick(Qt.Key_Tab);
            compare(swatch(picker, 0).activeFocus, true);
            keyClick(Qt.Key_Right);
            keyClick(Qt.Key_Down);
            compare(swatch(picker, 6).activeFocus, true);
            keyClick(Qt.Key_Space);
            compare(picker.selectedColor, "#ff00ff");
        }

        function test_every_part_has_a_name_for_a_screen_reader() {
            const picker = create();
            for (const item of [picker, area(picker), bar(picker), field(picker, "HEX"), swatch(picker, 0), swatch(picker, 14)])
                verify(item.Accessible.name !== "", String(item));
            compare(swatch(picker, 0).Accessible.name, "#FF0000");
            compare(picker.Accessible.role, Accessible.ColorChooser);
        }

        // Under the names by which the accessibility bridge asks for them.
        function test_a_screen_reader_gets_hue_and_lightness_with_their_ranges() {
            const picker = create();
            picker.flushToColor("#004080");
            for (const [item, value, highest] of [[area(picker), 210, 360], [bar(picker), 0.251, 1]]) {
                compare(item.Accessible.role, Accessible.Slider);
                fuzzyCompare(item.value, value, highest / 500);
                compare([item.minimumValue, item.maximumValue], [0, highest]);
                verify(item.stepSize > 0);
            }
        }

        // Assistive technology writes the property, and nothing else.
        function test_a_value_from_assistive_technology_picks_the_nearest_step() {
            const picker = create();
            picker.flushToColor("#004080");
            for (const [item, written, value] of [[area(picker), 91, 90], [bar(picker), 0.6, 0.601]]) {
                let picked = 0;
                const count = () => picked++;
                picker.colorSelected.connect(count);
                item.value = written;
                picker.colorSelected.disconnect(count);
                compare(picked, 1);
                fuzzyCompare(item.value, value, 0.005);
            }
            // It follows the picker as before.
            picker.flushToColor("#008000");
            fuzzyCompare(area(picker).value, 120, 0.5);
        }
    }
}
