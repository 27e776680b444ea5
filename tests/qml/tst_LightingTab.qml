import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug
import VexoDeckTest

/* The page "灯光" of the device drawer: what each control stores and sends, by model. */
PageTestCase {
    id: testCase

    name: "LightingTab"
    width: 410
    height: 760
    pageComponent: Component {
        LightingTab {
            anchors.fill: parent
        }
    }

    readonly property var topics: MessageBus.messageTypes
    // Mixdesk R2 and Voxmic T40, with the colours in their lists.
    readonly property var lightRows: [
        {
            tag: "Mixdesk R2",
            info: mixdeskR2,
            count: 30,
            inputCount: 30,
            isT40: false
        },
        {
            tag: "Voxmic T40",
            info: voxmicT40,
            count: 12,
            inputCount: 6,
            isT40: true
        }
    ]
    readonly property var rainbow: ConfigMgr.color_illusory_color_list
    readonly property var inputLevels: ConfigMgr.color_illusory_color_list2

    // Blue, green, red, 0 of each colour, worked out here once more.
    function bytesOf(colors) {
        return [].concat(...Array.from(colors).map(color => [5, 3, 1].map(at => parseInt(String(color).slice(at, at + 2), 16)).concat([0])));
    }

    // The writes since the last call.
    function takeSent() {
        const writesToDevice = sent();
        HIDHotplugManager.clearCalls();
        return writesToDevice;
    }

    function times(color, count) {
        return Array(count).fill(color);
    }

    function open(info, settings) {
        for (const key of Object.keys(settings ?? {})) {
            if (Array.isArray(settings[key]))
                ConfigMgr.setStringList(key, settings[key]);
            else
                ConfigMgr.setValue(key, settings[key]);
        }
        openPage(info);
    }

    // A click on an item wherever the page has to scroll to.
    function click(item) {
        page.reveal(item);
        waitForPolish(Window.window);
        mouseClick(item);
        waitForPolish(Window.window);
    }

    function chooseTile(row, index) {
        click(part(child(row), "tile" + index));
    }

    function chooseEffect(index) {
        chooseTile("effects", index);
    }

    function popupOf(item) {
        const popup = Array.from(item.data).find(entry => entry.objectName === "popup");
        verify(popup !== undefined, "the picker's popup");
        return popup;
    }

    // Opens the picker of a tile and clicks swatches of it.
    function pick(tile, ...swatches) {
        click(tile);
        clickSwatches(popupOf(tile), swatches);
    }

    function clickSwatches(popup, swatches) {
        tryCompare(popup, "opened", true);
        for (const swatch of swatches)
            mouseClick(findChild(popup.picker, "swatch" + swatch));
        keyClick(Qt.Key_Escape);
        tryCompare(popup, "visible", false);
    }

    function swatch(index) {
        return String(ConfigMgr.getStringList("color_picker_preset_colors")[index]).toLowerCase();
    }

    function visiblePages() {
        return ["lightingSub1", "lightingSub2", "lightingSub3"].filter(name => child(name).visible);
    }

    // ---- the page

    function test_building_the_page_writes_and_sends_nothing_data() {
        return modelRows;
    }

    function test_building_the_page_writes_and_sends_nothing(row) {
        connectDevice(row.info);
        forgetWhatWasSent();
        page = createTemporaryObject(pageComponent, testCase);
        waitForRendering(page);
        compareData(takeSent(), []);
        compareData(writes(), []);
        compareData(published, []);
    }

    function test_a_new_connection_sends_no_light() {
        open(mixdeskR2);
        HIDHotplugManager.deviceConnected({}, false);
        HIDHotplugManager.deviceConnected({
            dpid: 0x9829
        }, true);
        connectDevice(mixdeskR2);
        compareData(takeSent(), []);
        compareData(writes(), []);
    }

    function test_the_cards_stand_in_their_order() {
        open(mixdeskR2);
        const sections = ["background", "input", "indicators", "other"].map(child);
        compareData(sections.map(section => section.title), ["背景", "输入", "指示灯", "其他"]);
        compareData(sections.map(section => section.hint), ["声卡接电时显示背景灯光", "话筒输入时，根据音量大小动态显示", "", ""]);
        for (let index = 1; index < sections.length; index++)
            verify(sections[index].y > sections[index - 1].y);
    }

    function test_every_control_starts_from_its_key() {
        const own = ["#010203", "#040506", "#070809"];
        open(voxmicT40, {
            color_bg_effect: 0,
            color_bg_static_type: 1,
            color_bg_static_single_color: "#111111",
            color_bg_static_illusory_color_index: 3,
            color_bg_static_illusory_color: own,
            color_bg_bln_type: 1,
            color_bg_bln_single_color: "#222222",
            color_bg_bln_cyc_color: ["#333333", "#444444"],
            color_bg_wave_type: 1,
            color_bg_wave_color: rainbow[1],
            color_bg_wave_dir_index: 0,
            color_bg_input_illusory_color_index: 2,
            color_bg_input_illusory_color: inputLevels[2],
            color_bg_input_illusory_dir_index: 0,
            color_bg_knob_gain_color: "#555555",
            color_bg_knob_volume_color: "#666666",
            color_bg_knob_mic_ratio_color: "#777777",
            color_bg_knob_mute_color: "#888888",
            color_bg_other_brightness: 0.25,
            color_bg_other_close_lighting: true,
            color_bg_other_close_rgb: true
        });
        compare(child("effects").selectIndex, 0);
        compare(child("staticType").selectIndex, 1);
        compareData([child("staticGradient").selectedPresetIndex, Array.from(child("staticGradient").selectedGradient)], [3, own]);
        compare(child("breathingType").selectIndex, 1);
        compareList(child("loop").colorList, ["#333333", "#444444"]);
        compareData([child("waveGradient").selectedPresetIndex, Array.from(child("waveGradient").selectedGradient)], [1, rainbow[1]]);
        compareData([child("inputGradient").selectedPresetIndex, Array.from(child("inputGradient").selectedGradient)], [2, inputLevels[2]]);
        compareData(["waveDirection", "inputDirection"].map(name => part(child(name), "directions").selectIndex), [0, 0]);
        const rows = ["staticColor", "breathingColor", "gainColor", "volumeColor", "ratioColor", "muteColor"];
        compareData(rows.map(name => String(part(child(name), "select").selectedColor)), ["#111111", "#222222", "#555555", "#666666", "#777777", "#888888"]);
        compare(child("brightness").value, 0.25);
        compareData([child("screenBox").checked, child("rgbBox").checked], [true, true]);
    }

    // ---- the effect

    function test_an_effect_is_stored_and_sent_without_colours_data() {
        return [["静态", 1], ["呼吸", 2], ["波浪", 3], ["关闭", 0]].map(([text, mode], index) => ({
                    tag: text,
                    index: index,
                    mode: mode
                }));
    }

    function test_an_effect_is_stored_and_sent_without_colours(row) {
        open(mixdeskR2, {
            color_bg_effect: row.index === 0 ? 1 : 0
        });
        compare(part(child("effects"), "tile" + row.index).text, row.tag);
        chooseEffect(row.index);
        compare(child("effects").selectIndex, row.index);
        compare(setting("color_bg_effect"), row.index);
        compareData(written(), ["color_bg_effect"]);
        compareData(takeSent(), [
            {
                background_light_off: [row.mode]
            }
        ]);
        compareData(visiblePages(), row.index < 3 ? ["lightingSub" + (row.index + 1)] : []);
    }

    function test_the_selected_effect_can_be_chosen_again() {
        open(mixdeskR2, {
            color_bg_effect: 1
        });
        chooseEffect(1);
        compare(child("background").isClickedIndex, 1);
        compareData(takeSent(), [
            {
                background_light_off: [2]
            }
        ]);
    }

    function test_two_clicks_in_two_rounds_swallow_two_echoes() {
        open(mixdeskR2);
        chooseEffect(0);
        HIDDeviceMgr.flushMessages();
        chooseEffect(1);
        HIDDeviceMgr.flushMessages();
        // The echo of the first click must not overwrite the second one.
        report("background_light_off", 1);
        compare(child("effects").selectIndex, 1);
        report("background_light_off", 2);
        compare(child("effects").selectIndex, 1);
        compare(child("background").isClickedIndex, 0);
        report("background_light_off", 3);
        compare(child("effects").selectIndex, 2);
    }

    function test_two_clicks_in_one_round_swallow_one_echo() {
        open(mixdeskR2);
        chooseEffect(0);
        chooseEffect(1);
        compareData(takeSent(), [
            {
                background_light_off: [2]
            }
        ]);
        report("background_light_off", 2);
        compare(child("effects").selectIndex, 1);
        // Chosen at the device.
        report("background_light_off", 0);
        compare(child("effects").selectIndex, 3);
    }

    function test_a_new_connection_waits_for_no_echo_of_the_old_one() {
        open(mixdeskR2);
        chooseEffect(0);
        HIDDeviceMgr.flushMessages();
        HIDHotplugManager.deviceConnected({
            dpid: 0x9829
        }, true);
        connectDevice(mixdeskR2);
        report("background_light_off", 2);
        compare(child("effects").selectIndex, 1);
    }

    function test_a_loss_of_the_device_ends_the_wait_for_echoes() {
        open(mixdeskR2);
        chooseEffect(0);
        HIDHotplugManager.deviceConnected({}, false);
        compare(child("background").isClickedIndex, 0);
    }

    function test_an_echo_that_never_comes_hides_no_choice_at_the_device() {
        open(mixdeskR2, {
            color_bg_effect: 1
        });
        const limit = child("echoLimit");
        compare(limit.interval, 6000);
        limit.interval = 20;
        chooseEffect(1);
        tryCompare(child("background"), "isClickedIndex", 0);
        report("background_light_off", 3);
        compare(child("effects").selectIndex, 2);
    }

    function test_a_device_that_tells_more_of_itself_is_no_new_connection() {
        open(mixdeskR2);
        chooseEffect(0);
        connectDevice(Object.assign({}, mixdeskR2, {
            version: "V1.05"
        }));
        compare(child("background").isClickedIndex, 1);
    }

    function test_a_mode_of_the_device_moves_the_selection_and_not_the_key_data() {
        return [[0, 3], [1, 0], [2, 1], [3, 2]].map(([mode, index]) => ({
                    tag: mode,
                    mode: mode,
                    index: index
                }));
    }

    function test_a_mode_of_the_device_moves_the_selection_and_not_the_key(row) {
        open(mixdeskR2, {
            color_bg_effect: row.index === 1 ? 0 : 1
        });
        report("background_light_off", row.mode);
        compare(child("effects").selectIndex, row.index);
        compareData(visiblePages(), row.index < 3 ? ["lightingSub" + (row.index + 1)] : []);
        compareData(written(), []);
        compareData(takeSent(), []);
    }

    function test_an_unknown_mode_selects_nothing() {
        open(mixdeskR2);
        report("background_light_off", 255);
        compareData(visiblePages(), []);
        compareData([0, 1, 2, 3].filter(index => part(child("effects"), "tile" + index).selected), []);
        // The effects are still reached by the keyboard.
        compare(part(child("effects"), "tile0").tabStop, true);
    }

    // ---- the static light

    function openStatic(info, settings) {
        open(info, Object.assign({
            color_bg_effect: 0
        }, settings ?? {}));
    }

    function test_the_solid_button_sends_the_models_count_data() {
        return lightRows;
    }

    function test_the_solid_button_sends_the_models_count(row) {
        openStatic(row.info, {
            color_bg_static_type: 1
        });
        chooseTile("staticType", 0);
        compare(setting("color_bg_static_type"), 0);
        compareData(written(), ["color_bg_static_type"]);
        compareData(takeSent(), [
            {
                background_static_effect: bytesOf(times("#3F2EF8", row.count))
            }
        ]);
        compareData([child("staticColor").visible, child("staticGradient").visible], [true, false]);
    }

    function test_the_solid_picker_sends_30_colours_on_every_model_data() {
        return lightRows;
    }

    function test_the_solid_picker_sends_30_colours_on_every_model(row) {
        openStatic(row.info);
        pick(part(child("staticColor"), "tile"), 0);
        compareData(takeSent(), [
            {
                background_static_effect: bytesOf(times(swatch(0), 30))
            }
        ]);
        compare(stored("color_bg_static_single_color"), "#ff0000");
        compareData(written(), ["color_bg_static_single_color"]);
    }

    function test_a_colour_equal_to_the_key_is_neither_sent_nor_stored() {
        openStatic(mixdeskR2, {
            color_bg_static_single_color: "#FF0000"
        });
        // In the other case of letters.
        pick(part(child("staticColor"), "tile"), 0);
        compareData(takeSent(), []);
        compareData(written(), []);
        click(part(child("staticColor"), "resetButton"));
        compare(setting("color_bg_static_single_color"), "#3f2ef8");
        forgetWhatWasSent();
        click(part(child("staticColor"), "resetButton"));
        compareData([takeSent(), written()], [[], []]);
    }

    function test_the_gradient_button_sends_samples_data() {
        return lightRows;
    }

    function test_the_gradient_button_sends_samples(row) {
        openStatic(row.info);
        chooseTile("staticType", 1);
        const bytes = takeSent()[0].background_static_effect;
        const middle = row.count === 30 ? 14 : 5;
        compare(bytes.length, 4 * row.count);
        for (const [place, color] of [[0, "#FDE725"], [middle, "#27FFDE"], [row.count - 1, "#FDE725"]])
            compareData(bytes.slice(4 * place, 4 * place + 4), bytesOf([color]), place);
        compareData([child("staticColor").visible, child("staticGradient").visible], [false, true]);
    }

    function test_a_preset_is_stored_and_sent_data() {
        return lightRows;
    }

    function test_a_preset_is_stored_and_sent(row) {
        openStatic(row.info, {
            color_bg_static_type: 1
        });
        click(part(child("staticGradient"), "preset2"));
        compare(setting("color_bg_static_illusory_color_index"), 2);
        compareList(storedList("color_bg_static_illusory_color"), Array.from(rainbow[2]));
        const bytes = takeSent()[0].background_static_effect;
        compare(bytes.length, 4 * row.count);
        compareData(bytes.slice(0, 4), bytesOf(["#E02903"]));
    }

    function test_the_own_gradient_is_index_3_and_a_reset_is_index_0() {
        openStatic(mixdeskR2, {
            color_bg_static_type: 1
        });
        const gradient = child("staticGradient");
        click(part(gradient, "own"));
        compare(setting("color_bg_static_illusory_color_index"), 3);
        pick(part(gradient, "color1"), 0);
        compareList(ConfigMgr.getStringList("color_bg_static_illusory_color"), ["#FDE725", "#ff0000", "#FDE725"]);
        const bytes = takeSent().pop().background_static_effect;
        compareData(bytes.slice(4 * 14, 4 * 15), [0, 0, 255, 0]);
        click(part(gradient, "resetButton"));
        compare(setting("color_bg_static_illusory_color_index"), 0);
        compareList(ConfigMgr.getStringList("color_bg_static_illusory_color"), Array.from(rainbow[0]));
    }

    // ---- the breathing light

    function openBreathing(settings) {
        open(voxmicT40, Object.assign({
            color_bg_effect: 1
        }, settings ?? {}));
    }

    function test_the_breathing_types_send_seven_colours() {
        const loop = ["#010203", "#040506"];
        openBreathing({
            color_bg_bln_cyc_color: loop
        });
        chooseTile("breathingType", 1);
        compare(setting("color_bg_bln_type"), 1);
        chooseTile("breathingType", 0);
        compare(setting("color_bg_bln_type"), 0);
        compareData(takeSent(), [
            {
                background_breath_effect: bytesOf(["#3F2EF8"].concat(times("#000000", 6)))
            }
        ]);
        chooseTile("breathingType", 1);
        compareData(takeSent(), [
            {
                background_breath_effect: bytesOf(loop.concat(times("#000000", 5)))
            }
        ]);
    }

    function test_the_breathing_colour_is_reset_to_that_of_the_control() {
        openBreathing();
        pick(part(child("breathingColor"), "tile"), 0);
        compareData(takeSent(), [
            {
                background_breath_effect: bytesOf(["#ff0000"].concat(times("#000000", 6)))
            }
        ]);
        compare(stored("color_bg_bln_single_color"), "#ff0000");
        click(part(child("breathingColor"), "resetButton"));
        compare(stored("color_bg_bln_single_color"), "#0075ff");
        compareData(takeSent(), [
            {
                background_breath_effect: bytesOf(["#0075FF"].concat(times("#000000", 6)))
            }
        ]);
    }

    function test_the_loop_goes_from_one_colour_to_seven_and_always_sends_28_bytes() {
        openBreathing({
            color_bg_bln_type: 1
        });
        const loop = child("loop");
        let expected = ["#3F2EF8"];
        for (let count = 2; count <= 7; count++) {
            // A copy of the last one, whose picker opens.
            click(part(loop, "addButton"));
            clickSwatches(popupOf(loop), [count % 8]);
            expected = expected.concat([swatch(count % 8)]);
            compareList(ConfigMgr.getStringList("color_bg_bln_cyc_color"), expected);
            const bytes = takeSent().pop().background_breath_effect;
            compareData(bytes, bytesOf(expected.concat(times("#000000", 7 - count))));
            compare(bytes.length, 28);
        }
        compare(part(loop, "addButton").visible, false);
        for (let count = 6; count >= 1; count--) {
            click(part(loop, "deleteButton"));
            compare(ConfigMgr.getStringList("color_bg_bln_cyc_color").length, count);
            compare(takeSent().pop().background_breath_effect.length, 28);
        }
        compare(part(loop, "deleteButton").enabled, false);
    }

    function test_the_same_loop_is_not_sent_again() {
        openBreathing({
            color_bg_bln_type: 1
        });
        click(part(child("loop"), "resetButton"));
        compareData([takeSent(), written()], [[], []]);
    }

    // ---- the wave

    function test_the_wave_is_stored_and_sent_data() {
        return lightRows;
    }

    function test_the_wave_is_stored_and_sent(row) {
        open(row.info);
        click(part(child("waveGradient"), "preset1"));
        compare(setting("color_bg_wave_type"), 1);
        compareList(storedList("color_bg_wave_color"), Array.from(rainbow[1]));
        const bytes = takeSent()[0].background_wave_effect;
        compare(bytes.length, 4 * row.count);
        compareData(bytes.slice(0, 4), bytesOf(["#5D36FA"]));
    }

    function directionRows() {
        return [
            {
                tag: "wave",
                row: "waveDirection",
                name: "波浪",
                key: "color_bg_wave_dir_index",
                attribute: "background_wave_light_direction"
            },
            {
                tag: "input",
                row: "inputDirection",
                name: "输入",
                key: "color_bg_input_illusory_dir_index",
                attribute: "input_sound_wave_direction"
            }
        ];
    }

    function test_a_direction_sends_its_negation_data() {
        return directionRows();
    }

    function test_a_direction_sends_its_negation(row) {
        open(mixdeskR2);
        const tiles = part(child(row.row), "directions");
        compare(tiles.selectIndex, 1);
        for (const index of [0, 1, 1]) {
            click(part(tiles, "tile" + index));
            compare(tiles.selectIndex, index);
            compare(setting(row.key), index);
            compareData(takeSent(), [
                {
                    [row.attribute]: [1 - index]
                }
            ]);
        }
        compareData(["tile0", "tile1"].map(name => part(tiles, name).Accessible.name), [row.name + " 向左", row.name + " 向右"]);
        verify(String(part(tiles, "tile0").icon.source).endsWith("icons/left_aw.svg"));
        verify(String(part(tiles, "tile1").icon.source).endsWith("icons/right_aw.svg"));
    }

    // ---- the input

    function test_the_first_input_preset_goes_by_proportion_data() {
        return lightRows;
    }

    function test_the_first_input_preset_goes_by_proportion(row) {
        open(row.info);
        click(part(child("inputGradient"), "preset0"));
        const shares = row.isT40 ? [4, 1, 1] : [21, 6, 3];
        const colors = ["#00FF00", "#FF9900", "#FF0000"];
        compareData(takeSent(), [
            {
                input_sound_wave_light_color: bytesOf([].concat(...colors.map((color, index) => times(color, shares[index]))))
            }
        ]);
        compare(setting("color_bg_input_illusory_color_index"), 0);
        compareList(storedList("color_bg_input_illusory_color"), colors);
    }

    function test_the_other_input_gradients_are_sampled_data() {
        return lightRows;
    }

    function test_the_other_input_gradients_are_sampled(row) {
        open(row.info);
        const gradient = child("inputGradient");
        for (const [name, index] of [["preset1", 1], ["preset2", 2], ["own", 3]]) {
            click(part(gradient, name));
            compare(setting("color_bg_input_illusory_color_index"), index);
            const bytes = takeSent()[0].input_sound_wave_light_color;
            const colors = gradient.selectedGradient;
            compare(bytes.length, 4 * row.inputCount);
            const middle = row.isT40 ? 2 : 14;
            for (const [place, color] of [[0, colors[0]], [middle, colors[1]], [row.inputCount - 1, colors[2]]])
                compareData(bytes.slice(4 * place, 4 * place + 4), bytesOf([color]), place);
        }
    }

    // ---- the indicators

    function test_each_indicator_sends_one_colour_data() {
        return [["gainColor", "麦克风增益", "color_bg_knob_gain_color", "mic_gain_light_color", "#00FF00"], ["volumeColor", "监听音量", "color_bg_knob_volume_color", "listen_volume_light_color", "#FFFF00"], ["ratioColor", "麦克风/电脑音量监听比", "color_bg_knob_mic_ratio_color", "mic_listen_ratio_light_color", "#0000FF"], ["muteColor", "静音", "color_bg_knob_mute_color", "rgb_light_off", "#FF0000"]].map(([row, text, key, attribute, color]) => ({
                    tag: text,
                    row: row,
                    key: key,
                    attribute: attribute,
                    color: color
                }));
    }

    function test_each_indicator_sends_one_colour(row) {
        open(mixdeskR2);
        const indicator = child(row.row);
        compare(indicator.text, row.tag);
        compare(String(part(indicator, "select").selectedColor), row.color.toLowerCase());
        pick(part(indicator, "tile"), 7);
        compare(stored(row.key), "#ffffff");
        compareData(takeSent(), [
            {
                [row.attribute]: [255, 255, 255, 0]
            }
        ]);
        click(part(indicator, "resetButton"));
        compareData(takeSent(), [
            {
                [row.attribute]: bytesOf([row.color])
            }
        ]);
        compare(stored(row.key), row.color.toLowerCase());
    }

    // ---- the other card

    function test_brightness_is_stored_and_sent_while_moved() {
        open(mixdeskR2);
        const slider = child("brightness");
        page.reveal(slider);
        compareData([slider.from, slider.to, slider.stepSize, slider.value], [0.01, 1, 0.01, 0.5]);
        press(slider);
        moveTo(slider, 1);
        compareData(takeSent(), [
            {
                rgb_light_brightness: [100]
            }
        ]);
        compare(setting("color_bg_other_brightness"), 1);
        compare(child("brightnessText").text, "100%");
        moveTo(slider, 0.01);
        compareData(takeSent(), [
            {
                rgb_light_brightness: [1]
            }
        ]);
        release(slider);
        forgetWhatWasSent();
        waitForEndOf(slider);
        compareData([takeSent(), written()], [[], []]);
        compare(Number(stored("color_bg_other_brightness")), 0.01);
    }

    function test_brightness_goes_out_as_a_whole_part() {
        open(mixdeskR2, {
            color_bg_other_brightness: 0.3
        });
        const slider = child("brightness");
        slider.forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Left);
        const value = setting("color_bg_other_brightness");
        fuzzyCompare(value, 0.29, 0.000001);
        compareData(takeSent(), [
            {
                rgb_light_brightness: [Math.floor(value * 100)]
            }
        ]);
        HIDDeviceMgr.sendMessage(HIDDeviceMgr.attrs.rgb_light_brightness, [0.29 * 100]);
        compareData(takeSent(), [
            {
                rgb_light_brightness: [28]
            }
        ]);
    }

    function test_a_stored_brightness_beyond_the_slider_is_at_its_end_data() {
        return [[0, 0.01], [-3, 0.01], [2, 1]].map(([stored, shown]) => ({
                    tag: stored,
                    stored: stored,
                    shown: shown
                }));
    }

    function test_a_stored_brightness_beyond_the_slider_is_at_its_end(row) {
        open(mixdeskR2, {
            color_bg_other_brightness: row.stored
        });
        compare(child("brightness").value, row.shown);
        compareData([takeSent(), written()], [[], []]);
    }

    function test_the_box_for_the_screen_is_stored_and_published() {
        open(mixdeskR2);
        for (const on of [true, false]) {
            forgetWhatWasSent();
            click(child("screenBox"));
            compare(setting("color_bg_other_close_lighting"), on);
            compareData(payloadsOf(topics.SCREEN_POWER_STATE_CHANGED), [on]);
            compareData(takeSent(), []);
        }
    }

    function test_the_rgb_box_is_there_on_T40_only_data() {
        return modelRows;
    }

    function test_the_rgb_box_is_there_on_T40_only(row) {
        open(row.info);
        const isT40 = row.info === voxmicT40;
        compare(child("rgbBox").visible, isT40);
        compare(part(child("other"), "card").height, isT40 ? 180 : 140);
    }

    function test_the_rgb_box_is_stored_and_takeSent() {
        open(voxmicT40);
        for (const on of [true, false]) {
            click(child("rgbBox"));
            compare(setting("color_bg_other_close_rgb"), on);
            compareData(takeSent(), [
                {
                    other_light_off: [on ? 1 : 0]
                }
            ]);
        }
    }

    function test_a_report_sets_the_rgb_box_and_is_neither_stored_nor_echoed() {
        open(voxmicT40);
        for (const [value, checked] of [[1, true], [0, false], [1, true], [2, false]]) {
            report("other_light_off", value);
            compare(child("rgbBox").checked, checked);
        }
        compareData([takeSent(), written()], [[], []]);
    }

    // ---- what the store and the device make of it

    function test_without_a_device_the_keys_keep_the_values() {
        open({});
        chooseEffect(0);
        pick(part(child("staticColor"), "tile"), 0);
        click(child("screenBox"));
        compareData([stored("color_bg_effect"), stored("color_bg_static_single_color"), stored("color_bg_other_close_lighting")].map(String), ["0", "#ff0000", "true"]);
    }

    function test_broken_values_in_the_store_start_sane_data() {
        return [["no lists", []], ["one colour", ["#112233"]], ["nine colours", times("#112233", 9)]].map(([tag, list]) => ({
                    tag: tag,
                    list: list
                }));
    }

    function test_broken_values_in_the_store_start_sane(row) {
        const settings = {
            color_bg_effect: 7,
            color_bg_static_type: -1,
            color_bg_bln_type: 2,
            color_bg_static_illusory_color_index: 4,
            color_bg_wave_type: -1,
            color_bg_input_illusory_color_index: 1.5,
            color_bg_wave_dir_index: 2,
            color_bg_static_single_color: "red",
            color_bg_bln_single_color: "#fff",
            color_bg_knob_gain_color: "",
            color_bg_knob_mute_color: "#" + "0".repeat(10000)
        };
        for (const key of ["color_bg_static_illusory_color", "color_bg_bln_cyc_color", "color_bg_wave_color", "color_bg_input_illusory_color"])
            settings[key] = row.list;
        open(mixdeskR2, settings);
        compareData(["effects", "staticType", "breathingType"].map(name => child(name).selectIndex), [2, 0, 0]);
        compareData(["staticGradient", "waveGradient", "inputGradient"].map(name => child(name).selectedPresetIndex), [0, 0, 0]);
        for (const name of ["staticGradient", "waveGradient", "inputGradient"])
            compare(child(name).selectedGradient.length, 3);
        compare(part(child("waveDirection"), "directions").selectIndex, 1);
        const colors = ["staticColor", "breathingColor", "gainColor", "muteColor"];
        compareData(colors.map(name => String(part(child(name), "select").selectedColor)), ["#3f2ef8", "#3f2ef8", "#00ff00", "#ff0000"]);
        verify(child("loop").colorList.length >= 1 && child("loop").colorList.length <= 7);
        compareData([takeSent(), written()], [[], []]);
        chooseEffect(0);
        chooseTile("staticType", 0);
        compareData(takeSent()[0].background_static_effect, bytesOf(times("#3F2EF8", 30)));
    }

    function test_a_stored_colour_that_is_none_counts_as_black_in_a_gradient() {
        for (let told = 0; told < 2; told++)
            TestLog.expect("Not a colour: red");
        open(mixdeskR2, {
            color_bg_effect: 0,
            color_bg_static_illusory_color: ["#112233", "red", "#445566"],
            color_bg_bln_cyc_color: ["red"]
        });
        chooseTile("staticType", 1);
        const bytes = takeSent()[0].background_static_effect;
        compareData(bytes.slice(4 * 14, 4 * 15), [0, 0, 0, 0]);
        compareList(child("loop").colorList, ["#000000"]);
    }
}
