import MediaControls
import VexoDeckSettings
import VexoDeckTest

/* What the settings make of the store's content, on both kinds of platform. */
ConfigTestCase {
    id: testCase

    name: "ConfigMgrStore"

    function fallbackOf(key) {
        return ConfigMgr.defaults[key];
    }

    function test_fresh_store_on_windows_consents_to_nothing_until_it_is_written() {
        startOn("windows");
        compare(ConfigMgr.getValue("share_data"), false);
        compare(ConfigMgr.getValue("auto_install"), false);
        ConfigMgr.setValue("share_data", true);
        compare(ConfigMgr.getValue("share_data"), true);
        startOn("windows");
        compare(ConfigMgr.getValue("share_data"), true);
        compare(ConfigMgr.getValue("auto_install"), false);
    }

    function test_fresh_store_elsewhere_holds_the_defaults_data() {
        return [
            {
                tag: "linux",
                consent: false
            },
            {
                tag: "osx",
                consent: true
            }
        ];
    }

    function test_fresh_store_elsewhere_holds_the_defaults(data) {
        startOn(data.tag);
        compare(ConfigMgr.getValue("share_data"), data.consent);
        compare(ConfigMgr.getValue("auto_install"), true);
    }

    function test_a_reset_of_everything_on_linux_gives_no_consent() {
        startOn("linux");
        ConfigMgr.setValue("share_data", true);
        ConfigMgr.resetToDefaults();
        startOn("linux");
        compare(ConfigMgr.getValue("share_data"), false);
    }

    function test_a_refused_consent_stays_refused_data() {
        return ["windows", "linux"].map(name => ({
                    tag: name
                }));
    }

    function test_a_refused_consent_stays_refused(data) {
        ConfigMgr.setValue("share_data", false);
        startOn(data.tag);
        compare(ConfigMgr.getValue("share_data"), false);
    }

    function test_on_any_other_platform_values_stay_as_they_came() {
        startWith(["device_mute=true", "share_data=false", "auto_gain=7", "app_dB=loud", "strip=true"], "osx");
        compare(ConfigMgr.getValue("device_mute"), "true");
        compare(ConfigMgr.getValue("share_data"), "false");
        compare(ConfigMgr.getValue("auto_gain"), "7");
        compare(ConfigMgr.getValue("app_dB", 0.3), "loud");
        compare(ConfigMgr.getValue("strip"), "true");
        SettingsManager.setValue("device_mute", true);
        SettingsManager.setValue("auto_gain", 8);
        loadOn("osx");
        compare(ConfigMgr.getValue("device_mute"), true);
        compare(ConfigMgr.getValue("auto_gain"), 8);
    }

    function test_values_come_back_in_their_types_after_a_restart_data() {
        return ["windows", "linux"].map(name => ({
                    tag: name
                }));
    }

    function test_values_come_back_in_their_types_after_a_restart(data) {
        const values = {
            device_mute: true,
            device_phantom: false,
            auto_gain: 7,
            device_boom_value: -12,
            color_bg_other_brightness: 0.29,
            color_bg_effect: 3,
            general_rate: "176.4",
            trackId: "00042",
            upgradeFirmwareFilePath: "C:\\固件\\a, b.bin"
        };
        for (const key of Object.keys(values))
            ConfigMgr.setValue(key, values[key]);
        startOn(data.tag);
        for (const key of Object.keys(values))
            compare(ConfigMgr.getValue(key), values[key], key);
    }

    function test_read_of_a_boolean_on_windows_data() {
        const row = (tag, line, fallback, value) => ({
                    tag: tag,
                    line: line,
                    fallback: fallback,
                    value: value
                });
        return [row("text true", "app_monitor=true", false, true), row("text false", "app_monitor=false", true, false), row("absent, default true", "", true, false), row("absent, default false", "", false, false), row("other text", "app_monitor=1", true, false), row("without a default true stays text", "app_monitor=true", undefined, "true"), row("without a default false stays text", "app_monitor=false", undefined, "false")];
    }

    function test_read_of_a_boolean_on_windows(data) {
        startWith([data.line], "windows");
        compare(ConfigMgr.getValue("app_monitor", data.fallback), data.value);
    }

    function test_a_mute_that_was_first_read_without_a_default_stays_text_on_windows() {
        startWith(["app_monitor=true"], "windows");
        compare(ConfigMgr.getValue("app_monitor") === true, false);
        compare(ConfigMgr.getValue("app_monitor", false), "true");
        ConfigMgr.setValue("app_monitor", true);
        compare(ConfigMgr.getValue("app_monitor"), true);
    }

    function test_strips_restore_their_mutes_elsewhere() {
        startWith(["a_monitor=true", "b_monitor=false"], "linux");
        compare(ConfigMgr.getValue("a_monitor"), true);
        compare(ConfigMgr.getValue("a_monitor", false), true);
        compare(ConfigMgr.getValue("b_monitor"), false);
        compare(ConfigMgr.getValue("b_monitor", true), false);
    }

    function test_a_number_reads_by_the_type_of_its_default_data() {
        return ["windows", "linux"].map(name => ({
                    tag: name
                }));
    }

    function test_a_number_reads_by_the_type_of_its_default(data) {
        startWith(["app_dB=0.45", "device_boom_value=-7", "general_rate=96", "strip=0.45"], data.tag);
        compare(ConfigMgr.getValue("app_dB", 0.3), 0.45);
        compare(ConfigMgr.getValue("device_boom_value"), -7);
        compare(ConfigMgr.getValue("general_rate"), "96");
        compare(ConfigMgr.getValue("strip"), "0.45");
    }

    function test_a_real_boolean_in_the_store_data() {
        return [
            {
                tag: "linux keeps it",
                platformName: "linux",
                value: true
            },
            {
                tag: "windows, where no store gives one",
                platformName: "windows",
                value: false
            }
        ];
    }

    // A value written in this run keeps its type until the file is read again.
    function test_a_real_boolean_in_the_store(data) {
        SettingsManager.setValue("device_mute", true);
        loadOn(data.platformName);
        compare(ConfigMgr.getValue("device_mute"), data.value);
    }

    function test_lists_come_back_data() {
        return [
            {
                tag: "empty",
                list: []
            },
            {
                tag: "one entry",
                list: ["#3F2EF8"]
            },
            {
                tag: "one empty text",
                list: [""]
            },
            {
                tag: "JSON, commas, quotes, Chinese, line ends",
                list: ['{"name":"乙, \\"丙\\"","isInput":false}', "a,b; c\\d=e%f", "@x", "第一行\n第二行", "true"]
            }
        ];
    }

    function test_lists_come_back(data) {
        for (const platformName of ["windows", "linux"]) {
            ConfigMgr.setStringList("appList", data.list);
            ConfigMgr.setStringList("color_picker_preset_colors", data.list);
            startOn(platformName);
            compareList(ConfigMgr.getStringList("appList"), data.list);
            compareList(ConfigMgr.getStringList("color_picker_preset_colors"), data.list);
        }
    }

    function test_a_device_reset_data() {
        return ["windows", "linux"].map(name => ({
                    tag: name
                }));
    }

    function test_a_device_reset(data) {
        const channelKeys = ["app_dB", "app_monitor", "app_mix", "mix_dB", "mix_mix", "listen_monitor"];
        startOn(data.tag);
        ConfigMgr.setStringList("appList", ["a"]);
        ConfigMgr.setValue("listen", "app");
        ConfigMgr.setValue("share_data", false);
        ConfigMgr.setValue("auto_install", false);
        for (const key of channelKeys)
            ConfigMgr.setValue(key, key.endsWith("_dB") ? 0.9 : true);
        ConfigMgr.setValue("device_monitor", true);
        ConfigMgr.setValue("device_mix", true);
        ConfigMgr.setValue("auto_gain", 3);
        ConfigMgr.setValue("device_mute", true);
        for (const key of ["trackId", "accessKey", "auto_install_path", "upgradeFirmwareFilePath"])
            ConfigMgr.setValue(key, "changed");
        ConfigMgr.addStringList("device_equalizer_values", '{"name":"mine"}');
        compare(ConfigMgr.getStringListLength("device_equalizer_values"), 8);
        TestLog.begin();

        ConfigMgr.resetDeviceToDefaults();

        compare(TestLog.lines, ["重置设备为默认值"]);
        for (const key of channelKeys.concat("device_monitor", "device_mix"))
            compare(key in ConfigMgr.config, false, key);
        startOn(data.tag);
        compareList(ConfigMgr.getStringList("appList"), ["a"]);
        compare(ConfigMgr.getValue("listen"), "app");
        compare(ConfigMgr.getValue("share_data"), false);
        compare(ConfigMgr.getValue("auto_install"), false);
        for (const key of channelKeys)
            compare(ConfigMgr.getValue(key, key.endsWith("_dB") ? 0.3 : false), key.endsWith("_dB") ? 0.9 : true, key);
        compare(ConfigMgr.getValue("device_monitor", true), false);
        compare(ConfigMgr.getValue("device_mix", true), false);
        const exempt = ["appList", "listen", "share_data", "auto_install"];
        for (const key of Object.keys(ConfigMgr.defaults)) {
            if (!(key in ConfigMgr.keys) || exempt.includes(key) || typeof ConfigMgr.keys[key] !== "string" || key === "objectName")
                continue;
            verify(SettingsManager.contains(key), key);
            compare(ConfigMgr.getValue(key), fallbackOf(key), key);
        }
        compare(ConfigMgr.getValue("trackId"), "trackId");
        compare(ConfigMgr.getStringListLength("device_equalizer_values"), 7);
    }

    function test_a_device_reset_stores_the_volume_of_the_connected_model() {
        connectDevice(mixdeskR2);
        ConfigMgr.resetDeviceToDefaults();
        compare(stored("device_dB"), "22");
        connectDevice(voxmicM40);
        ConfigMgr.resetDeviceToDefaults();
        compare(stored("device_dB"), "3");
    }

    function test_a_reset_on_windows_keeps_the_consent_that_was_never_given_absent() {
        startOn("windows");
        ConfigMgr.resetDeviceToDefaults();
        StoreFile.restart();
        for (const key of ["share_data", "auto_install"])
            compare(SettingsManager.contains(key), false, key);
        loadOn("windows");
        for (const key of ["share_data", "auto_install"])
            compare(ConfigMgr.getValue(key), false, key);
    }

    function test_damaged_value_data() {
        const row = (tag, raw, onLinux, onWindows) => ({
                    tag: tag,
                    raw: raw,
                    onLinux: onLinux,
                    onWindows: onWindows
                });
        const list = ["a", "b"];
        // For auto_gain (15), share_data (true) and general_rate ("48"), in this order.
        return [row("NaN", "NaN", [15, false, "NaN"], [NaN, false, "NaN"]), row("infinity", "Infinity", [15, false, "Infinity"], [Infinity, false, "Infinity"]), row("empty text", "", [15, false, ""], [0, false, ""]), row("blank text", '"  "', [15, false, "  "], [0, false, "  "]), row("words", "12abc", [15, false, "12abc"], [NaN, false, "12abc"]), row("foreign JSON", '"{\\"a\\":[1,2]}"', [15, false, '{"a":[1,2]}'], [NaN, false, '{"a":[1,2]}']), row("cut JSON", '"{\\"a\\":"', [15, false, '{"a":'], [NaN, false, '{"a":']), row("a list", "a, b", [15, false, "48"], [NaN, false, list]), row("nothing", "@Invalid()", [15, false, "48"], [NaN, false, undefined]), row("bytes", "@ByteArray(\\xff\\x0)", [15, false, "48"], [NaN, false, []]), row("a rectangle", "@Rect(1 2 3 4)", [15, false, "48"], [NaN, false, []]), row("text of another kind", "true", [15, true, true], [NaN, true, "true"])];
    }

    function test_damaged_value(data) {
        const keys = ["auto_gain", "share_data", "general_rate"];
        const lines = keys.map(key => key + "=" + data.raw);
        const plain = value => typeof value === "object" ? Array.from(value) : value;
        for (const [platformName, expected] of [["linux", data.onLinux], ["windows", data.onWindows]]) {
            startWith(lines, platformName);
            for (let index = 0; index < keys.length; index++) {
                const value = plain(ConfigMgr.getValue(keys[index]));
                if (Number.isNaN(expected[index]))
                    verify(Number.isNaN(value), platformName + " " + keys[index] + ": " + value);
                else
                    compare(value, expected[index], platformName + " " + keys[index]);
            }
        }
    }

    function test_damaged_list_data() {
        return [
            {
                tag: "one text",
                raw: "abc",
                list: ["abc"]
            },
            {
                tag: "empty text",
                raw: "",
                list: [""]
            },
            {
                tag: "nothing",
                raw: "@Invalid()",
                list: []
            },
            {
                tag: "foreign JSON",
                raw: '"{\\"a\\":[1,2]}"',
                list: ['{"a":[1,2]}']
            },
            {
                tag: "bytes",
                raw: "@ByteArray(\\xff\\x0)",
                list: []
            },
            {
                tag: "a point",
                raw: "@Point(1 2)",
                list: []
            },
            {
                tag: "a value of no type",
                raw: "@Variant(\\0\\0\\0\\x7f\\0\\0\\0\\x4zzz\\0)",
                list: [],
                warning: "unknown user type with name zzz"
            }
        ];
    }

    function test_damaged_list(data) {
        for (const platformName of ["linux", "windows"]) {
            // The store warns once for each key.
            for (let key = 0; data.warning && key < 2; key++)
                TestLog.expect(data.warning);
            startWith(["appList=" + data.raw, "device_equalizer_values=" + data.raw], platformName);
            compareList(ConfigMgr.getStringList("appList"), data.list);
            compareList(ConfigMgr.getStringList("device_equalizer_values"), data.list);
            ConfigMgr.addStringList("appList", "x");
            compareList(ConfigMgr.getStringList("appList"), data.list.concat("x"));
            // Before it writes, the store takes what it must not read out of the file, which it keeps.
            if (data.warning)
                TestLog.expect("lines that are no settings are kept");
            SettingsManager.sync();
        }
    }

    function test_a_file_that_is_no_store_reads_as_fresh() {
        StoreFile.replaceFile("\u0000\u0001\u00ff=%%%[[[\n]=\n=x\n[General\n");
        loadOn("linux");
        compare(ConfigMgr.getValue("auto_gain"), 15);
        compare(ConfigMgr.getValue("auto_install"), true);
        compare(ConfigMgr.getValue("share_data"), false);
        ConfigMgr.setValue("auto_gain", 4);
        compare(ConfigMgr.getValue("auto_gain"), 4);
        TestLog.expect("lines that are no settings are kept in");
        SettingsManager.sync();
    }
}
