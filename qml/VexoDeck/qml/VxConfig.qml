pragma Singleton

import QtQuick
import MediaControls

/*
    Common ground of the windows: device pictures, the platform test, the window factory, and the byte functions that
    pack values for the device. These work on 32-bit integers.
*/
QtObject {
    id: config

    enum Theme {
        Light,
        Dark
    }

    property int activeTheme: VxConfig.Theme.Dark
    property string platformName: Qt.platform.os
    readonly property color mainColor: VxTheme.background
    readonly property color secondaryColor: VxTheme.accent
    readonly property color highlightColor: VxTheme.accentHover

    // USB product id to picture: [0] welcome page and drawer, [1] firmware upgrade, [2] main page.
    readonly property list<var> deviceMap: [
        {
            [0x9829]: "icons/device_r2.png",
            [0x1396]: "icons/device_m40.png",
            [0x1397]: "icons/device_t40.png"
        },
        {
            [0x9829]: "icons/device2_r2.png",
            [0x1396]: "icons/device2_m40.png",
            [0x1397]: "icons/device2_t40.png"
        },
        {
            [0x9829]: "icons/device1_r2.png",
            [0x1396]: "icons/device1_m40.png",
            [0x1397]: "icons/device1_t40.png"
        }
    ]

    // The picture of the device last seen. Without one, or for an unknown one, that of the Mixdesk R2.
    function getDeviceImage(type: int): url {
        const images = deviceMap[type];
        return iconUrl(images[HIDDeviceMgr.getDeviceDPID()] ?? images[0x9829], "");
    }

    function iconUrl(url: string, path: var): url {
        return Qt.resolvedUrl((path ? path : "../") + url);
    }

    function isWindowsPlatform(): bool {
        return platformName === "windows";
    }

    // Creates and shows a window from a document of this folder. Returns null on failure.
    function createWindow(qmlName: string, parent: var): var {
        // An empty name returns no component.
        const component = Qt.createComponent(qmlName);
        if (component?.status !== Component.Ready) {
            console.log("创建 Window 失败:", component?.errorString() ?? "no document is named");
            return null;
        }
        const window = parent ? component.createObject(parent) : component.createObject();
        if (window)
            window.visible = true;
        return window;
    }

    function intToByteArray(value: var): var {
        return [value & 0xff];
    }

    function intToByteArray16LE(value: var): var {
        return intToByteArrayN(value, 2);
    }

    function intToByteArray16BE(value: var): var {
        return intToByteArrayN(value, 2).reverse();
    }

    function intToByteArray32LE(value: var): var {
        return intToByteArrayN(value, 4);
    }

    function intToByteArray32BE(value: var): var {
        return intToByteArrayN(value, 4).reverse();
    }

    // Low byte first; bytes beyond the fourth repeat the sign.
    function intToByteArrayN(value: var, byteCount: int): var {
        const bytes = [];
        for (let index = 0; index < byteCount; index++)
            bytes.push((value >> Math.min(8 * index, 31)) & 0xff);
        return bytes;
    }

    // Low byte first. Four bytes with the top bit set make a negative number.
    function byteArrayToInt(byteArray: var): int {
        let value = 0;
        for (let index = 0; index < Math.min(byteArray.length, 4); index++)
            value |= byteArray[index] << (8 * index);
        return value;
    }

    function byteArrayToIntBE(byteArray: var): int {
        let value = 0;
        for (const octet of byteArray)
            value = (value << 8) | octet;
        return value;
    }

    // "#RRGGBB" to the device's order of colour bytes: blue, green, red, 0.
    function hexToRgb(hexColor: var): var {
        return intToByteArray32LE(Number(String(hexColor).replace("#", "0x")));
    }

    // [red, green, blue] to "#rrggbb".
    function rgbToHex(rgbArray: var): string {
        if (typeof rgbArray !== "object" || rgbArray === null || !(rgbArray.length >= 3)) {
            console.warn("无效的 RGB 数组:", rgbArray);
            return "#000000";
        }
        let text = "#";
        for (let index = 0; index < 3; index++) {
            const level = Math.max(0, Math.min(255, Math.round(rgbArray[index]))) || 0;
            text += level.toString(16).padStart(2, "0");
        }
        return text;
    }
}
