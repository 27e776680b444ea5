import QtQuick
import QtQuick.Controls
import QtTest
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug

/* The drawer of the main layout and what it holds. */
MainWindowTestCase {
    id: testCase

    name: "DeviceDrawer"

    readonly property var fourTabs: ["话筒", "监听", "灯光", "通用"]
    readonly property var pageNames: ["microphoneTab", "monitorTab", "lightingTab", "generalTab"]

    function drawer() {
        return child("deviceSettingsDrawer");
    }

    function shownTabs() {
        const found = [];
        for (let tab; (tab = child("tab" + found.length)) !== null; )
            found.push(tab);
        return found;
    }

    function shownPages() {
        return pageNames.filter(name => child(name).visible);
    }

    function compareClosed() {
        compare(drawer().isOpen, false);
        tryCompare(drawer(), "width", 0);
        compare(drawer().visible, false);
    }

    function models_data() {
        return [
            {
                tag: "Mixdesk R2",
                info: mixdeskR2,
                tabs: fourTabs,
                pages: [0, 1, 2, 3],
                image: "icons/device_r2.png",
                small: "icons/device1_r2.png"
            },
            {
                tag: "Voxmic M40",
                info: voxmicM40,
                tabs: ["话筒", "监听", "通用"],
                pages: [0, 1, 3],
                image: "icons/device_m40.png",
                small: "icons/device1_m40.png"
            },
            {
                tag: "Voxmic T40",
                info: voxmicT40,
                tabs: fourTabs,
                pages: [0, 1, 2, 3],
                image: "icons/device_t40.png",
                small: "icons/device1_t40.png"
            }
        ];
    }

    function test_the_drawer_starts_closed_and_out_of_reach() {
        openMainLayout(mixdeskR2);
        compareClosed();
        compare(drawer().color, "#181818");
        compare(child("mainSettings").width, window.width);
    }

    function test_the_drawer_is_450_wide_and_pushes_the_mixer_aside() {
        openDrawer(mixdeskR2);
        compare(drawer().isOpen, true);
        compare(drawer().x + drawer().width, window.width);
        compare(child("mainSettings").x, 0);
        compare(child("mainSettings").width, window.width - 450);
        compare(child("deviceSettings").width, 450);
    }

    function test_the_drawer_moves_in_200_ms_and_slows_down() {
        openMainLayout(mixdeskR2);
        tryVerify(() => {
            const opening = verifyMovement(() => drawer().open(), drawer, "width", 0, 450, 200, Easing.OutCubic);
            const closing = verifyMovement(() => drawer().close(), drawer, "width", 450, 0, 200, Easing.OutCubic);
            // A busy machine may draw no step on the way: then once more.
            return opening > 0 && closing > 0;
        }, 60000);
    }

    function test_the_back_button_closes_the_drawer() {
        openDrawer(mixdeskR2);
        const back = child("backButton");
        compare(back.iconRotation, 180);
        compare(back.rotation, 0);
        verify(String(back.icon.source).endsWith("icons/left.svg"));
        mouseClick(back);
        compareClosed();
    }

    function test_a_question_leaves_the_back_button_free_data() {
        return [[800, 500], [1300, 800]].map(size => ({
                    tag: size.join("x"),
                    size: size
                }));
    }

    function test_a_question_leaves_the_back_button_free(row) {
        window.width = row.size[0];
        window.height = row.size[1];
        openDrawer(mixdeskR2);
        const before = child("backButton").mapToItem(null, 0, 0).y;
        const dialog = MessageDialogMgr.showCustomDialogNew("W".repeat(300));
        tryCompare(dialog, "opened", true);
        tryVerify(() => child("backButton").mapToItem(null, 0, 0).y > dialog.y + dialog.height);
        verifyNoClippedTexts(child("settingsHead"));
        mouseClick(child("backButton"));
        compareClosed();
        dialog.close();
        tryCompare(dialog, "visible", false);
        tryVerify(() => child("backButton").mapToItem(null, 0, 0).y === before);
        dialog.destroy();
    }

    function test_a_gain_that_is_reported_during_a_drag_shows_everywhere_after_it_data() {
        return [["the drawer's slider", "autoGainSlider"], ["the strip's fader", "deviceStrip"]].map(([tag, name]) => ({
                    tag: tag,
                    name: name
                }));
    }

    function test_a_gain_that_is_reported_during_a_drag_shows_everywhere_after_it(row) {
        openDrawer(mixdeskR2);
        const fader = findChild(child("deviceStrip"), "slider");
        const drawerSlider = child("autoGainSlider");
        const held = row.name === "deviceStrip" ? fader : drawerSlider;
        const middle = held.handle.mapToItem(held, held.handle.width / 2, held.handle.height / 2);
        mousePress(held, middle.x, middle.y);
        HIDHotplugManager.messageReceived(HIDDeviceMgr.attrs.mic_gain, [22]);
        mouseRelease(held, middle.x, middle.y);
        tryCompare(held, "isManually", false);
        compare([Math.round(fader.value), Math.round(drawerSlider.value), ConfigMgr.getValue("auto_gain")], [22, 22, 22]);
    }

    function test_escape_closes_the_drawer_and_gives_the_focus_back() {
        openMainLayout(mixdeskR2);
        activateWindow();
        const opener = child("deviceSettingsButton");
        opener.forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Return);
        compare(drawer().isOpen, true);
        compare(child("backButton").activeFocus, true);
        compare(child("backButton").visualFocus, true);
        keyClick(Qt.Key_Escape);
        compareClosed();
        compare(opener.activeFocus, true);
        compare(opener.visualFocus, true);
    }

    function test_a_focus_that_the_mouse_has_set_stays_unseen() {
        openDrawer(mixdeskR2);
        compare(child("backButton").activeFocus, true);
        compare(child("backButton").visualFocus, false);
    }

    function test_the_head_tells_which_device_it_is_data() {
        return models_data();
    }

    function test_the_head_tells_which_device_it_is(row) {
        openDrawer(row.info);
        const deviceName = child("settingsDeviceName");
        compare(deviceName.text, row.info.name);
        compare(deviceName.font.bold, true);
        compare(deviceName.font.pixelSize, 20);
        compare(child("serialNumber").text, "SN:VX24A0117 V1.04");
        verify(String(child("settingsDeviceImage").source).endsWith(row.image));
        compare(child("settingsDeviceImage").height, 200);
        const strip = child("deviceStrip");
        verify(String(findChild(strip, "stripImage").source).endsWith(row.small));
        compare(findChild(strip, "title").text, row.info.name.replace("VEXO ", ""));
    }

    function test_the_picture_is_200_high_until_the_page_needs_the_room_data() {
        return [
            {
                tag: "usual window",
                height: 800,
                picture: 200
            },
            {
                tag: "just enough",
                height: 575,
                picture: 200
            },
            {
                tag: "smallest window",
                height: 500,
                picture: 145
            }
        ];
    }

    function test_the_picture_is_200_high_until_the_page_needs_the_room(row) {
        window.height = row.height;
        openDrawer(mixdeskR2);
        tryCompare(child("settingsDeviceImage"), "height", row.picture);
        verify(child("pages").height >= 150, "room: " + child("pages").height);
    }

    function test_what_the_device_does_not_tell_is_not_available() {
        openDrawer(mixdeskR2);
        HIDHotplugManager.deviceConnected(Object.assign({}, mixdeskR2, {
            version: undefined
        }), true);
        compare(child("serialNumber").text, "SN:VX24A0117 N/A");
    }

    function test_each_tab_shows_its_page_data() {
        return models_data();
    }

    function test_each_tab_shows_its_page(row) {
        openDrawer(row.info);
        const tabs = shownTabs();
        compare(tabs.map(tab => tab.text), row.tabs);
        compare(tabs.map(tab => tab.checked), row.tabs.map((_, index) => index === 0));
        compare(shownPages(), [pageNames[0]]);
        row.pages.forEach((page, index) => {
            mouseClick(tabs[index]);
            compare(child("pages").currentIndex, page);
            compare(shownPages(), [pageNames[page]]);
            compare(tabs.filter(tab => tab.checked), [tabs[index]]);
        });
    }

    function test_all_four_pages_are_built_at_once_data() {
        return models_data();
    }

    function test_all_four_pages_are_built_at_once(row) {
        const layout = openMainLayout(row.info);
        compare(pageNames.filter(name => findChild(layout, name) === null), []);
    }

    function test_a_tab_is_35_high_and_at_least_60_wide_and_blue_when_selected() {
        openDrawer(mixdeskR2);
        mouseMove(child("settingsDeviceImage"));
        const tabs = shownTabs();
        for (const tab of tabs) {
            compare(tab.height, 35);
            verify(tab.width >= 60, tab.width);
        }
        compare(tabs[0].background.color, "#0075ff");
        compare(tabs[0].contentItem.opacity, 1);
        verify(Qt.colorEqual(tabs[1].background.color, "transparent"));
        tryCompare(tabs[1].contentItem, "opacity", 0.3);
    }

    function test_the_arrow_keys_go_through_the_tabs_data() {
        return models_data();
    }

    function test_the_arrow_keys_go_through_the_tabs(row) {
        openDrawer(row.info);
        activateWindow();
        shownTabs()[0].forceActiveFocus(Qt.TabFocusReason);
        const seen = [];
        for (const _ of row.tabs) {
            keyClick(Qt.Key_Right);
            compare(shownTabs().filter(tab => tab.visualFocus).length, 1);
            seen.push(shownTabs().findIndex(tab => tab.checked && tab.activeFocus));
        }
        compare(seen, [...row.tabs.keys()].slice(1).concat(0));
        keyClick(Qt.Key_Left);
        compare(shownTabs().findIndex(tab => tab.checked), row.tabs.length - 1);
    }

    function test_the_tabulator_stops_at_the_selected_tab_only() {
        openDrawer(mixdeskR2);
        activateWindow();
        mouseClick(shownTabs()[2]);
        child("backButton").forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Tab);
        compare(shownTabs().findIndex(tab => tab.activeFocus), 2);
    }

    function test_the_tabulator_does_not_reach_into_the_closed_drawer() {
        const layout = openMainLayout(mixdeskR2);
        activateWindow();
        const inside = item => item && (item === child("deviceSettings") || inside(item.parent));
        for (let step = 0; step < 12; step++) {
            keyClick(Qt.Key_Tab);
            compare(Boolean(inside(window.activeFocusItem)), false);
        }
        compare(layout.visible, true);
    }

    function test_the_general_page_takes_the_focus_within_the_open_drawer_alone() {
        openMainLayout(mixdeskR2);
        activateWindow();
        compare(child("generalTab").activeFocus, false);
        child("deviceSettingsButton").forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Return);
        tryCompare(drawer(), "width", 450);
        mouseClick(shownTabs()[3]);
        compare(child("generalTab").activeFocus, true);
        keyClick(Qt.Key_Escape);
        compareClosed();
        compare(child("deviceSettingsButton").activeFocus, true);
        keyClick(Qt.Key_Return);
        tryCompare(drawer(), "width", 450);
        compare(child("generalTab").visible, true);
        keyClick(Qt.Key_Escape);
        compareClosed();
        compare(child("deviceSettingsButton").activeFocus, true);
    }

    function test_escape_is_recorded_and_does_not_close_the_drawer() {
        openDrawer(mixdeskR2);
        activateWindow();
        mouseClick(shownTabs()[3]);
        const field = child("keyField");
        mouseClick(field);
        compare(field.recording, true);
        keyClick(Qt.Key_Escape);
        compare(field.text, "Esc");
        compare(drawer().isOpen, true);
        child("urlField").forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Escape);
        compareClosed();
    }

    function test_an_unplugged_device_leaves_a_closed_drawer_and_the_first_tab_data() {
        return models_data();
    }

    function test_an_unplugged_device_leaves_a_closed_drawer_and_the_first_tab(row) {
        const first = openDrawer(row.info);
        mouseClick(shownTabs()[2]);
        let destroyed = false;
        first.Component.destruction.connect(() => destroyed = true);
        loseDevice();
        tryVerify(() => destroyed);
        compareWaiting();
        openMainLayout(row.info);
        compareClosed();
        compare(shownTabs().map(tab => tab.checked), row.tabs.map((_, index) => index === 0));
        compare(child("pages").currentIndex, 0);
    }

    function test_the_tabs_follow_the_model_at_a_reconnection() {
        openDrawer(mixdeskR2);
        mouseClick(shownTabs()[3]);
        loseDevice();
        openDrawer(voxmicM40);
        compare(shownTabs().map(tab => tab.text), ["话筒", "监听", "通用"]);
        compare(shownPages(), ["microphoneTab"]);
    }

    function test_everything_has_a_name_and_a_role_for_a_screen_reader() {
        openDrawer(mixdeskR2);
        const roles = [["backButton", "返回", Accessible.Button], ["deviceSettingsButton", "设备设置", Accessible.Button], ["deviceSettings", "设备设置", Accessible.Pane], ["settingsDeviceName", "VEXO Mixdesk R2", Accessible.Heading], ["serialNumber", "SN:VX24A0117 V1.04", Accessible.StaticText], ["settingsDeviceImage", "VEXO Mixdesk R2", Accessible.Graphic], ["outputs", "输出", Accessible.Grouping], ["inputs", "输入", Accessible.Grouping], ["tab0", "话筒", Accessible.PageTab]];
        for (const [objectName, text, role] of roles) {
            compare(child(objectName).Accessible.name, text);
            compare(child(objectName).Accessible.role, role);
        }
        compare(child("tab0").Accessible.selected, true);
        compare(child("tab1").Accessible.selected, false);
    }

    function test_no_text_is_cut_off_data() {
        return [[800, 500], [1300, 800], [1920, 1080]].map(size => ({
                    tag: size.join("x"),
                    size: size
                }));
    }

    function test_no_text_is_cut_off(row) {
        window.width = row.size[0];
        window.height = row.size[1];
        openDrawer(Object.assign({}, mixdeskR2, {
            name: "VEXO Mixdesk R2 Studio Edition"
        }));
        verifyNoClippedTexts(child("mainSettings"));
        verifyNoClippedTexts(child("settingsHead"));
        verifyNoClippedTexts(child("tabs"));
        verify(child("pages").height >= 150, `the pages are ${child("pages").height} high`);
    }
}
