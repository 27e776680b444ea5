import QtQuick
import QtTest
import MediaControls
import VexoDeckHIDHotplug

/* The second card of the microphone page below its scenes: noise reduction, anti-clipping, compressor, equaliser row. */
AudioBoostTestCase {
    id: testCase

    name: "AudioBoost"

    SignalSpy {
        id: equalizerSpy

        signalName: "equalizerRequested"
    }

    // ---- noise reduction

    function test_the_arrow_keys_go_through_the_scenes() {
        openPage(voxmicT40);
        const tile = index => findChild(scenes(), "tile" + index);
        tile(0).forceActiveFocus(Qt.TabFocusReason);
        const seen = [];
        for (const key of [Qt.Key_Right, Qt.Key_Down, Qt.Key_Left, Qt.Key_Up, Qt.Key_Left]) {
            keyClick(key);
            seen.push(scenes().selectIndex);
            compare(tile(scenes().selectIndex).visualFocus, true);
            compare(setting("audio_enhancement_index"), scenes().selectIndex);
        }
        compare(seen, [1, 2, 1, 0, 4]);
        // The tabulator stops at the selected one only.
        compare([0, 1, 2, 3, 4].filter(index => tile(index).activeFocusOnTab), [4]);
    }

    function test_assistive_technology_chooses_a_scene() {
        openPage(voxmicT40);
        findChild(scenes(), "tile2").Accessible.toggleAction();
        compare(scenes().selectIndex, 2);
        compare(setting("audio_enhancement_index"), 2);
    }

    function test_click_of_the_noise_reduction_sends_the_strength_data() {
        return [
            {
                tag: "weak",
                strength: 0
            },
            {
                tag: "strong",
                strength: 1
            }
        ];
    }

    function test_click_of_the_noise_reduction_sends_the_strength(row) {
        ConfigMgr.setValue("ai_jianzao_type", row.strength);
        openPage(voxmicM40);
        compare(strengths().selectIndex, row.strength);
        verify(!strengths().visible);
        toggle("aiSwitch");
        verify(strengths().visible);
        compare(setting("ai_jianzao"), true);
        compareData(sent(), [
            {
                ai_jianzao: [row.strength + 1]
            }
        ]);
        compare(setting("audio_enhancement_index"), 4);
        forgetWhatWasSent();
        toggle("aiSwitch");
        verify(!strengths().visible);
        compareData(sent(), [
            {
                ai_jianzao: [0]
            }
        ]);
        compare(setting("ai_jianzao"), false);
    }

    function test_click_of_a_strength_writes_and_sends_it_and_leaves_the_scene_data() {
        return [
            {
                tag: "weak",
                strength: 0
            },
            {
                tag: "strong",
                strength: 1
            }
        ];
    }

    function test_click_of_a_strength_writes_and_sends_it_and_leaves_the_scene(row) {
        ConfigMgr.setValue("ai_jianzao", true);
        ConfigMgr.setValue("ai_jianzao_type", 1 - row.strength);
        openPage(voxmicT40);
        compare(findChild(strengths(), "tile0").text, "弱降噪");
        compare(findChild(strengths(), "tile1").text, "强降噪");
        clickStrength(row.strength);
        compare(strengths().selectIndex, row.strength);
        compare(setting("ai_jianzao_type"), row.strength);
        compareData(sent(), [
            {
                ai_jianzao: [row.strength + 1]
            }
        ]);
        compare(scenes().selectIndex, 4);
        compare(setting("audio_enhancement_index"), 4);
    }

    function test_reported_noise_reduction_is_taken_and_leaves_the_scene_data() {
        const rows = [];
        for (const model of modelRows) {
            rows.push({
                tag: model.tag + ", off",
                info: model.info,
                value: 0,
                on: false,
                strength: 1
            }, {
                tag: model.tag + ", weak",
                info: model.info,
                value: 1,
                on: true,
                strength: 0
            }, {
                tag: model.tag + ", strong",
                info: model.info,
                value: 2,
                on: true,
                strength: 1
            });
        }
        return rows;
    }

    function test_reported_noise_reduction_is_taken_and_leaves_the_scene(row) {
        ConfigMgr.setValue("ai_jianzao", !row.on);
        ConfigMgr.setValue("ai_jianzao_type", row.value === 0 ? 1 : 1 - row.strength);
        openPage(row.info);
        report("ai_jianzao", row.value);
        compare(switchOf("aiSwitch").checked, row.on);
        compare(setting("ai_jianzao"), row.on);
        compare(strengths().selectIndex, row.strength);
        compare(setting("ai_jianzao_type"), row.strength);
        compare(scenes().selectIndex, 4);
        compare(setting("audio_enhancement_index"), 4);
        compareData(sent(), []);
    }

    function test_reported_noise_reduction_leaves_the_scene_even_when_the_value_is_unchanged_data() {
        return [
            {
                tag: "off",
                value: 0
            },
            {
                tag: "weak",
                value: 1
            },
            {
                tag: "strong",
                value: 2
            }
        ];
    }

    function test_reported_noise_reduction_leaves_the_scene_even_when_the_value_is_unchanged(row) {
        openPage(voxmicM40);
        report("ai_jianzao", row.value);
        clickScene(0);
        report("ai_jianzao", row.value);
        compare(setting("audio_enhancement_index"), 4);
        // The switch and the level have that value already.
        ConfigMgr.setValue(ConfigMgr.keys.audio_enhancement_index, 0);
        scenes().selectIndex = 0;
        report("ai_jianzao", row.value);
        compare(setting("audio_enhancement_index"), 4);
        compare(scenes().selectIndex, 4);
    }

    function test_report_before_the_page_is_built_is_lost_for_the_noise_reduction() {
        connectDevice(voxmicM40);
        report("ai_jianzao", 2);
        openPage(voxmicM40);
        verify(!switchOf("aiSwitch").checked);
        compare(setting("audio_enhancement_index"), 0);
    }

    function test_report_without_a_value_changes_nothing() {
        openPage(voxmicM40);
        const before = everything();
        HIDHotplugManager.messageReceived(HIDDeviceMgr.attrs.ai_jianzao, []);
        compareData(changes(before, everything()), {});
    }

    // ---- anti-clipping and compressor

    function thresholdRows() {
        return [
            {
                tag: "anti-clipping",
                row: "antiClipping",
                slider: "fanbaoYinSlider",
                key: "device_boom",
                valueKey: "device_boom_value",
                from: -40,
                sends: true
            },
            {
                tag: "compressor",
                row: "compressor",
                slider: "yasuoQiSlider",
                key: "device_compressor",
                valueKey: "device_compressor_value",
                from: -80,
                sends: false
            }
        ];
    }

    function test_threshold_is_shown_while_its_switch_is_on_data() {
        return thresholdRows();
    }

    function test_threshold_is_shown_while_its_switch_is_on(row) {
        openPage(voxmicM40);
        const levels = findChild(child(row.row), "levels");
        verify(!child(row.slider).visible);
        verify(!levels.visible);
        toggle(row.row);
        verify(child(row.slider).visible);
        verify(levels.visible);
        const words = Array.from(levels.children).map(item => item.text).filter(text => text);
        compareData(words, ["低", "中", "高"]);
        toggle(row.row);
        verify(!child(row.slider).visible);
        verify(!levels.visible);
    }

    function test_click_of_a_threshold_switch_writes_and_leaves_the_scene_data() {
        return thresholdRows();
    }

    function test_click_of_a_threshold_switch_writes_and_leaves_the_scene(row) {
        openPage(voxmicM40);
        toggle(row.row);
        compare(setting(row.key), true);
        compareData(sent(), row.sends ? [
            {
                anti_noise: [1]
            }
        ] : []);
        compare(scenes().selectIndex, 4);
        compare(setting("audio_enhancement_index"), 4);
        forgetWhatWasSent();
        toggle(row.row);
        compare(setting(row.key), false);
        compareData(sent(), row.sends ? [
            {
                anti_noise: [0]
            }
        ] : []);
    }

    function test_threshold_shows_every_value_in_dB_data() {
        return thresholdRows();
    }

    function test_threshold_shows_every_value_in_dB(row) {
        ConfigMgr.setValue(row.key, true);
        openPage(voxmicM40);
        const slider = child(row.slider);
        compare(slider.from, row.from);
        compare(slider.to, 0);
        press(slider);
        for (let value = row.from; value <= 0; value++) {
            moveTo(slider, value);
            fuzzyCompare(slider.value, value, 0.001);
            compare(slider.valueText, value + "dB");
            compare(findChild(child(row.row), "value").text, value + "dB");
        }
        compare(tooltipOf(slider).text, "0dB");
        verify(tooltipOf(slider).visible);
        release(slider);
        waitForEndOf(slider);
    }

    function test_threshold_is_sent_while_it_moves_and_kept_at_the_end_data() {
        return thresholdRows();
    }

    function test_threshold_is_sent_while_it_moves_and_kept_at_the_end(row) {
        ConfigMgr.setValue(row.key, true);
        openPage(voxmicM40);
        const slider = child(row.slider);
        press(slider);
        for (let value = row.from; value <= 0; value++) {
            forgetWhatWasSent();
            moveTo(slider, value);
            const expected = row.sends ? [
                {
                    device_boom_value: [value & 0xFF]
                }
            ] : [];
            // The slider starts at its lowest value, where no move is possible.
            if (value > row.from)
                compareData(sent(), expected, value);
            verify(!written().includes(row.valueKey));
        }
        moveTo(slider, -12);
        verify(slider.isManually);
        release(slider);
        compare(setting(row.valueKey), -45);
        waitForEndOf(slider);
        compare(setting(row.valueKey), -12);
        compare(Number(stored(row.valueKey)), -12);
        compare(setting("audio_enhancement_index"), 4);
    }

    function test_stored_threshold_of_minus_45_shows_minus_40_until_moved() {
        ConfigMgr.setValue("device_boom", true);
        openPage(voxmicM40);
        compare(setting("device_boom_value"), -45);
        compare(clipping().value, -40);
        compare(clipping().valueText, "-40dB");
        compareData(written(), []);
        drag(clipping(), -39);
        waitForEndOf(clipping());
        compare(setting("device_boom_value"), -39);
    }

    function test_stored_compressor_of_minus_45_is_within_its_range() {
        ConfigMgr.setValue("device_compressor", true);
        openPage(voxmicM40);
        compare(compressor().value, -45);
    }

    function test_keyboard_step_of_a_threshold_is_sent_and_kept() {
        ConfigMgr.setValue("device_boom", true);
        ConfigMgr.setValue("device_boom_value", -20);
        openPage(voxmicM40);
        clipping().forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Right);
        compareData(sent(), [
            {
                device_boom_value: [0xED]
            }
        ]);
        waitForEndOf(clipping());
        compare(setting("device_boom_value"), -19);
        compare(setting("audio_enhancement_index"), 4);
    }

    function test_reported_anti_clipping_sets_the_microphones_switch_on_every_model_data() {
        return modelRows;
    }

    function test_reported_anti_clipping_sets_the_microphones_switch_on_every_model(row) {
        openPage(row.info);
        report("anti_noise", 1);
        verify(switchOf("antiClipping").checked);
        verify(!switchOf("plainAntiClipping").checked);
        compare(setting("device_boom"), true);
        compare(setting("audio_enhancement_index"), 0);
        report("anti_noise", 0);
        verify(!switchOf("antiClipping").checked);
        compare(setting("device_boom"), false);
        compareData(sent(), []);
    }

    function test_plain_anti_clipping_of_the_mixer_writes_and_sends() {
        openPage(mixdeskR2);
        toggle("plainAntiClipping");
        compare(setting("device_boom"), true);
        compareData(sent(), [
            {
                anti_noise: [1]
            }
        ]);
        compare(setting("audio_enhancement_index"), 4);
        forgetWhatWasSent();
        toggle("plainAntiClipping");
        compare(setting("device_boom"), false);
        compareData(sent(), [
            {
                anti_noise: [0]
            }
        ]);
    }

    function test_plain_anti_clipping_shows_a_report_when_the_page_is_next_built() {
        openPage(mixdeskR2);
        report("anti_noise", 1);
        verify(!switchOf("plainAntiClipping").checked);
        page.destroy();
        openPage(mixdeskR2);
        verify(switchOf("plainAntiClipping").checked);
    }

    function test_texts_and_explanations_are_those_of_the_controls_data() {
        return [
            {
                tag: "noise reduction",
                row: "aiSwitch",
                text: "AI降噪",
                tips: "弱降噪可以在消除环境噪音的同时，保持高音质收音效果。强降噪可以更好的消除环境噪音，音质损失较弱降噪略大"
            },
            {
                tag: "anti-clipping of the microphones",
                row: "antiClipping",
                text: "防爆音",
                tips: "用于限制音频信号的最大音量，开启后，动态控制话筒音量，防止突发爆音"
            },
            {
                tag: "anti-clipping of the mixer",
                row: "plainAntiClipping",
                text: "防爆音",
                tips: "用于限制音频信号的最大音量，开启后，动态控制话筒音量，防止突发爆音"
            },
            {
                tag: "compressor",
                row: "compressor",
                text: "压缩器",
                tips: "压缩器用于控制音频信号的动态范围，开启后，可避免音量过高导致失真或听感刺耳。"
            },
            {
                tag: "equaliser",
                row: "equalizerRow",
                text: "均衡器",
                tips: "调节不同频率的音色，让你的声音更清晰、更有个性。"
            }
        ];
    }

    function test_texts_and_explanations_are_those_of_the_controls(row) {
        openPage(voxmicM40);
        const label = findChild(child(row.row), "label");
        compare(label.text, row.text);
        compare(label.tips, row.tips);
    }

    // ---- equaliser

    function test_equalizer_row_names_what_is_in_use_data() {
        const rows = [
            {
                tag: "off",
                on: false,
                index: 3,
                text: "关闭"
            }
        ];
        const names = ["原声", "人声增强", "低切75Hz", "低切150Hz", "平坦", "中频增强", "低中频增强"];
        names.forEach((name, index) => rows.push({
                tag: name,
                on: true,
                index: index,
                record: ConfigMgr.defaults.device_equalizer_values[index],
                text: name
            }));
        for (const index of [7, 8, 9])
            rows.push({
                tag: "user preset " + index,
                on: true,
                index: index,
                record: userPreset,
                text: "自定义 " + (index - 6)
            });
        rows.push({
            tag: "foreign name",
            on: true,
            index: 2,
            record: JSON.stringify({
                name: "toString",
                value: []
            }),
            text: "toString"
        }, {
            tag: "unreadable record",
            on: true,
            index: 2,
            record: "{",
            text: ""
        }, {
            tag: "record that is no object",
            on: true,
            index: 2,
            record: "null",
            text: ""
        });
        return rows;
    }

    function test_equalizer_row_names_what_is_in_use(row) {
        ConfigMgr.setValue("device_equalizer", row.on);
        ConfigMgr.setValue("device_equalizer_current_index", row.index);
        if (row.record)
            ConfigMgr.setValue("device_equalizer_current", row.record);
        openPage(mixdeskR2);
        compare(child("equalizerName").text, row.text);
        compare(child("equalizerRow").formatName(), row.text);
        compare(child("equalizerRow").Accessible.description, row.text);
    }

    function test_equalizer_row_follows_both_topics_and_no_other_data() {
        return [
            {
                tag: "selection",
                topic: topics.UPDATE_DEVICE_EQUALIZER_CURRENT
            },
            {
                tag: "scene",
                topic: topics.UPDATE_DEVICE_EQUALIZER_CURRENT_CHANGE_BY_TYPE
            }
        ];
    }

    function test_equalizer_row_follows_both_topics_and_no_other(row) {
        openPage(mixdeskR2);
        ConfigMgr.setValue("device_equalizer", true);
        ConfigMgr.setValue("device_equalizer_current", userPreset);
        ConfigMgr.setValue("device_equalizer_current_index", 9);
        MessageBus.publishMuteState(0);
        compare(child("equalizerName").text, "关闭");
        MessageBus.publish(row.topic, true);
        compare(child("equalizerName").text, "自定义 3");
    }

    function test_the_equalizer_row_asks_for_the_equalizer_and_changes_nothing_data() {
        const ways = [
            {
                tag: "click",
                act: row => mouseClick(row)
            },
            {
                tag: "Return",
                act: () => keyClick(Qt.Key_Return)
            },
            {
                tag: "Space",
                act: () => keyClick(Qt.Key_Space)
            }
        ];
        return modelRows.reduce((rows, model) => rows.concat(ways.map(way => ({
                        tag: model.tag + " " + way.tag,
                        info: model.info,
                        act: way.act
                    }))), []);
    }

    function test_the_equalizer_row_asks_for_the_equalizer_and_changes_nothing(row) {
        openPage(row.info);
        equalizerSpy.target = child("audioBoost");
        equalizerSpy.clear();
        const before = everything();
        child("equalizerRow").forceActiveFocus(Qt.TabFocusReason);
        row.act(child("equalizerRow"));
        compare(equalizerSpy.count, 1);
        compare(child("equalizerWindow").visible, true);
        compareData(changes(before, everything()), {});
        compareData(sent(), []);
        equalizerSpy.target = null;
    }
}
