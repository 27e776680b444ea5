pragma Singleton

import QtQml
// The program registers this module when it starts: qmllint finds no description of it.
import VexoDeckSettings // qmllint disable import
import "ConfigTables.js" as Tables

/*
    Names, defaults, reads and writes of all persistent settings. Every value is cached in a plain map, which is loaded
    from the store at creation; a change is written to the store at once. Nothing binds to the map: a control reads its
    value at creation and again when a topic of MessageBus notifies it.

    Some keys are made at run time from a strip's id: id + "_dB", "_monitor" and "_mix". Their first read caches them
    and decides their type until the next loadAllSettings().
*/
QtObject {
    id: configMgr

    readonly property ConfigKeys keys: ConfigKeys {}
    readonly property ConfigDefaults defaults: ConfigDefaults {
        // On Linux nothing is reported until the user has agreed.
        share_data: configMgr.platformName !== "linux"
    }
    // Key to value: boolean, number, text or an array of texts. It has no prototype, since any text may be a key.
    property var config: Object.create(null)

    // The store. Any object with the same operations will do.
    property var settings: SettingsManager // qmllint disable unqualified
    // Selects how stored values are read: on "windows" and "linux" the store returns text.
    property string platformName: Qt.platform.os

    // Device steps of the gain and of the monitor volume, and the range of a strip's volume.
    readonly property int auto_gain_min: HIDDeviceMgr.isR2() ? 1 : 0
    readonly property int auto_gain_max: HIDDeviceMgr.isR2() ? 30 : 18
    readonly property int auto_gain_count: HIDDeviceMgr.isR2() ? 29 : 18
    readonly property int auto_device_min: HIDDeviceMgr.isR2() ? 1 : 0
    readonly property int auto_device_max: HIDDeviceMgr.isR2() ? 30 : 13
    readonly property int auto_device_count: HIDDeviceMgr.isR2() ? 29 : 13
    readonly property int auto_app_min: 0
    readonly property int auto_app_max: 1

    readonly property var color_illusory_color_list: Tables.rainbowColors
    readonly property var color_illusory_color_list2: Tables.inputLevelColors
    readonly property var rate_list: Tables.sampleRates

    function rgbToHex(r: real, g: real, b: real): string {
        return Tables.rgbToHex(r, g, b);
    }

    // A step of the gain as text: the lowest is 1%, the highest 100%.
    function gainText(step: real): string {
        return Math.round((step - auto_gain_min) * 99 / auto_gain_count + 1) + "%";
    }

    // A step of the monitor volume as text: the lowest is 0%, the highest 100%.
    function monitorText(step: real): string {
        return Math.round((step - auto_device_min) * 100 / auto_device_count) + "%";
    }

    function initialize() {
        console.log("初始化配置管理器");
        loadAllSettings();
    }

    // Reads every declared key anew and forgets those made at run time.
    function loadAllSettings() {
        config = Object.create(null);
        for (const key of declaredKeys()) {
            if (Array.isArray(defaultOf(key)))
                getStringList(key);
            else
                getValue(key);
        }
    }

    function setValue(key: string, value: var) {
        config[key] = value;
        // What names the installation, or is a key, reaches no log.
        const isSecret = key === keys.trackId || key === keys.accessKey;
        console.log("设置配置:", key, isSecret ? "***" : value);
        settings.setValue(key, value);
    }

    // Returns the cached value, else the stored one, else the given default, else the declared one.
    function getValue(key: string, defaultValue: var): var {
        if (!(key in config)) {
            const fallback = defaultValue === undefined ? defaultOf(key) : defaultValue;
            config[key] = converted(settings.getValue(key, fallback), fallback);
        }
        return config[key];
    }

    // Whether the store has a value of the key.
    function isStored(key: string): bool {
        return settings.contains(key);
    }

    function removeValue(key: string) {
        const value = defaultOf(key);
        config[key] = Array.isArray(value) ? Array.from(value) : value;
        settings.removeValue(key);
    }

    function setColor(key: string, color: var) {
        config[key] = color;
        console.log("设置配置:", key, color);
        settings.setColor(key, color);
    }

    function getColor(key: string, defaultColor: var): var {
        if (!(key in config)) {
            const fallback = defaultColor === undefined ? defaultOf(key) : defaultColor;
            config[key] = fallback === undefined ? settings.getColor(key) : settings.getColor(key, fallback);
        }
        return config[key];
    }

    function setStringList(key: string, list: var) {
        // A copy, since the list operations change the cached list in place.
        config[key] = typeof list === "string" ? [list] : Array.from(list, String);
        console.log("设置字符串列表配置:", key, config[key]);
        settings.setStringList(key, config[key]);
    }

    function getStringList(key: string, defaultList: var): var {
        if (!(key in config))
            config[key] = Array.from(settings.getStringList(key, defaultList ?? defaultOf(key) ?? []));
        return config[key];
    }

    // The list operations need a cached key. Any other key is a script error of the caller.
    function addStringList(key: string, value: string) {
        config[key].push(value);
        storeStringList(key);
    }

    // A value that is not in the list removes the last entry.
    function removeStringList(key: string, value: string) {
        removeStringListIndex(key, config[key].indexOf(value));
    }

    function removeStringListIndex(key: string, index: int) {
        config[key].splice(index, 1);
        storeStringList(key);
    }

    // An index outside the list changes nothing.
    function replaceStringListIndex(key: string, index: int, value: string) {
        if (index in config[key])
            config[key][index] = value;
        storeStringList(key);
    }

    function clearStringList(key: string) {
        config[key].length = 0;
        storeStringList(key);
    }

    function containsStringList(key: string, value: string): bool {
        return config[key].includes(value);
    }

    function getStringListIndex(key: string, value: string): int {
        return config[key].indexOf(value);
    }

    function getStringListLength(key: string): int {
        return config[key].length;
    }

    function saveAll() {
        for (const key of Object.keys(config)) {
            console.log("保存配置:", key, config[key]);
            store(key, config[key]);
        }
    }

    function resetToDefaults() {
        for (const key of declaredKeys())
            store(key, defaults[key]);
        loadAllSettings();
    }

    // Notifies neither the screens nor the device.
    function resetDeviceToDefaults() {
        console.log("重置设备为默认值");
        const exempt = [keys.appList, keys.listen, keys.share_data, keys.auto_install];
        for (const key of declaredKeys().filter(name => !exempt.includes(name)))
            store(key, defaults[key]);
        settings.setValue("device_monitor", false);
        settings.setValue("device_mix", false);
        loadAllSettings();
    }

    function declaredKeys(): var {
        const found = [];
        for (const name in keys) {
            if (name !== "objectName" && typeof keys[name] === "string")
                found.push(keys[name]);
        }
        return found;
    }

    // Undefined for a key made at run time, even one that has the name of a member of every object.
    function defaultOf(key: string): var {
        return keys[key] === key || key === "auto_app" ? defaults[key] : undefined;
    }

    function store(key: string, value: var) {
        if (Array.isArray(value))
            settings.setStringList(key, value);
        else
            settings.setValue(key, value);
    }

    function storeStringList(key: string) {
        settings.setStringList(key, config[key]);
    }

    // Converts a text of the store to the type of its default.
    function converted(value: var, fallback: var): var {
        if (platformName === "windows")
            return convertedOnWindows(value, fallback);
        return platformName === "linux" ? convertedOnLinux(value, fallback) : value;
    }

    // Only the text "true" counts as true: a default of true therefore reads as false until it has been stored. The
    // consent to usage reports relies on that. Without a default a stored boolean stays text.
    function convertedOnWindows(value: var, fallback: var): var {
        if (typeof fallback === "boolean")
            return value === "true";
        if (typeof fallback === "number")
            return Number(value);
        return value;
    }

    // "true" and "false" are booleans in every read, and a default counts until it has been stored. A stored
    // value of the wrong type (a damaged store) reads as false under a boolean key, else as the default. So no unreadable
    // text gives consent.
    function convertedOnLinux(value: var, fallback: var): var {
        const read = value === "true" || value === "false" ? value === "true" : value;
        if (typeof fallback === "boolean")
            return read === true;
        if (typeof fallback === "number") {
            const number = typeof read === "string" && read.trim() !== "" ? Number(read) : read;
            return Number.isFinite(number) ? number : fallback;
        }
        if (typeof fallback === "string")
            return read === undefined || typeof read === "object" ? fallback : read;
        return read;
    }

    Component.onCompleted: initialize()
}
