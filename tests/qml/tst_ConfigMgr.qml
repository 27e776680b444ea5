import QtQuick
import QtTest
import MediaControls
import VexoDeckSettings
import VexoDeckTest

ConfigTestCase {
    id: testCase

    name: "ConfigMgr"

    readonly property var presets: [["原声", [2, 1, 0, 0, 0, 0, 0, 1, 2, 1, 0, 0], "icons/gbz.svg"], ["人声增强", [4, 2, 0, 0, -2, 0, 4, 2, 0, -3, -2, 1], "icons/rs.svg"], ["低切75Hz", [-3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0], "icons/dq.svg"], ["低切150Hz", [-6, -3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0], "icons/dq.svg"], ["平坦", [0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0], "icons/pt.svg"], ["中频增强", [0, 0, 1, 2, 3, 3, 2, 1, 1, 0, 0, 0], "icons/zp.svg"], ["低中频增强", [-1, 0, 4, 2, 0, 0, 0, 1, 1, 0, 0, 0], "icons/dzp.svg"]]

    // Every declared key and its default without a device. Null where other tests compare the value.
    readonly property var defaultTable: ({
            appList: [],
            listen: "listen",
            share_data: false,
            auto_install: true,
            auto_install_path: "",
            color_picker_preset_colors: ["#FF0000", "#FF7F00", "#FBFC00", "#00FC00", "#00FCFD", "#0000FF", "#FF00FF", "#FFFFFF"],
            auto_gain: 15,
            auto_gain_on: false,
            color_bg_other_lighting: false,
            device_mute: false,
            device_phantom: false,
            device_boom: false,
            device_boom_value: -45,
            device_equalizer: false,
            device_equalizer_current: null,
            device_equalizer_current_index: 0,
            device_equalizer_values: null,
            device_mic_ratio: 13,
            device_dB: 3,
            color_bg_effect: 2,
            color_bg_static_type: 0,
            color_bg_static_single_color: "#3F2EF8",
            color_bg_static_illusory_color_index: 0,
            color_bg_static_illusory_color: ["#FDE725", "#27FFDE", "#FDE725"],
            color_bg_bln_type: 0,
            color_bg_bln_single_color: "#3F2EF8",
            color_bg_bln_cyc_color: ["#3F2EF8"],
            color_bg_wave_type: 0,
            color_bg_wave_color: ["#FDE725", "#27FFDE", "#FDE725"],
            color_bg_wave_dir_index: 1,
            color_bg_input_illusory_color_index: 0,
            color_bg_input_illusory_color: ["#00FF00", "#FF9900", "#FF0000"],
            color_bg_input_illusory_dir_index: 1,
            color_bg_knob_gain_color: "#00FF00",
            color_bg_knob_volume_color: "#FFFF00",
            color_bg_knob_mic_ratio_color: "#0000FF",
            color_bg_knob_mute_color: "#FF0000",
            color_bg_other_brightness: 0.5,
            color_bg_other_close_lighting: false,
            color_bg_other_close_rgb: false,
            audio_enhancement_index: 0,
            ai_jianzao: false,
            ai_jianzao_type: 0,
            device_compressor: false,
            device_compressor_value: -45,
            general_hotkey_type: 0,
            general_hotkey_value_app: "",
            general_hotkey_value_url: "",
            general_hotkey_value_key: "",
            general_rate: "48",
            accessKey: "accessKey",
            trackId: "trackId",
            upgradeFirmwareFilePath: ""
        })

    function membersOf(object) {
        return Object.keys(object).filter(name => name !== "objectName" && typeof object[name] !== "function").sort();
    }

    // Before the first test sets a platform and loads.
    function initTestCase() {
        compare(ConfigMgr.platformName, Qt.platform.os);
        compare(linesWith("初始化配置管理器").length, 1);
        compare(Object.keys(ConfigMgr.config).length, Object.keys(defaultTable).length);
    }

    function test_the_declared_keys_are_those_of_the_table_each_named_like_its_member() {
        compare(membersOf(ConfigMgr.keys), Object.keys(defaultTable).sort());
        for (const key of Object.keys(defaultTable))
            compare(ConfigMgr.keys[key], key);
    }

    function test_every_key_has_a_default_and_channel_volumes_have_one_without_a_key() {
        compare(membersOf(ConfigMgr.defaults), Object.keys(defaultTable).concat("auto_app").sort());
        compare(ConfigMgr.defaults.auto_app, 0.3);
    }

    function test_default_data() {
        return Object.keys(defaultTable).filter(key => defaultTable[key] !== null).map(key => ({
                    tag: key,
                    key: key,
                    value: defaultTable[key]
                }));
    }

    // compare() distinguishes 0, false and "".
    function test_default(data) {
        compare(ConfigMgr.defaults[data.key], data.value);
        compare(ConfigMgr.config[data.key], data.value);
        compare(ConfigMgr.getValue(data.key), data.value);
    }

    function test_equalizer_presets() {
        const texts = ConfigMgr.getStringList(ConfigMgr.keys.device_equalizer_values);
        compare(texts.length, 7);
        for (let index = 0; index < presets.length; index++) {
            compare(JSON.parse(texts[index]), {
                name: presets[index][0],
                value: presets[index][1],
                img: presets[index][2]
            });
            compare(presets[index][1].length, 12);
        }
        compare(ConfigMgr.getValue(ConfigMgr.keys.device_equalizer_current), texts[0]);
    }

    function test_a_fresh_store_stays_empty_and_the_map_holds_exactly_the_declared_keys() {
        compare(Object.keys(ConfigMgr.config).sort(), Object.keys(defaultTable).sort());
        StoreFile.restart();
        compareList(SettingsManager.getAllKeys(), []);
    }

    function test_ranges_data() {
        const other = [0, 18, 18, 0, 13, 13, 0, 1];
        return [
            {
                tag: "Mixdesk R2",
                info: mixdeskR2,
                ranges: [1, 30, 29, 1, 30, 29, 0, 1]
            },
            {
                tag: "Voxmic M40",
                info: voxmicM40,
                ranges: other
            },
            {
                tag: "Voxmic T40",
                info: voxmicT40,
                ranges: other
            },
            {
                tag: "no device",
                info: {},
                ranges: other
            }
        ];
    }

    function test_ranges(data) {
        connectDevice(data.info);
        const names = ["auto_gain_min", "auto_gain_max", "auto_gain_count", "auto_device_min", "auto_device_max", "auto_device_count", "auto_app_min", "auto_app_max"];
        compare(names.map(name => ConfigMgr[name]), data.ranges);
    }

    SignalSpy {
        id: rangeSpy

        target: ConfigMgr
        signalName: "auto_gain_maxChanged"
    }

    function test_ranges_change_at_the_moment_that_the_device_information_changes() {
        compare(ConfigMgr.auto_gain_max, 18);
        rangeSpy.clear();
        HIDDeviceMgr.deviceInfo = mixdeskR2;
        compare(rangeSpy.count, 1);
        compare(ConfigMgr.auto_gain_max, 30);
        HIDDeviceMgr.deviceInfo = voxmicT40;
        compare(rangeSpy.count, 2);
        compare(ConfigMgr.auto_gain_max, 18);
    }

    function test_the_volume_default_is_that_of_the_model_at_the_moment_of_the_read() {
        compare(ConfigMgr.getValue("device_dB"), 3);
        connectDevice(mixdeskR2);
        compare(ConfigMgr.getValue("device_dB"), 3);
        ConfigMgr.loadAllSettings();
        compare(ConfigMgr.getValue("device_dB"), 22);
    }

    function test_colour_rows() {
        compare(ConfigMgr.color_illusory_color_list, [["#FDE725", "#27FFDE", "#FDE725"], ["#5D36FA", "#E720F9", "#5D36FA"], ["#E02903", "#FDE725", "#E02903"]]);
        compare(ConfigMgr.color_illusory_color_list2, [["#00FF00", "#FF9900", "#FF0000"], ["#5D36FA", "#E720F9", "#5D36FA"], ["#E02903", "#FDE725", "#E02903"]]);
    }

    function test_sample_rates() {
        compare(ConfigMgr.rate_list, ["44.1", "48", "88.2", "96", "176.4", "192"]);
    }

    function test_rgbToHex_data() {
        return [
            {
                tag: "two upper-case digits each",
                rgb: [0, 10, 255],
                hex: "#000AFF"
            },
            {
                tag: "rounded",
                rgb: [0.4, 0.5, 254.5],
                hex: "#0001FF"
            },
            {
                tag: "clamped",
                rgb: [-1, 256, 1e9],
                hex: "#00FFFF"
            }
        ];
    }

    function test_rgbToHex(data) {
        compare(ConfigMgr.rgbToHex(...data.rgb), data.hex);
    }

    function test_initialize_says_so_and_loads() {
        SettingsManager.setValue("listen", "mix");
        ConfigMgr.initialize();
        compare(TestLog.lines, ["初始化配置管理器"]);
        compare(ConfigMgr.getValue("listen"), "mix");
    }

    function test_setValue_caches_logs_and_stores() {
        ConfigMgr.setValue(ConfigMgr.keys.auto_gain, 7);
        compare(TestLog.lines, ["设置配置: auto_gain 7"]);
        compare(ConfigMgr.getValue("auto_gain"), 7);
        compare(stored("auto_gain"), "7");
    }

    function test_setValue_of_a_list_is_not_lost() {
        for (const list of [["a", "b"], ["a"], []]) {
            compare(storeCallsOf(() => ConfigMgr.setValue("appList", list)), [["setValue", "appList"]]);
            compare(storedList("appList"), list);
            startOn("linux");
            compareList(ConfigMgr.getStringList("appList"), list);
        }
    }

    function test_getValue_with_a_default_gives_the_cached_value_and_not_the_default() {
        compare(ConfigMgr.getValue("auto_gain", 3), 15);
        compare(ConfigMgr.getValue("device_mute", true), false);
    }

    function test_the_first_read_of_a_run_time_key_settles_it_until_the_next_load() {
        compare(ConfigMgr.getValue("app_dB", ConfigMgr.defaults.auto_app), 0.3);
        SettingsManager.setValue("app_dB", 0.8);
        compare(ConfigMgr.getValue("app_dB", 0.5), 0.3);
        ConfigMgr.loadAllSettings();
        compare(ConfigMgr.getValue("app_dB", 0.5), 0.8);
    }

    function test_an_absent_key_read_without_a_default_is_undefined_from_then_on() {
        compare(ConfigMgr.getValue("app_mix"), undefined);
        compare(ConfigMgr.getValue("app_mix", false), undefined);
    }

    function test_any_text_may_be_a_key() {
        for (const key of ["toString", "__proto__", "constructor", "com.example.应用_dB", "a/b c=d_mix"]) {
            compare(ConfigMgr.getValue(key, 0.25), 0.25, key);
            ConfigMgr.setValue(key, 0.5);
            compare(ConfigMgr.getValue(key, 0.25), 0.5, key);
        }
    }

    function test_members_that_every_object_has_are_no_defaults() {
        for (const key of ["toString", "objectName", "destroy", "constructor"]) {
            compare(ConfigMgr.getValue(key), undefined, key);
            ConfigMgr.loadAllSettings();
            compareList(ConfigMgr.getStringList(key), []);
            ConfigMgr.loadAllSettings();
            compare(String(ConfigMgr.getColor(key)), "#000000", key);
            ConfigMgr.removeValue(key);
            compare(ConfigMgr.config[key], undefined, key);
        }
        compare(ConfigMgr.getValue("auto_app"), 0.3);
    }

    function test_removeValue_brings_the_default_back_and_forgets_the_stored_value() {
        ConfigMgr.setValue("auto_gain", 7);
        ConfigMgr.removeValue("auto_gain");
        compare(ConfigMgr.getValue("auto_gain"), 15);
        compare(stored("auto_gain"), undefined);
    }

    function test_removeValue_of_a_run_time_key_leaves_no_value_until_the_next_load() {
        ConfigMgr.setValue("app_dB", 0.8);
        ConfigMgr.removeValue("app_dB");
        compare(ConfigMgr.getValue("app_dB", 0.3), undefined);
        compare(stored("app_dB"), undefined);
        ConfigMgr.loadAllSettings();
        compare(ConfigMgr.getValue("app_dB", 0.3), 0.3);
    }

    function test_a_removed_list_does_not_share_its_default() {
        ConfigMgr.removeValue("color_bg_bln_cyc_color");
        ConfigMgr.addStringList("color_bg_bln_cyc_color", "#000000");
        compare(ConfigMgr.defaults.color_bg_bln_cyc_color, ["#3F2EF8"]);
        compareList(ConfigMgr.getStringList("color_bg_bln_cyc_color"), ["#3F2EF8", "#000000"]);
    }

    function test_colours() {
        ConfigMgr.setColor("tint", "#3F2EF8");
        compare(TestLog.lines, ["设置配置: tint #3F2EF8"]);
        compare(stored("tint"), "#3f2ef8");
        compare(String(ConfigMgr.getColor("tint", "#000000")), "#3F2EF8");
        ConfigMgr.loadAllSettings();
        compare(String(ConfigMgr.getColor("tint", "#000000")), "#3f2ef8");
        compare(String(ConfigMgr.getColor("tint", "#ffffff")), "#3f2ef8");
    }

    function test_an_absent_colour_is_its_default() {
        compare(String(ConfigMgr.getColor("tint", "#12ab34")), "#12ab34");
        compare(String(ConfigMgr.getColor("shade")), "#000000");
        compare(ConfigMgr.getColor("color_bg_knob_gain_color"), "#00FF00");
    }

    function test_setStringList_caches_logs_and_stores() {
        ConfigMgr.setStringList("appList", ['{"name":"甲, 乙"}', "b"]);
        compare(TestLog.lines.length, 1);
        verify(TestLog.lines[0].startsWith("设置字符串列表配置: appList"), TestLog.lines[0]);
        compareList(ConfigMgr.getStringList("appList"), ['{"name":"甲, 乙"}', "b"]);
        compare(storedList("appList"), ['{"name":"甲, 乙"}', "b"]);
    }

    function test_setStringList_of_a_plain_text_keeps_one_entry() {
        ConfigMgr.setStringList("appList", "abc");
        compareList(ConfigMgr.getStringList("appList"), ["abc"]);
        compare(storedList("appList"), ["abc"]);
    }

    function test_setStringList_keeps_a_copy() {
        const list = ["a"];
        ConfigMgr.setStringList("appList", list);
        ConfigMgr.addStringList("appList", "b");
        compare(list, ["a"]);
        ConfigMgr.setStringList("color_bg_bln_cyc_color", ConfigMgr.defaults.color_bg_bln_cyc_color);
        ConfigMgr.clearStringList("color_bg_bln_cyc_color");
        compare(ConfigMgr.defaults.color_bg_bln_cyc_color, ["#3F2EF8"]);
    }

    function test_setStringList_turns_colours_into_texts() {
        ConfigMgr.setStringList("color_bg_wave_color", [Qt.color("#FDE725"), "#27FFDE"]);
        compare(ConfigMgr.getStringList("color_bg_wave_color").map(color => typeof color), ["string", "string"]);
        compareList(ConfigMgr.getStringList("color_bg_wave_color"), ["#fde725", "#27FFDE"]);
        compare(storedList("color_bg_wave_color"), ["#fde725", "#27FFDE"]);
    }

    function test_getStringList_of_a_key_that_is_not_cached_reads_the_store_once() {
        compareList(ConfigMgr.getStringList("presets", ["x"]), ["x"]);
        SettingsManager.setStringList("presets", ["a", "b"]);
        compareList(ConfigMgr.getStringList("presets", ["x"]), ["x"]);
        ConfigMgr.loadAllSettings();
        compareList(ConfigMgr.getStringList("presets"), ["a", "b"]);
        compareList(ConfigMgr.getStringList("nothing"), []);
    }

    function test_a_cached_list_is_returned_as_it_is() {
        ConfigMgr.setStringList("appList", ["a"]);
        verify(ConfigMgr.getStringList("appList") === ConfigMgr.config.appList);
        verify(Array.isArray(ConfigMgr.getStringList("appList")));
    }

    function test_list_operation_data() {
        const row = (tag, operation, result) => ({
                    tag: tag,
                    operation: operation,
                    result: result
                });
        return [row("add", key => ConfigMgr.addStringList(key, "d"), ["a", "b", "c", "b", "d"]), row("remove the first of its value", key => ConfigMgr.removeStringList(key, "b"), ["a", "c", "b"]), row("removing an absent value takes the last", key => ConfigMgr.removeStringList(key, "z"), ["a", "b", "c"]), row("remove by index", key => ConfigMgr.removeStringListIndex(key, 0), ["b", "c", "b"]), row("remove past the end", key => ConfigMgr.removeStringListIndex(key, 9), ["a", "b", "c", "b"]), row("replace", key => ConfigMgr.replaceStringListIndex(key, 1, "x"), ["a", "x", "c", "b"]), row("replace past the end", key => ConfigMgr.replaceStringListIndex(key, 9, "x"), ["a", "b", "c", "b"]), row("replace before the start", key => ConfigMgr.replaceStringListIndex(key, -1, "x"), ["a", "b", "c", "b"]), row("clear", key => ConfigMgr.clearStringList(key), [])];
    }

    function test_list_operation(data) {
        ConfigMgr.setStringList("appList", ["a", "b", "c", "b"]);
        const cached = ConfigMgr.getStringList("appList");
        data.operation("appList");
        verify(ConfigMgr.getStringList("appList") === cached, "changed in place");
        compareList(cached, data.result);
        compare(storedList("appList"), data.result);
        startOn("linux");
        compareList(ConfigMgr.getStringList("appList"), data.result);
    }

    function test_list_questions_are_answered_from_the_cache() {
        ConfigMgr.setStringList("appList", ["a", "b"]);
        SettingsManager.setStringList("appList", ["c"]);
        compare(ConfigMgr.containsStringList("appList", "b"), true);
        compare(ConfigMgr.containsStringList("appList", "c"), false);
        compare(ConfigMgr.getStringListIndex("appList", "b"), 1);
        compare(ConfigMgr.getStringListIndex("appList", "c"), -1);
        compare(ConfigMgr.getStringListLength("appList"), 2);
    }

    function test_a_list_operation_on_a_key_that_is_not_cached_is_a_script_error_data() {
        return ["addStringList", "removeStringList", "removeStringListIndex", "replaceStringListIndex", "clearStringList", "containsStringList", "getStringListIndex", "getStringListLength"].map(name => ({
                    tag: name
                }));
    }

    function test_a_list_operation_on_a_key_that_is_not_cached_is_a_script_error(data) {
        verify(errorOf(() => ConfigMgr[data.tag]("nobody", 0, "x")).startsWith("TypeError"));
        compare("nobody" in ConfigMgr.config, false);
        compare(SettingsManager.contains("nobody"), false);
    }

    function test_saveAll_writes_each_cached_entry_and_says_so() {
        ConfigMgr.getValue("app_dB", 0.7);
        ConfigMgr.saveAll();
        compare(TestLog.lines.length, Object.keys(defaultTable).length + 1);
        verify(TestLog.lines.includes("保存配置: app_dB 0.7"));
        compare(stored("app_dB"), "0.7");
        for (const key of Object.keys(defaultTable)) {
            if (Array.isArray(ConfigMgr.defaults[key]))
                compare(storedList(key), ConfigMgr.defaults[key], key);
            else
                compare(stored(key), String(ConfigMgr.defaults[key]), key);
        }
    }

    function test_resetToDefaults_writes_every_default_and_loads() {
        ConfigMgr.setValue("listen", "mix");
        ConfigMgr.setValue("auto_gain", 3);
        ConfigMgr.setStringList("appList", ["a"]);
        ConfigMgr.getValue("app_dB", 0.7);
        ConfigMgr.resetToDefaults();
        compare(ConfigMgr.getValue("listen"), "listen");
        compare(ConfigMgr.getValue("auto_gain"), 15);
        compareList(ConfigMgr.getStringList("appList"), []);
        compare("app_dB" in ConfigMgr.config, false);
        StoreFile.restart();
        compareList(Array.from(SettingsManager.getAllKeys()).sort(), Object.keys(defaultTable).sort());
    }

    function test_a_load_asks_the_store_once_for_each_key_and_reads_of_them_ask_no_more() {
        const keys = Object.keys(defaultTable);
        const expected = keys.map(key => [Array.isArray(ConfigMgr.defaults[key]) ? "getStringList" : "getValue", key]);
        const byKey = (one, other) => one[1] < other[1] ? -1 : 1;
        compare(storeCallsOf(() => ConfigMgr.loadAllSettings()).sort(byKey), expected.sort(byKey));
        compare(storeCallsOf(() => keys.forEach(key => ConfigMgr.getValue(key, 1))), []);
    }
}
