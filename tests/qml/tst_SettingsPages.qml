import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckTest

/* What the pages of the device drawer have in common: keyboard, screen reader, room for long texts, scrolling. */
PageTestCase {
    id: testCase

    name: "SettingsPages"
    width: 410
    height: 760

    Component {
        id: microphoneTab

        MicrophoneTab {
            anchors.fill: parent
        }
    }

    Component {
        id: monitorTab

        MonitorTab {
            anchors.fill: parent
        }
    }

    Component {
        id: lightingTab

        LightingTab {
            anchors.fill: parent
        }
    }

    Component {
        id: generalTab

        GeneralTab {
            anchors.fill: parent
        }
    }

    function generalRow(model) {
        const hotkey = ["button", "appBox", "button", "urlField", "button", "keyField", "button", "button"];
        const reached = model.isR2 ? [...hotkey, "checkUpdateButton", "rateBox"] : model.info === voxmicM40 ? ["checkUpdateButton", "lightSwitch"] : ["checkUpdateButton"];
        return Object.assign({}, model, {
            tag: model.tag + ", general",
            component: generalTab,
            reached: [...reached, "resetRow"]
        });
    }

    // The page of the lights, in each form of its background.
    function lightRows(model) {
        const gradient = ["preset0", "preset1", "preset2", "own", "resetButton"];
        const color = ["tile", "resetButton"];
        const forms = [["wave", [2, 0], ["tile2", ...gradient, "tile1"]], ["static colour", [0, 0], ["tile0", "tile0", ...color]], ["static gradient", [0, 1], ["tile0", "tile1", ...gradient, "color0", "color1", "color2"]], ["breathing colour", [1, 0], ["tile1", "tile0", ...color]], ["breathing loop", [1, 1], ["tile1", "tile1", "tile0", "tile1", "addButton", "deleteButton", "resetButton"]], ["no light", [3, 0], ["tile3"]]];
        const rest = [...gradient, "tile1", ...color, ...color, ...color, ...color, "brightness", "screenBox"];
        return forms.map(([form, [effect, type], reached]) => Object.assign({}, model, {
                tag: model.tag + ", " + form,
                component: lightingTab,
                settings: {
                    color_bg_effect: effect,
                    color_bg_static_type: type,
                    color_bg_static_illusory_color_index: 3,
                    color_bg_bln_type: type
                },
                reached: [...reached, ...rest, ...(model.info === voxmicT40 ? ["rgbBox"] : [])]
            }));
    }

    function pageRows() {
        const rows = [];
        for (const model of modelRows)
            rows.push(Object.assign({}, model, {
                tag: model.tag + ", microphone",
                component: microphoneTab,
                reached: model.isR2 ? ["autoGainSlider", "autoGainButton", "muteSwitch", "phantomSwitch", "plainAntiClipping", "equalizerRow"] : ["autoGainSlider", "autoGainSwitch", "muteSwitch", "tile0", "aiSwitch", "tile0", "antiClipping", "fanbaoYinSlider", "compressor", "yasuoQiSlider", "equalizerRow"]
            }), Object.assign({}, model, {
                tag: model.tag + ", monitor",
                component: monitorTab,
                reached: ["ratioSlider", "volumeSlider"]
            }), generalRow(model), ...(model.info === voxmicM40 ? [] : lightRows(model)));
        return rows;
    }

    // With everything on, so that every control is there.
    function openFullPage(row) {
        for (const key of ["ai_jianzao", "device_boom", "device_compressor", "device_equalizer"])
            ConfigMgr.setValue(key, true);
        for (const key of Object.keys(row.settings ?? {}))
            ConfigMgr.setValue(key, row.settings[key]);
        ConfigMgr.setStringList("color_bg_bln_cyc_color", ["#112233", "#445566"]);
        pageComponent = row.component;
        openPage(row.info);
        // The check for newer firmware is over: its button is disabled meanwhile.
        const button = findChild(page, "checkUpdateButton");
        if (button)
            tryCompare(button, "enabled", true);
    }

    // All visible items below one, itself included.
    function visibleItems(item) {
        return item.visible ? [item].concat(...Array.from(item.children).map(visibleItems)) : [];
    }

    // The name of a control, or that of the row of a switch.
    function nameOf(item) {
        let named = item;
        while (named && (named.objectName === "" || named.objectName === "switch" || named.objectName === "switchRow"))
            named = named.parent;
        return named ? named.objectName : "";
    }

    function focusByTab() {
        const reached = [];
        page.forceActiveFocus();
        for (let count = 0; count < 60; count++) {
            keyClick(Qt.Key_Tab);
            const item = Window.window.activeFocusItem;
            if (reached.includes(item))
                break;
            reached.push(item);
        }
        return reached;
    }

    function test_tab_reaches_every_control_in_order_data() {
        return pageRows();
    }

    function test_tab_reaches_every_control_in_order(row) {
        openFullPage(row);
        const names = focusByTab().map(nameOf).filter(name => name !== "tipsIcon");
        compareData(names, row.reached);
    }

    function test_focus_by_the_keyboard_is_seen_data() {
        return pageRows();
    }

    function test_focus_by_the_keyboard_is_seen(row) {
        openFullPage(row);
        for (const item of focusByTab()) {
            item.forceActiveFocus(Qt.TabFocusReason);
            const rings = visibleItems(item).concat(visibleItems(item.background ?? item)).filter(part => part.border && part.border.width === 2 && Qt.colorEqual(part.border.color, VxTheme.focusRing));
            verify(rings.length > 0, nameOf(item));
        }
    }

    function test_reached_controls_have_a_role_and_a_name_data() {
        return pageRows();
    }

    function test_reached_controls_have_a_role_and_a_name(row) {
        openFullPage(row);
        for (const item of focusByTab()) {
            verify(item.Accessible.name !== "", nameOf(item));
            verify([Accessible.Button, Accessible.CheckBox, Accessible.RadioButton, Accessible.Slider, Accessible.StaticText, Accessible.ComboBox, Accessible.EditableText].includes(item.Accessible.role), nameOf(item));
            if (item.Accessible.role === Accessible.Slider)
                compare(item.Accessible.description, item.valueText);
        }
    }

    function test_screen_reader_hears_switches_and_selections() {
        openFullPage({
            info: voxmicM40,
            component: microphoneTab
        });
        verify(reach(switchOf("aiSwitch")).checked);
        verify(!reach(switchOf("muteSwitch")).checked);
        const scene = findChild(child("selectRowType"), "tile0");
        compare(scene.Accessible.role, Accessible.RadioButton);
        verify(scene.Accessible.checked);
        verify(!findChild(child("selectRowType"), "tile1").Accessible.checked);
        compare(child("fanbaoYinSlider").Accessible.name, "防爆音");
        compare(child("fanbaoYinSlider").Accessible.description, "-40dB");
        compare(child("autoGainSlider").Accessible.description, "84%");
        compare(child("equalizerRow").Accessible.description, "原声");
        compare(child("microphoneInput").Accessible.name, "话筒");
    }

    function test_space_chooses_a_scene_and_a_strength() {
        openFullPage({
            info: voxmicM40,
            component: microphoneTab
        });
        findChild(child("selectRowType"), "tile3").forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Space);
        compare(setting("audio_enhancement_index"), 3);
        findChild(child("noiseSelect2"), "tile0").forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Return);
        compare(setting("ai_jianzao_type"), 0);
        compare(setting("audio_enhancement_index"), 4);
    }

    function test_explanation_is_shown_under_the_mouse_and_at_the_focus() {
        openFullPage({
            info: voxmicM40,
            component: microphoneTab
        });
        const icon = findChild(child("aiSwitch"), "tipsIcon");
        const bubble = icon.data.find(object => object instanceof VxToolTip);
        verify(!bubble.visible);
        mouseMove(icon, icon.width / 2, icon.height / 2);
        tryVerify(() => bubble.visible);
        compare(bubble.text, findChild(child("aiSwitch"), "label").tips);
        mouseMove(page, 1, 1);
        tryVerify(() => !bubble.visible);
        icon.forceActiveFocus(Qt.TabFocusReason);
        tryVerify(() => bubble.visible);
    }

    // ---- room

    function verifyTextsHaveRoom() {
        const texts = visibleItems(page).filter(item => item instanceof Text && item.text !== "");
        verify(texts.length > 2);
        for (const item of texts) {
            verify(!item.truncated, item.text + " is cut");
            verify(item.contentWidth <= item.width + 0.5, item.text + " is wider than its place");
            verify(item.contentHeight <= item.height + 0.5, item.text + " is higher than its place");
            const left = item.mapToItem(page, 0, 0).x;
            verify(left >= 0 && left + item.width <= page.width + 0.5, item.text + " leaves the page");
        }
    }

    // No two texts of the page overlap.
    function verifyTextsAreApart() {
        const places = visibleItems(page).filter(item => item instanceof Text && item.text !== "").map(item => ({
                    text: item.text,
                    place: item.mapToItem(page, 0, 0, item.width, item.height)
                }));
        for (let one = 0; one < places.length; one++) {
            for (let other = one + 1; other < places.length; other++) {
                const a = places[one].place;
                const b = places[other].place;
                const apart = a.right <= b.left || b.right <= a.left || a.bottom <= b.top + 0.5 || b.bottom <= a.top + 0.5;
                verify(apart, places[one].text + " lies on " + places[other].text);
            }
        }
    }

    function test_texts_have_room_data() {
        return pageRows();
    }

    function test_texts_have_room(row) {
        openFullPage(row);
        verifyTextsHaveRoom();
        verifyTextsAreApart();
    }

    function test_texts_that_are_40_percent_longer_have_room_data() {
        return pageRows();
    }

    function test_texts_that_are_40_percent_longer_have_room(row) {
        openFullPage(row);
        const before = findChild(page, "sectionTitle").text;
        LongTexts.install();
        verify(findChild(page, "sectionTitle").text !== before);
        waitForPolish(Window.window);
        verifyTextsHaveRoom();
        verifyTextsAreApart();
        LongTexts.remove();
        compare(findChild(page, "sectionTitle").text, before);
    }

    function test_card_grows_with_its_texts() {
        openFullPage({
            info: mixdeskR2,
            component: microphoneTab
        });
        const card = findChild(child("microphoneInput"), "card");
        compare(card.height, 220);
        page.anchors.fill = null;
        page.width = 150;
        tryVerify(() => card.height > 220);
    }

    function test_language_change_renames_the_equalizer() {
        openFullPage({
            info: mixdeskR2,
            component: microphoneTab
        });
        compare(child("equalizerName").text, "原声");
        LongTexts.install();
        verify(child("equalizerName").text !== "原声");
        LongTexts.remove();
        compare(child("equalizerName").text, "原声");
    }

    // ---- scrolling

    function openLowPage() {
        openFullPage({
            info: voxmicM40,
            component: microphoneTab
        });
        page.anchors.fill = null;
        page.height = 260;
        waitForPolish(Window.window);
        verify(page.contentHeight > page.height);
    }

    function isInView(item) {
        const top = item.mapToItem(page, 0, 0).y;
        return top >= 0 && top + item.height <= page.height;
    }

    function test_focus_scrolls_its_control_into_view() {
        openLowPage();
        page.forceActiveFocus();
        let item = null;
        do {
            keyClick(Qt.Key_Tab);
            item = Window.window.activeFocusItem;
            verify(isInView(item), nameOf(item));
        } while (nameOf(item) !== "equalizerRow")
        while (nameOf(item) !== "autoGainSlider") {
            keyClick(Qt.Key_Backtab);
            item = Window.window.activeFocusItem;
            verify(isInView(item), nameOf(item));
        }
    }

    function test_wheel_scrolls_the_page() {
        openLowPage();
        compare(page.contentY, 0);
        mouseWheel(page, 5, 5, 0, -240);
        tryVerify(() => page.contentY > 0);
    }

    function test_drag_of_a_slider_does_not_scroll_the_page() {
        openLowPage();
        const slider = child("autoGainSlider");
        press(slider);
        mouseMove(slider, 60, -10);
        mouseMove(slider, 60, -60);
        mouseMove(slider, 100, -90);
        verify(slider.pressed);
        compare(page.contentY, 0);
        const value = slider.value;
        mouseMove(slider, 200, -90);
        verify(slider.value > value);
        mouseRelease(slider, 200, -90);
        waitForEndOf(slider);
    }

    function test_drag_of_the_ground_does_not_scroll_the_page() {
        openLowPage();
        mousePress(page, 5, 200);
        for (let y = 190; y > 20; y -= 10)
            mouseMove(page, 5, y);
        mouseRelease(page, 5, 20);
        compare(page.contentY, 0);
    }

    function test_margin_keeps_the_scroll_bar_beside_the_cards() {
        openLowPage();
        page.margin = 20;
        waitForPolish(Window.window);
        const card = findChild(page, "card");
        const bar = findChild(page, "scrollBar");
        compare(card.width, page.width - 20);
        verify(bar.x >= card.width);
        compare(bar.x + bar.width / 2, page.width - 10);
        page.contentY = page.contentHeight - page.height;
        compare(page.height - (child("audioBoost").mapToItem(page, 0, child("audioBoost").height).y), 20);
    }

    function test_drag_of_the_scroll_bar_scrolls_the_page() {
        openLowPage();
        const bar = findChild(page, "scrollBar");
        verify(bar.visible);
        mousePress(bar, 4, 20);
        mouseMove(bar, 4, 60);
        mouseMove(bar, 4, 400);
        mouseRelease(bar, 4, 400);
        fuzzyCompare(page.contentY, page.contentHeight - page.height, 1);
    }
}
