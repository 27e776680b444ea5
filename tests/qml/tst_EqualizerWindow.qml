import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckSystemBridge
import VexoDeckTest
import "qrc:/qt/qml/VexoDeck/qml/EqualizerCurve.js" as Curve

/* The equaliser's window: its switch, its presets, and the editing of the curve. */
WindowedEqualizerTestCase {
    id: testCase

    name: "EqualizerWindow"

    function area() {
        return child("dragArea");
    }

    // The place of a band's point.
    function xOf(band) {
        return Math.round(Curve.bandX(band, area().width));
    }

    function yOf(gain) {
        return Curve.gainY(gain, area().height);
    }

    function gains() {
        return Array.from(child("canvas").gains);
    }

    function test_the_window_is_as_described() {
        openEqualizer();
        compare([equalizer.width, equalizer.height, equalizer.minimumWidth, equalizer.maximumHeight], [550, 480, 550, 480]);
        compare(equalizer.title, "均衡器");
        compare(equalizer.modality, Qt.ApplicationModal);
        compare(eqSelect().countSum, 7);
    }

    function test_closing_hides_and_reopening_shows_the_same_state() {
        openEqualizer([userPreset]);
        child("preset7").clicked();
        equalizer.close();
        tryCompare(equalizer, "visible", false);
        equalizer.show();
        tryCompare(equalizer, "opacity", 1);
        compare(eqSelect().selectIndex, 7);
        compare(gains(), [1, 2, 3, 4, 5, 6, 5, 4, 3, 2, 1, 0]);
    }

    function test_a_stored_equaliser_reaches_the_engine_when_the_window_is_built() {
        ConfigMgr.setValue("device_equalizer", true);
        forget();
        buildEqualizer();
        compare(child("equalizerSwitch").checked, true);
        compare(updates(), 1);
        compare(payloads(), [true]);
        compare(equalizer.visible, false);
    }

    function test_with_the_equaliser_off_the_engine_is_left_alone_at_the_build() {
        buildEqualizer();
        compare(child("equalizerSwitch").checked, false);
        compare(updates(), 0);
        compare(published.length, 0);
    }

    function test_the_switch_stores_tells_and_updates_from_any_cause() {
        openEqualizer();
        mouseClick(child("equalizerSwitch"));
        compare(ConfigMgr.getValue("device_equalizer"), true);
        compare(payloads(), [true]);
        compare(updates(), 1);
        child("equalizerSwitch").checked = false;
        compare(ConfigMgr.getValue("device_equalizer"), false);
        compare(payloads(), [true, false]);
        compare(updates(), 2);
    }

    function test_selecting_a_preset_data() {
        return [0, 1, 2, 3, 4, 5, 6].map(index => ({
                    tag: String(index),
                    index: index
                }));
    }

    function test_selecting_a_preset(data) {
        openEqualizer();
        forget();
        eqSelect().selectIndex = 0;
        child("preset" + data.index).clicked();
        compare(eqSelect().selectIndex, data.index);
        compare(JSON.stringify(current()), ConfigMgr.defaults.device_equalizer_values[data.index]);
        compare(currentIndex(), data.index);
        compare(written(), ["device_equalizer_current", "device_equalizer_current_index"]);
        compare(payloads(), [data.index]);
        compare(updates(), 1);
        compare(ConfigMgr.getValue("device_equalizer"), false);
        compare(gains(), current().value);
        compare(child("deletePreset").visible, false);
    }

    function test_the_arrow_keys_go_through_the_presets() {
        openEqualizer();
        const tile = index => child("preset" + index);
        tile(0).forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Right);
        compare([ConfigMgr.getValue("device_equalizer_current_index"), tile(1).activeFocus], [1, true]);
        keyClick(Qt.Key_Left);
        keyClick(Qt.Key_Left);
        compare([ConfigMgr.getValue("device_equalizer_current_index"), tile(6).activeFocus], [6, true]);
    }

    function test_the_tiles_of_the_presets() {
        openEqualizer([userPreset]);
        const names = [0, 1, 2, 3, 4, 5, 6, 7].map(index => child("preset" + index).text);
        compare(names, ["原声", "人声增强", "低切75Hz", "低切150Hz", "平坦", "中频增强", "低中频增强", "自定义 1"]);
        compare(child("preset0").height, 66);
        compare(child("preset0").background.color, "#0075ff");
        compare(child("preset1").background.color, "#3e3e3e");
        compare([child("addPreset").width, child("addPreset").height], [78, 66]);
    }

    function verifyInView(place) {
        const list = child("presetList");
        const tile = child("preset" + place);
        verify(tile.x >= list.contentX && tile.x + tile.width <= list.contentX + list.width, `preset ${place} at ${tile.x}, shown from ${list.contentX}`);
    }

    function test_the_selected_preset_is_in_view_whatever_selected_it() {
        ConfigMgr.setValue("device_equalizer_current_index", 7);
        openEqualizer([userPreset, userPreset, userPreset]);
        verifyInView(7);
        for (const place of [0, 9, 2]) {
            ConfigMgr.setValue("device_equalizer_current_index", place);
            MessageBus.publishUpdateConfigMessage(true);
            verifyInView(place);
        }
    }

    function test_adding_a_preset_does_not_select_it() {
        openEqualizer();
        child("addPreset").click();
        compare(eqSelect().selectIndex, 0);
        compare(eqSelect().dataList.length, 8);
        compare(JSON.stringify(storedPresets()[7]), JSON.stringify({
            name: "自定义",
            value: zeros,
            img: "icons/zdy.svg"
        }));
        compare(linesWith("添加新的均衡器预设:").length, 1);
        compare(updates(), 1);
        compare(published.length, 0);
        const list = child("presetList");
        tryVerify(() => list.contentWidth > 700 && list.contentX === list.contentWidth - list.width);
    }

    function test_with_three_user_presets_the_plus_button_is_gone_and_deleting_one_brings_it_back() {
        openEqualizer([userPreset, userPreset]);
        compare(child("addPreset").visible, true);
        child("addPreset").click();
        compare(child("addPreset").visible, false);
        compare(storedPresets().length, 10);
        child("preset8").clicked();
        mouseClick(child("deletePreset"));
        compare(child("addPreset").visible, true);
    }

    function test_deleting_a_preset_slides_the_next_one_into_the_selection() {
        const second = JSON.stringify({
            name: "自定义",
            value: zeros.map(() => 2),
            img: "icons/zdy.svg"
        });
        openEqualizer([userPreset, second]);
        child("preset7").clicked();
        forget();
        mouseClick(child("deletePreset"));
        compare(eqSelect().selectIndex, 7);
        compare(current().value, zeros.map(() => 2));
        compare(storedPresets().length, 8);
        compare(written(), ["device_equalizer_values", "device_equalizer_current_index", "device_equalizer_current"]);
        compare(payloads(), [7]);
        compare(updates(), 1);
    }

    function test_deleting_the_last_user_preset_selects_the_preset_before_it() {
        openEqualizer([userPreset]);
        child("preset7").clicked();
        mouseClick(child("deletePreset"));
        compare(eqSelect().selectIndex, 6);
        compare(currentIndex(), 6);
        compare(current().name, "低中频增强");
        compare(child("deletePreset").visible, false);
    }

    function test_a_press_with_a_fixed_preset_changes_nothing_and_updates_nothing() {
        openEqualizer([userPreset]);
        const before = JSON.stringify(ConfigMgr.config);
        for (let index = 0; index < 7; index++) {
            eqSelect().selectIndex = index;
            mousePress(area(), xOf(3), yOf(4));
            mouseMove(area(), xOf(3), yOf(-4));
            mouseRelease(area(), xOf(3), yOf(-4));
        }
        compare(JSON.stringify(ConfigMgr.config), before);
        compare(updates(), 0);
        compare(published.length, 0);
    }

    function test_a_press_stores_the_gain_tells_and_updates_the_engine() {
        openEqualizer([userPreset]);
        child("preset7").clicked();
        forget();
        const y = Math.round(yOf(-3.3));
        mousePress(area(), xOf(4), y);
        const expected = Curve.gainAt(y, area().height);
        compare(gains()[4], expected);
        compare(written(), ["device_equalizer_values", "device_equalizer_current"]);
        compare(payloads(), [7]);
        compare(updates(), 1);
        compare(current().value, [1, 2, 3, 4, expected, 6, 5, 4, 3, 2, 1, 0]);
        compare(storedPresets()[7].value, current().value);
        compare(storedPresets()[7].name, "自定义");
        mouseRelease(area(), xOf(4), y);
    }

    function test_the_engine_follows_the_press_and_not_the_drag() {
        openEqualizer([userPreset]);
        child("preset7").clicked();
        forget();
        mousePress(area(), xOf(4), yOf(0));
        compare(updates(), 1);
        for (const gain of [1, 2, 3, 4]) {
            mouseMove(area(), xOf(4), yOf(gain));
            verify(Math.abs(current().value[4] - gain) < 0.1);
        }
        // The drag keeps the band of its press.
        mouseMove(area(), xOf(9), yOf(-5));
        verify(Math.abs(current().value[4] + 5) < 0.1);
        compare(current().value[9], 2);
        mouseRelease(area(), xOf(9), yOf(-5));
        compare(updates(), 1);
        compare(published.length, 6);
        // After the release, moves have no effect.
        mouseMove(area(), xOf(4), yOf(5));
        compare(published.length, 6);
    }

    function test_a_press_far_from_every_band_changes_nothing_but_updates_the_engine() {
        openEqualizer([userPreset]);
        child("preset7").clicked();
        // The bands are closer than the reach here. Only a wider chart has room for such a press.
        child("eqChartContainer").anchors.fill = undefined;
        child("eqChartContainer").width = 1200;
        const between = (xOf(3) + xOf(4)) / 2;
        verify(between - xOf(3) > 40);
        forget();
        mousePress(area(), between, yOf(4));
        compare(updates(), 1);
        mouseMove(area(), between, yOf(2));
        mouseRelease(area(), between, yOf(2));
        compare(current().value, [1, 2, 3, 4, 5, 6, 5, 4, 3, 2, 1, 0]);
        compare(written(), []);
        compare(published.length, 0);
        compare(updates(), 1);
    }

    function test_a_press_above_the_top_gives_6_dB_and_below_the_bottom_minus_6_dB() {
        openEqualizer([userPreset]);
        child("preset7").clicked();
        mouseClick(area(), xOf(2), 2);
        compare(current().value[2], 6);
        mouseClick(area(), xOf(2), area().height - 2);
        compare(current().value[2], -6);
    }

    function test_the_right_button_drags_nothing() {
        openEqualizer([userPreset]);
        child("preset7").clicked();
        forget();
        mousePress(area(), xOf(2), yOf(0), Qt.RightButton);
        mouseMove(area(), xOf(2), yOf(4), -1, Qt.RightButton);
        mouseRelease(area(), xOf(2), yOf(4), Qt.RightButton);
        compare(updates(), 0);
        compare(published.length, 0);
    }

    function test_the_curve_is_edited_by_the_keyboard() {
        openEqualizer([userPreset]);
        child("preset7").clicked();
        forget();
        child("band0").forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Left);
        compare(child("band0").activeFocus, true, "before the first band there is none");
        keyClick(Qt.Key_Right);
        compare([child("band1").activeFocus, child("band0").activeFocusOnTab, child("band1").activeFocusOnTab], [true, false, true]);
        keyClick(Qt.Key_Up);
        compare(current().value[1], 2.5);
        keyClick(Qt.Key_Down);
        keyClick(Qt.Key_Down);
        compare(current().value[1], 1.5);
        compare(updates(), 3);
        keyClick(Qt.Key_Tab);
        compare(child("deletePreset").activeFocus, true, "the tabulator stops at one band");
    }

    function test_each_band_is_a_slider_for_a_screen_reader() {
        openEqualizer([userPreset]);
        child("preset7").clicked();
        forget();
        const labels = Array.from(child("eqChartContainer").frequencyLabels);
        for (let index = 0; index < 12; index++) {
            const band = child("band" + index);
            compare([band.Accessible.role, band.Accessible.name, band.Accessible.focusable, band.enabled], [Accessible.Slider, labels[index], true, true]);
            compare([band.value, band.minimumValue, band.maximumValue, band.stepSize], [JSON.parse(userPreset).value[index], -6, 6, 0.5]);
            compare(band.mapToItem(area(), band.width / 2, 0).x, Curve.bandX(index, area().width));
        }
        const band = child("band1");
        compare(band.Accessible.description, "+2dB");
        // Assistive technology writes the value, and nothing else.
        band.value = -4.1;
        compare(current().value[1], -4);
        compare([band.value, band.Accessible.description], [-4, "-4dB"]);
        compare(updates(), 1);
    }

    function test_the_bands_of_a_fixed_preset_can_be_read_and_not_set() {
        openEqualizer([userPreset]);
        eqSelect().selectIndex = 1;
        forget();
        const band = child("band3");
        const gain = band.value;
        compare(band.enabled, false);
        band.value = 6;
        compare([band.value, gains()[3], updates(), published.length], [gain, gain, 0, 0]);
    }

    function test_a_scene_reaches_the_switch_and_the_selection() {
        openEqualizer();
        ConfigMgr.setValue("device_equalizer", true);
        ConfigMgr.setValue("device_equalizer_current_index", 1);
        forget();
        MessageBus.publishUpdateConfigMessage(true);
        compare(child("equalizerSwitch").checked, true);
        compare(eqSelect().selectIndex, 1);
        compare(updates(), 1);
        // Only the preset changes: the engine reads it at the next notification.
        ConfigMgr.setValue("device_equalizer_current_index", 2);
        forget();
        MessageBus.publishUpdateConfigMessage(true);
        compare(eqSelect().selectIndex, 2);
        compare(updates(), 0);
    }

    function test_a_factory_reset_leaves_the_users_presets_in_the_row_until_it_is_built_anew() {
        openEqualizer([userPreset]);
        child("preset7").clicked();
        ConfigMgr.resetDeviceToDefaults();
        MessageBus.publishUpdateConfigMessage(true);
        compare(eqSelect().dataList.length, 8);
        compare(storedPresets().length, 7);
        compare(eqSelect().selectIndex, 0);
        closeEqualizer();
        openEqualizer();
        compare(eqSelect().dataList.length, 7);
    }

    function test_an_index_outside_of_the_list_shows_twelve_zeros_data() {
        return [-1, 7, 99].map(index => ({
                    tag: String(index),
                    index: index
                }));
    }

    function test_an_index_outside_of_the_list_shows_twelve_zeros(data) {
        ConfigMgr.setValue("device_equalizer_current_index", data.index);
        openEqualizer();
        compare(gains(), zeros);
        compare(child("deletePreset").visible, false);
        mouseClick(area(), xOf(2), yOf(4));
        compare(updates(), 0);
    }

    function test_a_preset_of_another_length_is_warned_of_and_drawn_with_zeros() {
        TestLog.expect("均衡器预设不是12个数值:");
        openEqualizer(["{\"name\":\"short\",\"value\":[1,2]}"]);
        child("preset7").clicked();
        compare(gains(), [1, 2].concat(zeros.slice(2)));
        compare(child("preset7").text, "short 1");
        mouseClick(area(), xOf(5), 2);
        compare(current().value, [1, 2, 0, 0, 0, 6, 0, 0, 0, 0, 0, 0]);
    }

    function test_presets_that_are_no_records_keep_their_places() {
        ConfigMgr.setStringList("device_equalizer_values", ConfigMgr.defaults.device_equalizer_values.concat(["{", "null", "{\"name\":{},\"value\":\"x\",\"img\":\"../../etc/passwd\"}"]));
        openEqualizer();
        compare(eqSelect().dataList.length, 10);
        for (const index of [7, 8, 9]) {
            child("preset" + index).clicked();
            compare(gains(), zeros);
            verify(String(child("preset" + index).icon.source).endsWith("icons/zdy.svg"));
        }
        mouseClick(area(), xOf(5), 2);
        compare(storedPresets()[9].value[5], 6);
    }

    function test_everything_has_a_name_for_a_screen_reader() {
        openEqualizer([userPreset]);
        child("preset7").clicked();
        compare(reach(child("equalizerSwitch")).Accessible.name, "均衡器");
        compare(child("addPreset").Accessible.name, "添加均衡器预设");
        compare(child("deletePreset").Accessible.name, "删除");
        compare(child("preset7").Accessible.checked, true);
    }
}
