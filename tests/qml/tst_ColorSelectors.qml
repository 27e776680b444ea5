import QtQuick
import QtTest
import MediaControls
import VexoDeckTest

Item {
    id: page

    width: 600
    height: 600

    Component {
        id: oneComponent

        CustomColorSelect {
            property var told: []

            x: 20
            y: 20
            defaultColor: "#3f2ef8"
            onColorChanged: newColor => told.push("changed " + newColor)
            onChangeComplete: (newColor, isReset) => told.push("complete " + newColor + " " + isReset)
        }
    }

    Component {
        id: gradientComponent

        CustomMultColorSelect {
            property var told: []

            x: 20
            y: 20
            onGradientChanged: (index, data) => told.push("changed " + index + " " + data.join())
            onChangeComplete: (index, data, isReset) => told.push("complete " + index + " " + data.join() + " " + isReset)
        }
    }

    Component {
        id: cycleComponent

        CustomCycColorSelect {
            property var told: []

            x: 20
            y: 20
            onColorsChanged: colors => told.push("changed " + colors.join())
            onChangeComplete: (colors, isReset) => told.push("complete " + colors.join() + " " + isReset)
        }
    }

    LoggedTestCase {
        name: "ColorSelectors"

        function create(component, properties) {
            const select = createTemporaryObject(component, page, properties ?? {});
            // Once laid out.
            tryVerify(() => findChild(select, "resetButton").x > 0);
            return select;
        }

        function clickOwn(select) {
            mouseClick(findChild(select, "own"));
            // Once the boxes have their place below the bar.
            tryVerify(() => findChild(select, "color0").parent.y > findChild(select, "gradientBar").y);
        }

        function popupOf(item) {
            const popup = Array.from(item.data).find(entry => entry.objectName === "popup");
            verify(popup !== undefined, "the picker's popup");
            return popup;
        }

        function opened(popup) {
            tryCompare(popup, "opened", true);
            return popup.picker;
        }

        function close(popup) {
            keyClick(Qt.Key_Escape);
            tryCompare(popup, "visible", false);
        }

        function test_a_colour_starts_with_its_default() {
            const select = create(oneComponent);
            compare(select.selectedColor, "#3f2ef8");
            compare(select.told, []);
        }

        function test_each_step_in_the_picker_is_told_and_its_closing_too() {
            const select = create(oneComponent);
            const tile = findChild(select, "tile");
            mouseClick(tile);
            const picker = opened(popupOf(tile));
            compare(picker.selectedColor, "#3f2ef8");
            compare(select.told, []);
            mouseClick(findChild(picker, "swatch0"));
            mouseClick(findChild(picker, "swatch5"));
            compare(select.told, ["changed #ff0000", "changed #0000ff"]);
            compare(select.selectedColor, "#0000ff");
            close(popupOf(tile));
            compare(select.told.slice(2), ["complete #0000ff false"]);
        }

        function test_a_press_outside_closes_the_picker() {
            const select = create(oneComponent);
            const tile = findChild(select, "tile");
            mouseClick(tile);
            opened(popupOf(tile));
            mouseClick(page, 590, 590);
            tryCompare(popupOf(tile), "visible", false);
            compare(select.told, ["complete #3f2ef8 false"]);
        }

        function test_the_reset_of_a_colour_restores_the_default() {
            const select = create(oneComponent);
            select.selectedColor = "#00ff00";
            mouseClick(findChild(select, "resetButton"));
            compare(select.selectedColor, "#3f2ef8");
            compare(select.told, ["changed #3f2ef8", "complete #3f2ef8 true"]);
        }

        function test_swatches_added_in_a_picker_stay_while_it_lives() {
            const select = create(oneComponent);
            const tile = findChild(select, "tile");
            const popup = popupOf(tile);
            mouseClick(tile);
            mouseClick(findChild(opened(popup), "swatch8"));
            compare(popup.picker.dynamicColors, ["#3F2EF8"]);
            close(popup);
            mouseClick(tile);
            compare(opened(popup).dynamicColors, ["#3F2EF8"]);
        }

        function test_a_gradient_starts_with_the_first_preset() {
            const select = create(gradientComponent);
            compare(select.selectedPresetIndex, 0);
            compare(Array.from(select.selectedGradient), ["#FDE725", "#27FFDE", "#FDE725"]);
            compare(select.told, []);
            compare(findChild(select, "color0").visible, false);
        }

        function test_a_click_on_a_preset_selects_it_and_copies_its_colours() {
            const select = create(gradientComponent);
            mouseClick(findChild(select, "preset2"));
            compare(select.selectedPresetIndex, 2);
            compare(select.told, ["changed 2 #E02903,#FDE725,#E02903", "complete 2 #E02903,#FDE725,#E02903 false"]);
            compare(findChild(select, "preset2").selected, true);
            compare(findChild(select, "preset0").selected, false);
        }

        function test_the_own_tile_takes_the_current_colours_and_shows_three_boxes() {
            const select = create(gradientComponent, {
                width: 228
            });
            mouseClick(findChild(select, "preset1"));
            select.told = [];
            clickOwn(select);
            compare(select.told, ["changed 3 #5D36FA,#E720F9,#5D36FA", "complete 3 #5D36FA,#E720F9,#5D36FA false"]);
            const boxes = [0, 1, 2].map(index => findChild(select, "color" + index));
            compare(boxes.map(box => box.visible), [true, true, true]);
            compare(boxes.map(box => box.x), [0, 100, 200]);
        }

        function test_a_pick_replaces_one_colour_of_the_own_gradient() {
            const select = create(gradientComponent);
            clickOwn(select);
            select.told = [];
            const box = findChild(select, "color1");
            mouseClick(box);
            mouseClick(findChild(opened(popupOf(box)), "swatch0"));
            compare(select.told, ["changed 3 #FDE725,#ff0000,#FDE725"]);
            close(popupOf(box));
            compare(select.told.slice(1), ["complete 3 #FDE725,#ff0000,#FDE725 false"]);
            compare(Array.from(select.presetGradients[0]), ["#FDE725", "#27FFDE", "#FDE725"], "the preset stays");
        }

        function test_the_reset_of_a_gradient_selects_the_first_preset() {
            const select = create(gradientComponent);
            clickOwn(select);
            select.told = [];
            mouseClick(findChild(select, "resetButton"));
            compare(select.selectedPresetIndex, 0);
            compare(select.told, ["changed 0 #FDE725,#27FFDE,#FDE725", "complete 0 #FDE725,#27FFDE,#FDE725 true"]);
        }

        function test_sampling_30_steps_from_a_gradient_with_equal_first_and_last_colour() {
            const colors = create(gradientComponent).getCurrentGradientXColors(30);
            compare(colors.length, 30);
            compare(colors[0], "#FDE725");
            compare(colors[29], "#FDE725");
            compare(colors[14], "#27FFDE");
            compare(colors[7], "#92f382");
        }

        function test_a_gradient_is_sampled_data() {
            return [
                {
                    tag: "12 steps: the middle at 5",
                    gradient: ["#000000", "#ffffff", "#000000"],
                    steps: 12,
                    at: 5,
                    wanted: "#ffffff"
                },
                {
                    tag: "6 steps: the middle at 2",
                    gradient: ["#000000", "#ffffff", "#000000"],
                    steps: 6,
                    at: 2,
                    wanted: "#ffffff"
                },
                {
                    tag: "6 steps: behind the middle",
                    gradient: ["#000000", "#ffffff", "#000000"],
                    steps: 6,
                    at: 3,
                    wanted: "#aaaaaa"
                },
                {
                    tag: "two colours",
                    gradient: ["#000000", "#ff0000"],
                    steps: 3,
                    at: 1,
                    wanted: "#800000"
                },
                {
                    tag: "four colours in equal segments",
                    gradient: ["#000000", "#ff0000", "#00ff00", "#0000ff"],
                    steps: 7,
                    at: 3,
                    wanted: "#808000"
                },
                {
                    tag: "one step",
                    gradient: ["#102030", "#ff0000"],
                    steps: 1,
                    at: 0,
                    wanted: "#102030"
                },
                {
                    tag: "three colours in two steps",
                    gradient: ["#102030", "#ff0000", "#0000ff"],
                    steps: 2,
                    at: 1,
                    wanted: "#0000ff"
                }
            ];
        }

        function test_a_gradient_is_sampled(row) {
            const colors = create(gradientComponent, {
                selectedGradient: row.gradient
            }).getCurrentGradientXColors(row.steps);
            compare(colors.length, row.steps);
            compare(colors[row.at], row.wanted);
        }

        function test_a_broken_colour_counts_as_black_and_is_logged() {
            TestLog.expect("Not a colour: nonsense");
            TestLog.expect("Not a colour: nonsense");
            const select = create(gradientComponent, {
                selectedGradient: ["#ff0000", "#ff0000"]
            });
            select.selectedGradient = ["#ff0000", "nonsense"];
            const colors = select.getCurrentGradientXColors(3);
            compare(colors[1], "#800000");
        }

        function test_one_colour_is_no_gradient() {
            TestLog.expect("A gradient wants two colours");
            compare(create(gradientComponent, {
                selectedGradient: ["#ff0000"]
            }).getCurrentGradientXColors(5), []);
        }

        function test_a_cycle_starts_with_its_default_list() {
            const select = create(cycleComponent);
            compare(Array.from(select.colorList), ["#3F2EF8"]);
            compare(select.maxColors, 7);
            compare(findChild(select, "deleteButton").enabled, false);
        }

        function test_plus_adds_a_copy_of_the_last_colour_and_opens_the_picker() {
            const select = create(cycleComponent, {
                colorList: ["#FF0000", "#00FF00"]
            });
            mouseClick(findChild(select, "addButton"));
            compare(Array.from(select.colorList), ["#FF0000", "#00FF00", "#00FF00"]);
            compare(select.told, ["changed #FF0000,#00FF00,#00FF00"]);
            const popup = popupOf(select);
            mouseClick(findChild(opened(popup), "swatch5"));
            compare(select.told.slice(1), ["changed #FF0000,#00FF00,#0000ff"]);
            close(popup);
            compare(select.told.slice(2), ["complete #FF0000,#00FF00,#0000ff false"]);
        }

        function test_the_loop_list_cannot_go_above_seven_colours_or_below_one() {
            const select = create(cycleComponent);
            const add = findChild(select, "addButton");
            for (let count = 2; count <= 7; count++) {
                mouseClick(add);
                compare(select.colorList.length, count);
                opened(popupOf(select));
                close(popupOf(select));
            }
            compare(add.visible, false);
            const remove = findChild(select, "deleteButton");
            for (let count = 6; count >= 1; count--) {
                mouseClick(remove);
                compare(select.colorList.length, count);
            }
            compare(remove.enabled, false);
            mouseClick(remove);
            compare(select.colorList.length, 1);
            compare(add.visible, true);
        }

        function test_a_click_selects_what_delete_removes_and_a_double_click_opens_the_picker() {
            const select = create(cycleComponent, {
                colorList: ["#FF0000", "#00FF00", "#0000FF"]
            });
            mouseClick(findChild(select, "tile1"));
            compare(findChild(select, "tile1").selected, true);
            compare(popupOf(select).visible, false);
            mouseClick(findChild(select, "deleteButton"));
            compare(Array.from(select.colorList), ["#FF0000", "#0000FF"]);
            compare(select.told, ["changed #FF0000,#0000FF", "complete #FF0000,#0000FF false"]);
            tryVerify(() => findChild(select, "tile1").x > findChild(select, "tile0").x);
            mouseDoubleClickSequence(findChild(select, "tile0"));
            compare(opened(popupOf(select)).selectedColor, "#ff0000");
            close(popupOf(select));
        }

        function test_the_reset_of_a_cycle_restores_the_default_list() {
            const select = create(cycleComponent, {
                colorList: ["#FF0000", "#00FF00"]
            });
            mouseClick(findChild(select, "resetButton"));
            compare(Array.from(select.colorList), ["#3F2EF8"]);
            compare(select.told, ["changed #3F2EF8", "complete #3F2EF8 true"]);
        }

        function test_the_keyboard_opens_the_pickers() {
            const one = create(oneComponent);
            findChild(one, "tile").forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_Space);
            opened(popupOf(findChild(one, "tile")));
            close(popupOf(findChild(one, "tile")));
            const cycle = create(cycleComponent, {
                y: 80
            });
            findChild(cycle, "tile0").forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_Return);
            opened(popupOf(cycle));
            close(popupOf(cycle));
        }
    }
}
