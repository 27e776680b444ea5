import QtQuick
import QtTest
import VexoDeckHIDHotplug

/* The page that waits for a device, and the ways between it and the main layout. */
MainWindowTestCase {
    id: testCase

    name: "WelcomeLayout"

    function connectMixer(changes) {
        connectDevice(Object.assign({}, mixdeskR2, changes ?? {}));
    }

    function compareReady() {
        tryCompare(child("description"), "visible", false);
        compare(child("status").visible, true);
        compare(child("startButton").visible, true);
        compare(child("title").text, "VEXO Mixdesk R2");
    }

    function test_the_main_window_bears_the_name_of_the_program() {
        compare(window.title, "Vexo Deck");
        compare(window.visible, true);
    }

    function test_pages_change_by_a_fade_of_200_ms() {
        connectMixer();
        tryCompare(child("startButton"), "visible", true);
        const welcome = stackView.currentItem;
        verifyFade(() => mouseClick(child("startButton")), () => [stackView.currentItem, welcome]);
        const layout = stackView.currentItem;
        verifyFade(() => HIDHotplugManager.deviceConnected(mixdeskR2, false), () => [welcome, layout]);
    }

    function test_a_button_that_is_pressed_twice_opens_one_working_screen() {
        connectMixer();
        tryCompare(child("startButton"), "visible", true);
        const button = child("startButton");
        button.clicked();
        button.clicked();
        tryCompare(stackView, "busy", false);
        compare(stackView.depth, 2);
    }

    // During the transition the two pages differ in opacity only.
    function verifyFade(change, pages) {
        const sums = [];
        const watch = () => {
            const [coming, going] = pages();
            compare(stackView.busy, true);
            // The new page is compared with the same reference.
            going.opacityChanged.connect(() => {
                sums.push(going.opacity + referenceValue);
                compare([coming.x, coming.y, coming.scale, going.x, going.y, going.scale], [0, 0, 1, 0, 0, 1]);
            });
            return coming;
        };
        const steps = verifyMovement(change, watch, "opacity", 0, 1, 200, Easing.InOutQuad);
        verify(steps > 0);
        verify(sums.every(sum => Math.abs(sum - 1) < 0.02), sums);
        tryCompare(stackView, "busy", false);
    }

    function test_without_a_device_the_page_invites_to_connect_one() {
        compareWaiting();
        compare(child("description").text, "Vexo Deck 可将你的兼容设备变身为强大中枢\n支持低延迟混音，体验高清音质，享受每一次声音表达");
        verify(String(child("deviceImage").source).endsWith("icons/device_r2.png"));
        compare(stackView.depth, 1);
    }

    function test_a_complete_report_offers_the_way_on() {
        connectMixer();
        compareReady();
        compare(child("status").text, "已连接");
        compare(child("startButton").text, "开启高清音质之旅");
    }

    function test_the_picture_follows_the_model_data() {
        return [[0x9829, "icons/device_r2.png"], [0x1396, "icons/device_m40.png"], [0x1397, "icons/device_t40.png"]].map(row => ({
                    tag: row[0].toString(16),
                    dpid: row[0],
                    image: row[1]
                }));
    }

    function test_the_picture_follows_the_model(row) {
        connectMixer({
            dpid: row.dpid
        });
        verify(String(child("deviceImage").source).endsWith(row.image));
    }

    function test_an_incomplete_report_keeps_the_page_waiting_data() {
        return [
            {
                tag: "serial number N/A",
                changes: {
                    sn: "N/A"
                }
            },
            {
                tag: "name N/A",
                changes: {
                    name: "N/A"
                }
            },
            {
                tag: "serial number missing",
                changes: {
                    sn: undefined
                }
            },
            {
                tag: "name null",
                changes: {
                    name: null
                }
            },
            {
                tag: "name empty",
                changes: {
                    name: ""
                }
            },
            {
                tag: "serial number empty",
                changes: {
                    sn: ""
                }
            }
        ];
    }

    function test_an_incomplete_report_keeps_the_page_waiting(row) {
        connectMixer(row.changes);
        compareWaiting();
    }

    function test_an_incomplete_report_counts_as_a_loss() {
        connectMixer();
        compareReady();
        connectMixer({
            sn: "N/A"
        });
        compareWaiting();
    }

    function test_a_later_complete_report_makes_up_for_an_incomplete_one() {
        connectMixer({
            name: "N/A",
            sn: "N/A"
        });
        compareWaiting();
        connectMixer();
        compareReady();
    }

    function test_the_program_does_not_move_on_by_itself() {
        connectMixer();
        compareReady();
        compare(stackView.depth, 1);
    }

    function test_the_button_opens_the_main_layout() {
        const layout = openMainLayout(mixdeskR2);
        compare(findChild(layout, "deviceStrip").title, "Mixdesk R2");
    }

    function test_a_key_that_is_held_opens_one_main_layout_data() {
        return [
            {
                tag: "return",
                key: Qt.Key_Return
            },
            {
                tag: "space",
                key: Qt.Key_Space
            }
        ];
    }

    function test_a_key_that_is_held_opens_one_main_layout(row) {
        activateWindow();
        connectMixer();
        tryCompare(child("startButton"), "activeFocus", true);
        for (let press = 0; press < 5; press++)
            keyClick(row.key);
        tryCompare(stackView, "busy", false);
        compare(stackView.depth, 2);
    }

    function test_the_return_key_opens_the_main_layout() {
        activateWindow();
        connectMixer();
        compareReady();
        compare(child("startButton").activeFocus, true);
        keyClick(Qt.Key_Return);
        tryCompare(stackView, "depth", 2);
    }

    function test_the_button_that_fades_after_a_loss_takes_no_press() {
        activateWindow();
        connectMixer();
        compareReady();
        compare(child("startButton").activeFocus, true);
        HIDHotplugManager.deviceConnected(mixdeskR2, false);
        compare(child("startButton").visible, true);
        keyClick(Qt.Key_Return);
        mouseClick(child("startButton"));
        compare(stackView.depth, 1);
        compareWaiting();
    }

    function test_the_loss_of_the_device_leads_back_and_destroys_the_main_layout() {
        openMainLayout(mixdeskR2);
        let destroyed = false;
        stackView.currentItem.Component.destruction.connect(() => destroyed = true);
        HIDHotplugManager.deviceConnected(mixdeskR2, false);
        compare(stackView.depth, 1);
        tryVerify(() => destroyed);
        tryCompare(stackView, "busy", false);
        compareWaiting();
    }

    function test_after_a_reconnection_the_button_is_pressed_again() {
        openMainLayout(mixdeskR2);
        loseDevice();
        connectMixer();
        compareReady();
        compare(stackView.depth, 1);
        openMainLayout(mixdeskR2);
    }

    function test_everything_has_a_name_for_a_screen_reader() {
        compare(child("title").Accessible.name, "连接你的 VEXO 设备");
        compare(child("title").Accessible.role, Accessible.Heading);
        connectMixer();
        compare(child("status").Accessible.name, "已连接");
        compare(child("status").Accessible.role, Accessible.StaticText);
        compare(child("startButton").Accessible.name, "开启高清音质之旅");
        compare(child("startButton").Accessible.role, Accessible.Button);
    }

    function test_a_device_that_cannot_be_opened_is_told_in_one_line() {
        const notice = child("accessNotice");
        compare(notice.visible, false);
        HIDHotplugManager.accessMissing = true;
        compare(notice.visible, true);
        compare(notice.Accessible.name, "没有设备的访问权限：请安装 udev 规则 70-vexo-deck.rules，然后重新插拔设备");
        compareWaiting();
        HIDHotplugManager.accessMissing = false;
        compare(notice.visible, false);
    }

    function test_the_line_gives_way_to_a_device() {
        HIDHotplugManager.accessMissing = true;
        connectMixer();
        compare(child("accessNotice").visible, false);
    }

    function test_no_text_is_cut_off_data() {
        return [[800, 500], [1300, 800], [2560, 1400]].map(size => ({
                    tag: size.join("x"),
                    size: size
                }));
    }

    function test_no_text_is_cut_off(row) {
        window.width = row.size[0];
        window.height = row.size[1];
        ["title", "description"].forEach(name => {
            const label = child(name);
            tryVerify(() => label.height >= label.contentHeight && label.width >= label.contentWidth, 1000, name);
            const place = label.mapToItem(window.contentItem, 0, 0);
            verify(place.x >= 0 && place.y >= 30, name);
            verify(place.x + label.width <= window.width && place.y + label.height <= window.height, name);
        });
        connectMixer({
            name: "VEXO Voxmic T40 Studio Edition with a long name"
        });
        tryCompare(child("startButton"), "visible", true);
        const button = child("startButton");
        const bottom = button.mapToItem(window.contentItem, 0, button.height).y;
        verify(bottom <= window.height, `the button ends at ${bottom}`);
        verify(button.contentItem.contentWidth <= button.availableWidth);
    }
}
