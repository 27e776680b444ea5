import QtQuick
import QtQuick.Controls
import QtTest
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug
import VexoDeckSystemBridge
import VexoDeckTranslation

/* The main window's menu, and the questions over the main window. */
MainWindowTestCase {
    id: testCase

    name: "MainMenu"

    property var chosen: []

    Component {
        id: menuComponent

        MorePopup {
            rows: ["帮助", "客服", "设置"].map((text, index) => ({
                        text: text,
                        icon: "",
                        action: index === 1 ? null : () => testCase.chosen.push(text)
                    }))
        }
    }

    function popup() {
        return Array.from(child("moreButton").resources).find(object => object.objectName === "morePopup");
    }

    function openMenu() {
        mouseClick(child("moreButton"));
        tryCompare(popup(), "opened", true);
        return popup();
    }

    // A menu over the main window, whose first and last row are enabled.
    function openMenuWithActions() {
        chosen = [];
        activateWindow();
        const open = createTemporaryObject(menuComponent, child("moreButton"));
        open.open();
        tryCompare(open, "opened", true);
        return open;
    }

    function row(open, index) {
        return findChild(open.contentItem, "morePopupRow" + index);
    }

    function test_the_button_opens_a_menu_that_does_not_block_the_window() {
        compare(popup().visible, false);
        const open = openMenu();
        compare(open.modal, false);
        compare(open.x, 0);
        compare(open.y, 30);
        compare(open.width, 110);
        compare(child("moreButton").mapToItem(window.contentItem, 0, 0).x, 0);
    }

    function test_on_macos_the_menu_ends_where_its_button_ends() {
        openWindow({
            macStyle: true
        });
        const button = child("moreButton");
        compare(button.mapToItem(window.contentItem, button.width, 0).x, window.width);
        const open = openMenu();
        compare(open.x, 30 - 110);
        compare(open.contentItem.mapToItem(window.contentItem, open.contentItem.width, 0).x, window.width - open.rightPadding);
    }

    function test_the_menu_has_three_rows() {
        const open = openMenu();
        const expected = [["帮助", "icons/bz.svg"], ["客服", "icons/kf.svg"], ["设置", "icons/sz.svg"]];
        expected.forEach(([text, icon], index) => {
            compare(row(open, index).text, text);
            verify(String(row(open, index).icon.source).endsWith(icon));
            compare(row(open, index).Accessible.name, text);
            compare(row(open, index).Accessible.role, Accessible.MenuItem);
        });
        compare(row(open, 3), null);
        compare(child("moreButton").Accessible.name, "更多");
        compare(child("moreButton").Accessible.role, Accessible.ButtonMenu);
    }

    function windowNamed(name) {
        return Array.from(child("moreButton").resources).find(object => object.objectName === name);
    }

    function test_a_row_that_leads_nowhere_cannot_be_chosen() {
        const open = openMenuWithActions();
        compare(row(open, 1).enabled, false);
        mouseClick(row(open, 1));
        compare(open.visible, true);
        compare(chosen, []);
    }

    function test_a_row_shows_its_window_which_was_there_before_data() {
        return [
            {
                tag: "support",
                index: 1,
                window: "customerWindow"
            },
            {
                tag: "settings",
                index: 2,
                window: "settingsWindow"
            }
        ];
    }

    function test_a_row_shows_its_window_which_was_there_before(data) {
        const shown = windowNamed(data.window);
        verify(shown);
        compare([shown.visible, shown.transientParent], [false, window]);
        for (let round = 0; round < 2; round++) {
            mouseClick(row(openMenu(), data.index));
            tryCompare(shown, "opacity", 1);
            compare(shown.visible, true);
            tryCompare(popup(), "visible", false);
            shown.close();
            tryCompare(shown, "visible", false);
        }
        compare(windowNamed(data.window), shown);
    }

    function test_the_help_is_a_page_of_the_language() {
        SystemBridge.clearCalls();
        mouseClick(row(openMenu(), 0));
        compare(SystemBridge.calls.map(call => call.url), [NetworkMgr.help_url]);
        tryCompare(popup(), "visible", false);
        TranslationManager.setLanguage("zh_TW");
        mouseClick(row(openMenu(), 0));
        TranslationManager.setLanguage("zh_CN");
        compare(SystemBridge.calls.map(call => call.url), [NetworkMgr.help_url, NetworkMgr.help_url_en]);
    }

    function test_the_help_opens_at_each_choice_however_soon_and_once_at_a_double_click() {
        SystemBridge.clearCalls();
        for (let round = 1; round <= 2; round++) {
            mouseDoubleClickSequence(row(openMenu(), 0));
            compare(SystemBridge.calls.length, round);
            tryCompare(popup(), "visible", false);
        }
    }

    function test_the_width_goes_by_the_language_data() {
        const widths = [["zh_CN", 110], ["zh_TW", 110], ["ja_JP", 150], ["it_IT", 180], ["fr_FR", 180], ["de_DE", 180], ["en_US", 180], ["es_ES", 190], ["ru_RU", 220], ["pt_BR", 110], ["", 110]];
        return widths.map(([language, width]) => ({
                    tag: language,
                    language: language,
                    width: width
                }));
    }

    function test_the_width_goes_by_the_language(data) {
        compare(popup().widthFor(data.language), data.width);
    }

    function test_the_menu_follows_the_language_data() {
        return test_the_width_goes_by_the_language_data().slice(0, 9);
    }

    function test_the_menu_follows_the_language(data) {
        const open = openMenu();
        TranslationManager.setLanguage(data.language);
        compare(open.width, data.width);
        TranslationManager.setLanguage("zh_CN");
        compare(open.width, 110);
    }

    function test_a_change_of_the_language_leaves_the_focus_in_the_menu() {
        const open = openMenuWithActions();
        open.focusRow(0, 1);
        const focused = window.activeFocusItem;
        compare(focused, row(open, 0));
        open.rows = open.rows.map(entry => Object.assign({}, entry, {
                text: entry.text + " 2"
            }));
        compare(row(open, 0), focused);
        compare(window.activeFocusItem, focused);
        compare(focused.text, "帮助 2");
        keyClick(Qt.Key_Return);
        compare(chosen, ["帮助"]);
    }

    function test_escape_closes_the_menu() {
        activateWindow();
        const open = openMenu();
        keyClick(Qt.Key_Escape);
        tryCompare(open, "visible", false);
    }

    function test_a_press_outside_closes_the_menu() {
        const open = openMenu();
        mouseClick(window.contentItem, 600, 400);
        tryCompare(open, "visible", false);
    }

    function test_a_second_press_on_the_button_closes_the_menu() {
        const open = openMenu();
        mousePress(child("moreButton"));
        compare(open.opened, true, "the press alone does not close it, or the click would open it again");
        mouseRelease(child("moreButton"));
        tryCompare(open, "visible", false);
        openMenu();
    }

    function test_the_keyboard_opens_the_menu() {
        activateWindow();
        child("moreButton").forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Return);
        tryCompare(popup(), "opened", true);
        keyClick(Qt.Key_Escape);
        tryCompare(popup(), "visible", false);
        compare(child("moreButton").visualFocus, true);
    }

    function test_a_row_with_an_action_closes_the_menu_and_acts() {
        const open = openMenuWithActions();
        mouseClick(row(open, 2));
        compare(chosen, ["设置"]);
        tryCompare(open, "visible", false);
    }

    function test_a_double_click_on_a_row_acts_once() {
        const open = openMenuWithActions();
        mouseDoubleClickSequence(row(open, 2));
        compare(chosen, ["设置"]);
        tryCompare(open, "visible", false);
        open.open();
        tryCompare(open, "opened", true);
        mouseClick(row(open, 0));
        compare(chosen, ["设置", "帮助"]);
    }

    function test_a_row_acts_before_the_menu_has_faded_in() {
        chosen = [];
        activateWindow();
        const open = createTemporaryObject(menuComponent, child("moreButton"));
        open.open();
        compare(open.opened, false);
        row(open, 0).click();
        compare(chosen, ["帮助"]);
    }

    function test_the_arrow_keys_go_round_the_rows_that_can_be_chosen() {
        const open = openMenuWithActions();
        open.focusRow(0, 1);
        compare(row(open, 0).visualFocus, true);
        keyClick(Qt.Key_Down);
        compare(row(open, 2).visualFocus, true);
        keyClick(Qt.Key_Down);
        compare(row(open, 0).visualFocus, true);
        keyClick(Qt.Key_Up);
        compare(row(open, 2).visualFocus, true);
        keyClick(Qt.Key_Return);
        compare(chosen, ["设置"]);
    }

    function test_long_texts_of_a_language_fit_into_its_menu_data() {
        return [["zh_CN", "帮助说明", "联系客服", "系统设置"], ["ja_JP", "ヘルプセンター", "サポート", "設定"], ["en_US", "Help Centre", "Contact Support", "Settings"], ["de_DE", "Hilfezentrum", "Support kontaktieren", "Einstellungen"], ["es_ES", "Centro de ayuda", "Contactar con soporte", "Configuración"], ["ru_RU", "Справочный центр", "Связаться с поддержкой", "Настройки"]].map(([language, ...texts]) => ({
                    tag: language,
                    texts: texts
                }));
    }

    function test_long_texts_of_a_language_fit_into_its_menu(data) {
        const open = openMenuWithActions();
        open.width = open.widthFor(data.tag);
        open.rows = data.texts.map(text => ({
                    text: text,
                    icon: "",
                    action: null
                }));
        verifyNoClippedTexts(open.contentItem);
    }

    function test_questions_are_asked_over_the_main_window() {
        compare(MessageDialogMgr.parentWindow, window);
        const dialog = MessageDialogMgr.showCustomDialogNew("有新版本", null, null);
        tryCompare(dialog, "opened", true);
        compare(dialog.Window.window ?? dialog.contentItem.Window.window, window);
        compare(dialog.y, 20);
        fuzzyCompare(dialog.x + dialog.width / 2, window.width / 2, 1);
        dialog.close();
        tryCompare(dialog, "visible", false);
    }
}
