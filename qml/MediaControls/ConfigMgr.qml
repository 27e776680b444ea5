pragma Singleton

import QtQml
// Registered by the program when it starts, so that no description lies on the disk for the linter.
import VexoDeckSettings // qmllint disable import
import "ConfigTables.js" as Tables

/*
    The one place where the screens name a persistent setting, give its default, read and write it. Every value lies
    in a plain map, which is loaded from the store at creation; a change goes through to the store at once. Nothing
    binds to the map: a control reads when it is created and again when a topic of MessageBus tells it to.

    Beside the declared keys there are those made at run time from a channel's id: id + "_dB", "_monitor" and "_mix".
    Their first read fills the map and settles their form until the next loadAllSettings().
*/
QtObject {
    id: configMgr

    readonly property ConfigKeys keys: ConfigKeys {}
    readonly property ConfigDefaults defaults: ConfigDefaults {}
    // Key to value: boolean, number, text or an array of texts. Without a prototype, since any text may be a key.
    property var config: Object.create(null)

    // Where values persist; another object with its operations may stand here.
    property var settings: SettingsManager // qmllint disable unqualified
    // Which store is read: those of "windows" and "linux" give text back.
    property string platformName: Qt.platform.os

    // Device steps of the gain and of the monitor volume, and the range of a channel's volume.
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
        console.log("设置配置:", key, value);
        settings.setValue(key, value);
    }

    // The cached value, whatever default is given; else the stored one, or the given default, or the declared one.
    function getValue(key: string, defaultValue: var): var {
        if (!(key in config)) {
            const fallback = defaultValue === undefined ? defaultOf(key) : defaultValue;
            config[key] = converted(settings.getValue(key, fallback), fallback);
        }
        return config[key];
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
        // A copy of its own, of texts: the list operations change the cached list in place.
        config[key] = typeof list === "string" ? [list] : Array.from(list, String);
        console.log("设置字符串列表配置:", key, config[key]);
        settings.setStringList(key, config[key]);
    }

    function getStringList(key: string, defaultList: var): var {
        if (!(key in config))
            config[key] = Array.from(settings.getStringList(key, defaultList ?? defaultOf(key) ?? []));
        return config[key];
    }

    // The list operations want a cached key; another one is a script error of the caller.
    function addStringList(key: string, value: string) {
        config[key].push(value);
        storeStringList(key);
    }

    // An absent value takes the last entry away.
    function removeStringList(key: string, value: string) {
        removeStringListIndex(key, config[key].indexOf(value));
    }

    function removeStringListIndex(key: string, index: int) {
        config[key].splice(index, 1);
        storeStringList(key);
    }

    // An index outside of the list changes nothing.
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

    // Neither the screens nor the device are told.
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

    // Undefined for a key that is made at run time, whatever members of this name any object has.
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

    // The value that a text of the store stands for, by the type of its default.
    function converted(value: var, fallback: var): var {
        if (platformName === "windows")
            return convertedOnWindows(value, fallback);
        return platformName === "linux" ? convertedOnLinux(value, fallback) : value;
    }

    // A real true is not the text "true": what is true by default is false there until it has been stored. The
    // consent to usage reports relies on that. Without a default a stored boolean stays text.
    function convertedOnWindows(value: var, fallback: var): var {
        if (typeof fallback === "boolean")
            return value === "true";
        if (typeof fallback === "number")
            return Number(value);
        return value;
    }

    // "true" and "false" are booleans in every read, and a default of true is true until it has been stored. What
    // only a damaged store gives for the type of the default is false for a boolean, so that no unreadable text
    // consents to anything, and the default otherwise: a word for a number, a list for a text.
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
