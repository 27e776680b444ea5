import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckTest

LoggedTestCase {
    id: testCase

    name: "VxConfig"

    function cleanup() {
        HIDDeviceMgr.deviceInfo = {};
        VxConfig.platformName = Qt.platform.os;
        compare(TestLog.takeFaults(), []);
    }

    function imageName(type) {
        return String(VxConfig.getDeviceImage(type)).replace(/^.*VexoDeck\//, "");
    }

    function test_the_look_is_dark_with_a_blue_accent() {
        compare(VxConfig.activeTheme, VxConfig.Theme.Dark);
        verify(VxConfig.Theme.Light !== VxConfig.Theme.Dark);
        compare(VxConfig.mainColor, "#000000");
        compare(VxConfig.secondaryColor, "#0075ff");
        compare(VxConfig.highlightColor, "#2b8cff");
    }

    function test_without_a_device_the_picture_is_that_of_the_mixer() {
        compare(imageName(0), "icons/device_r2.png");
    }

    function test_each_model_has_a_picture_for_each_use_data() {
        return [[0x9829, "r2"], [0x1396, "m40"], [0x1397, "t40"], [0x0820, "r2"]].map(row => ({
                    tag: row[0].toString(16),
                    dpid: row[0],
                    model: row[1]
                }));
    }

    function test_each_model_has_a_picture_for_each_use(row) {
        HIDDeviceMgr.deviceInfo = {
            dpid: row.dpid
        };
        compare(imageName(0), `icons/device_${row.model}.png`);
        compare(imageName(1), `icons/device2_${row.model}.png`);
        compare(imageName(2), `icons/device1_${row.model}.png`);
    }

    Component {
        id: imageComponent

        Image {}
    }

    function test_every_picture_and_icon_can_be_drawn_data() {
        const pictures = ["device", "device1", "device2"].map(use => ["r2", "m40", "t40"].map(model => `${use}_${model}.png`)).reduce((all, some) => all.concat(some));
        const icons = ["vexo", "more", "min_win", "max_win", "close_win", "close_mac1", "close_mac2", "min_mac1", "min_mac2", "max_mac1", "max_mac2", "bz", "kf", "sz", "left"].map(name => name + ".svg");
        return pictures.concat(icons).map(name => ({
                    tag: name
                }));
    }

    function test_every_picture_and_icon_can_be_drawn(row) {
        const image = createTemporaryObject(imageComponent, testCase, {
            source: VxConfig.iconUrl("icons/" + row.tag, "")
        });
        compare(image.status, Image.Ready);
        verify(image.implicitWidth > 0);
    }

    function test_the_sources_of_the_pictures_are_not_shipped() {
        TestLog.expect("Cannot open");
        const image = createTemporaryObject(imageComponent, testCase, {
            source: VxConfig.iconUrl("icons/sources/device_r2.svg", "")
        });
        compare(image.status, Image.Error);
    }

    function test_an_icon_lies_beside_the_documents_or_under_the_given_path() {
        compare(VxConfig.iconUrl("icons/more.svg", ""), "qrc:/qt/qml/VexoDeck/icons/more.svg");
        compare(VxConfig.iconUrl("icons/more.svg"), "qrc:/qt/qml/VexoDeck/icons/more.svg");
        compare(VxConfig.iconUrl("icons/more.svg", null), "qrc:/qt/qml/VexoDeck/icons/more.svg");
        compare(VxConfig.iconUrl("more.svg", "qrc:/elsewhere/"), "qrc:/elsewhere/more.svg");
    }

    function test_the_platform_test_follows_the_system() {
        compare(VxConfig.platformName, Qt.platform.os);
        for (const name of ["windows", "linux", "osx"]) {
            VxConfig.platformName = name;
            compare(VxConfig.isWindowsPlatform(), name === "windows", name);
        }
    }

    function test_a_window_is_created_and_shown() {
        const window = VxConfig.createWindow("WindowFrame.qml", testCase);
        verify(window);
        compare(window.visible, true);
        compare(window.transientParent, testCase.Window.window);
        window.destroy();
        const orphan = VxConfig.createWindow("WindowFrame.qml");
        compare(orphan.visible, true);
        compare(orphan.transientParent, null);
        orphan.destroy();
    }

    function test_a_window_that_does_not_exist_is_null_and_logged() {
        compare(VxConfig.createWindow("NoSuchWindow.qml", testCase), null);
        compare(linesWith("创建 Window 失败:").length, 1);
        verify(linesWith("NoSuchWindow.qml").length > 0);
    }

    function test_a_window_without_a_name_is_null_and_logged() {
        compare(VxConfig.createWindow("", testCase), null);
        compare(linesWith("创建 Window 失败:").length, 1);
    }

    function test_a_window_whose_creation_fails_is_null_without_a_line_of_ours() {
        // The engine's own warning about the required property.
        TestLog.expect("Required property secret was not initialized");
        compare(VxConfig.createWindow(Qt.resolvedUrl("Unmakeable.qml"), testCase), null);
        compare(TestLog.lines.length, 1);
    }

    function test_integers_become_bytes() {
        compare(VxConfig.intToByteArray(0x1ff), [0xff]);
        compare(VxConfig.intToByteArray16LE(0x1234), [0x34, 0x12]);
        compare(VxConfig.intToByteArray16BE(0x1234), [0x12, 0x34]);
        compare(VxConfig.intToByteArray32LE(0x12345678), [0x78, 0x56, 0x34, 0x12]);
        compare(VxConfig.intToByteArray32BE(0x12345678), [0x12, 0x34, 0x56, 0x78]);
        compare(VxConfig.intToByteArray32LE(0xfffefdfc), [0xfc, 0xfd, 0xfe, 0xff]);
        compare(VxConfig.intToByteArrayN(0x123456, 3), [0x56, 0x34, 0x12]);
        compare(VxConfig.intToByteArrayN(5, 0), []);
        compare(VxConfig.intToByteArrayN(-2, 6), [0xfe, 0xff, 0xff, 0xff, 0xff, 0xff]);
        compare(VxConfig.intToByteArrayN(2, 6), [2, 0, 0, 0, 0, 0]);
    }

    function test_bytes_become_integers() {
        compare(VxConfig.byteArrayToInt([0x78, 0x56, 0x34, 0x12]), 0x12345678);
        compare(VxConfig.byteArrayToIntBE([0x12, 0x34, 0x56, 0x78]), 0x12345678);
        compare(VxConfig.byteArrayToInt([0x34, 0x12]), 0x1234);
        compare(VxConfig.byteArrayToIntBE([0x12, 0x34]), 0x1234);
        compare(VxConfig.byteArrayToInt([]), 0);
        compare(VxConfig.byteArrayToIntBE([]), 0);
    }

    function test_four_bytes_with_a_high_top_bit_give_a_negative_integer() {
        compare(VxConfig.byteArrayToInt([0xff, 0xff, 0xff, 0xff]), -1);
        compare(VxConfig.byteArrayToInt([0, 0, 0, 0x80]), -2147483648);
        compare(VxConfig.byteArrayToIntBE([0x80, 0, 0, 0]), -2147483648);
    }

    function test_a_colour_becomes_blue_green_red_and_zero() {
        compare(VxConfig.hexToRgb("#3F2EF8"), [0xf8, 0x2e, 0x3f, 0]);
        compare(VxConfig.hexToRgb("#000000"), [0, 0, 0, 0]);
        compare(VxConfig.hexToRgb("#ffffff"), [0xff, 0xff, 0xff, 0]);
        compare(VxConfig.hexToRgb(VxConfig.secondaryColor), [0xff, 0x75, 0, 0]);
    }

    function test_red_green_and_blue_become_a_lower_case_colour() {
        compare(VxConfig.rgbToHex([0x3f, 0x2e, 0xf8]), "#3f2ef8");
        compare(VxConfig.rgbToHex([-5, 300, 9.6]), "#00ff0a");
        compare(VxConfig.rgbToHex([1, 2, 3, 4]), "#010203");
    }

    function test_what_is_no_colour_becomes_black_with_a_warning_data() {
        return [[undefined, "undefined"], [null, "null"], [[1, 2], "two entries"], ["#123456", "a text"], [7, "a number"]].map(row => ({
                    tag: row[1],
                    value: row[0]
                }));
    }

    function test_what_is_no_colour_becomes_black_with_a_warning(row) {
        TestLog.expect("无效的 RGB 数组:");
        compare(VxConfig.rgbToHex(row.value), "#000000");
    }
}
