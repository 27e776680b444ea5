pragma Singleton

import QtQml
import MediaControls
import "LightColors.js" as LightColors

/* What the lights of the device have in common: how many colours a list has, how one is sent, and how stored ones read. */
QtObject {
    // Colours in a list for the connected model.
    function backgroundCount(): int {
        return HIDDeviceMgr.isT40() ? 12 : 30;
    }

    function inputCount(): int {
        return HIDDeviceMgr.isT40() ? 6 : 30;
    }

    // Texts "#rrggbb" to the device, as the value of an attribute.
    function send(attribute: int, colors: var) {
        HIDDeviceMgr.sendMessage(attribute, [].concat(...colors.map(color => VxConfig.hexToRgb(color))));
    }

    // A stored value that is none of these reads as the key's default.
    function storedColor(key: string): string {
        const color = ConfigMgr.getValue(key);
        return LightColors.isColor(color) ? color : ConfigMgr.defaults[key];
    }

    function storedIndex(key: string, count: int): int {
        const index = ConfigMgr.getValue(key);
        return Number.isInteger(index) && index >= 0 && index < count ? index : ConfigMgr.defaults[key];
    }

    // At least so many colours, else the key's default, and at most so many. What is no colour counts as black.
    function storedColors(key: string, least: int, most: int): var {
        return LightColors.cleanList(ConfigMgr.getStringList(key), ConfigMgr.defaults[key], least, most);
    }
}
