import QtQuick
import MediaControls
import VexoDeckTest

/* The scenes of the microphone page: what each sets, writes, sends and publishes. */
AudioBoostTestCase {
    id: testCase

    name: "AudioScenes"

    // Sets every value of a scene to one that no scene has, and the switches to `on`.
    function spoil(on) {
        ConfigMgr.setValue("ai_jianzao", on);
        ConfigMgr.setValue("ai_jianzao_type", on ? 1 : 0);
        ConfigMgr.setValue("device_boom", on);
        ConfigMgr.setValue("device_boom_value", -33);
        ConfigMgr.setValue("device_compressor", on);
        ConfigMgr.setValue("device_compressor_value", -66);
        ConfigMgr.setValue("device_equalizer", on);
        ConfigMgr.setValue("device_equalizer_current_index", 8);
        ConfigMgr.setValue("device_equalizer_current", userPreset);
    }

    // ---- the row of scenes

    function test_scenes_have_their_texts_and_icons() {
        openPage(voxmicM40);
        const texts = ["原声", "播客", "游戏", "直播", "自定义"];
        const icons = ["ae_ys", "ae_bk", "ae_yx", "ae_zb", "ae_zdy"];
        for (let index = 0; index < 5; index++) {
            const tile = findChild(scenes(), "tile" + index);
            compare(tile.text, texts[index]);
            verify(String(tile.icon.source).endsWith("icons/" + icons[index] + ".svg"), tile.icon.source);
            compare(tile.height, 60);
            fuzzyCompare(tile.width, (scenes().width - 4 * scenes().spacing) / 5, 0.01);
        }
        compare(findChild(scenes(), "tile5"), null);
    }

    function test_selected_scene_is_blue_and_the_others_are_grey() {
        ConfigMgr.setValue("audio_enhancement_index", 3);
        openPage(voxmicM40);
        for (let index = 0; index < 5; index++)
            tryCompare(findChild(scenes(), "tile" + index).background, "color", index === 3 ? "#0075ff" : "#3e3e3e");
    }

    function test_saved_scene_is_shown_and_not_applied_data() {
        return modelRows;
    }

    function test_saved_scene_is_shown_and_not_applied(row) {
        ConfigMgr.setValue("audio_enhancement_index", 2);
        openPage(row.info);
        compare(scenes().selectIndex, 2);
        compareData(sent(), []);
        compare(setting("device_boom"), false);
    }

    // ---- the effects of the scenes

    function sceneRows() {
        const natural = {
            sent: [
                {
                    anti_noise: [0]
                },
                {
                    ai_jianzao: [0]
                }
            ],
            published: [false],
            settings: {
                ai_jianzao: false,
                ai_jianzao_type: 1,
                device_boom: false,
                device_boom_value: -20,
                device_compressor: false,
                device_compressor_value: -40,
                device_equalizer: false,
                device_equalizer_current_index: 8,
                device_equalizer_current: userPreset
            },
            controls: [false, 0, false, -20, false, -40]
        };
        const boosted = {
            sent: [
                {
                    anti_noise: [1]
                },
                {
                    ai_jianzao: [2]
                },
                {
                    device_boom_value: [0xFB]
                }
            ],
            published: [true],
            settings: {
                ai_jianzao: true,
                ai_jianzao_type: 1,
                device_boom: true,
                device_boom_value: -5,
                device_compressor: true,
                device_compressor_value: -10,
                device_equalizer: true,
                device_equalizer_current_index: 1,
                device_equalizer_current: ConfigMgr.defaults.device_equalizer_values[1]
            },
            controls: [true, 1, true, -5, true, -10]
        };
        const rows = [];
        for (const model of modelRows) {
            for (let index = 0; index < 4; index++)
                rows.push(Object.assign({
                    tag: model.tag + ", scene " + index,
                    info: model.info,
                    isR2: model.isR2,
                    index: index,
                    // Starts from the other state, so that each cell of the table has an effect.
                    before: index === 0
                }, index === 0 ? natural : boosted));
        }
        return rows;
    }

    function verifyScene(row) {
        for (const key of Object.keys(row.settings))
            compareData(setting(key), row.settings[key], key);
        compareData([switchOf("aiSwitch").checked, strengths().selectIndex, switchOf("antiClipping").checked, clipping().value, switchOf("compressor").checked, compressor().value], row.controls);
        compare(scenes().selectIndex, row.index);
        compare(setting("audio_enhancement_index"), row.index);
        compareData(sent(), row.sent);
    }

    function test_message_applies_the_stored_scene_once_on_every_model_data() {
        return sceneRows();
    }

    function test_message_applies_the_stored_scene_once_on_every_model(row) {
        spoil(row.before);
        openPage(row.info);
        ConfigMgr.setValue("audio_enhancement_index", row.index);
        MessageBus.publishUpdateConfigMessage(true);
        compareData(payloadsOf(topics.UPDATE_DEVICE_EQUALIZER_CURRENT_CHANGE_BY_TYPE), row.published);
        verifyScene(row);
    }

    function test_click_applies_a_scene_twice_data() {
        return sceneRows().filter(row => !row.isR2);
    }

    function test_click_applies_a_scene_twice(row) {
        spoil(row.before);
        openPage(row.info);
        clickScene(row.index);
        compareData(payloadsOf(topics.UPDATE_CONFIG_MESSAGE), [true]);
        compareData(payloadsOf(topics.UPDATE_DEVICE_EQUALIZER_CURRENT_CHANGE_BY_TYPE), row.published.concat(row.published));
        verifyScene(row);
        for (const key of Object.keys(row.settings)) {
            if (key !== "device_equalizer_current")
                compare(String(stored(key)), String(row.settings[key]), key);
        }
    }

    function test_scene_does_not_write_the_strength_when_it_turns_the_noise_reduction_off() {
        spoil(true);
        openPage(voxmicM40);
        clickScene(0);
        verify(!written().includes("ai_jianzao_type"));
        compare(strengths().selectIndex, 0);
        compare(setting("ai_jianzao_type"), 1);
    }

    function test_scene_has_its_effects_in_order() {
        spoil(false);
        openPage(voxmicM40);
        ConfigMgr.setValue("audio_enhancement_index", 1);
        storeCalls = [];
        MessageBus.publishUpdateConfigMessage(true);
        compareData(written(), ["ai_jianzao", "device_boom", "device_compressor", "device_equalizer", "device_equalizer_current_index", "device_equalizer_current", "ai_jianzao_type", "device_boom", "device_boom_value", "device_compressor", "device_compressor_value"]);
    }

    function test_equalizer_keys_are_written_before_their_news() {
        openPage(voxmicM40);
        let seen = null;
        const listener = () => seen = [setting("device_equalizer"), setting("device_equalizer_current_index")];
        MessageBus.subscribe(topics.UPDATE_DEVICE_EQUALIZER_CURRENT_CHANGE_BY_TYPE, listener);
        clickScene(3);
        MessageBus.unsubscribe(topics.UPDATE_DEVICE_EQUALIZER_CURRENT_CHANGE_BY_TYPE, listener);
        compareData(seen, [true, 1]);
    }

    function test_custom_scene_changes_nothing_but_itself_data() {
        return modelRows;
    }

    function test_custom_scene_changes_nothing_but_itself(row) {
        spoil(true);
        openPage(row.info);
        const before = everything();
        if (row.isR2) {
            ConfigMgr.setValue("audio_enhancement_index", 4);
            MessageBus.publishUpdateConfigMessage(true);
        } else {
            clickScene(4);
            compareData(payloadsOf(topics.UPDATE_CONFIG_MESSAGE), [true]);
        }
        compareData(changes(before, everything()), {
            audio_enhancement_index: 4,
            "scene row": 4
        });
        compareData(sent(), []);
        compareData(payloadsOf(topics.UPDATE_DEVICE_EQUALIZER_CURRENT_CHANGE_BY_TYPE), []);
    }

    function test_scene_1_selects_equalizer_preset_1_and_turns_it_on_whatever_the_user_had_data() {
        const rows = [];
        for (const on of [false, true]) {
            for (const index of [0, 1, 6, 9])
                rows.push({
                    tag: (on ? "on" : "off") + ", preset " + index,
                    on: on,
                    index: index
                });
        }
        return rows;
    }

    function test_scene_1_selects_equalizer_preset_1_and_turns_it_on_whatever_the_user_had(row) {
        ConfigMgr.setValue("device_equalizer", row.on);
        ConfigMgr.setValue("device_equalizer_current_index", row.index);
        ConfigMgr.setValue("device_equalizer_current", userPreset);
        openPage(voxmicM40);
        clickScene(1);
        compare(setting("device_equalizer"), true);
        compare(setting("device_equalizer_current_index"), 1);
        compare(JSON.parse(setting("device_equalizer_current")).name, "人声增强");
        compareData(JSON.parse(setting("device_equalizer_current")).value, [4, 2, 0, 0, -2, 0, 4, 2, 0, -3, -2, 1]);
        compare(findChild(page, "equalizerName").text, "人声增强");
    }

    function test_scene_2_and_then_a_slider_leaves_the_custom_scene_and_nothing_else_changes_data() {
        return [
            {
                tag: "anti-clipping",
                slider: "fanbaoYinSlider",
                shown: "anti-clipping slider",
                key: "device_boom_value"
            },
            {
                tag: "compressor",
                slider: "yasuoQiSlider",
                shown: "compressor slider",
                key: "device_compressor_value"
            }
        ];
    }

    function test_scene_2_and_then_a_slider_leaves_the_custom_scene_and_nothing_else_changes(row) {
        openPage(voxmicM40);
        clickScene(2);
        const before = everything();
        const slider = child(row.slider);
        press(slider);
        moveTo(slider, -30);
        compareData(changes(before, everything()), {
            audio_enhancement_index: 4,
            "scene row": 4,
            [row.shown]: -30
        });
        release(slider);
        waitForEndOf(slider);
        compareData(changes(before, everything()), {
            [row.key]: -30,
            audio_enhancement_index: 4,
            "scene row": 4,
            [row.shown]: -30
        });
        compare(Number(stored(row.key)), -30);
    }

    function test_nothing_writes_the_default_threshold_of_the_anti_clipping_back_data() {
        return [0, 1, 2, 3, 4].map(index => ({
                    tag: "scene " + index,
                    index: index
                }));
    }

    function test_nothing_writes_the_default_threshold_of_the_anti_clipping_back(row) {
        openPage(voxmicM40);
        compare(setting("device_boom_value"), -45);
        clickScene(row.index);
        if (!switchOf("antiClipping").checked)
            toggle("antiClipping");
        const slider = clipping();
        for (const [from, to] of [[0, -40], [-40, 0]]) {
            press(slider);
            for (let value = from; value !== to; value += Math.sign(to - from))
                moveTo(slider, value);
            moveTo(slider, to);
            release(slider);
            waitForEndOf(slider);
            compare(setting("device_boom_value"), to);
        }
        const values = writes().filter(([, key]) => key === "device_boom_value").map(([, , value]) => value);
        compareData(values.slice(-2), [-40, 0]);
        verify(!values.includes(-45), values);
    }

    function test_factory_reset_applies_scene_0_and_sends_its_values_data() {
        return modelRows;
    }

    function test_factory_reset_applies_scene_0_and_sends_its_values(row) {
        spoil(true);
        ConfigMgr.setValue("audio_enhancement_index", 4);
        openPage(row.info);
        ConfigMgr.resetDeviceToDefaults();
        MessageBus.publishUpdateConfigMessage(true);
        compare(scenes().selectIndex, 0);
        compareData(sent(), [
            {
                anti_noise: [0]
            },
            {
                ai_jianzao: [0]
            }
        ]);
        compare(clipping().value, -20);
        compare(setting("device_boom_value"), -20);
    }
}
