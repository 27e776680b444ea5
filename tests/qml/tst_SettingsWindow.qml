import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckSystemBridge
import VexoDeckTest
import VexoDeckTranslation

/* The window of the program's own settings, and that of an installer that does not start. */
UpdateTestCase {
    id: testCase

    name: "SettingsWindow"

    property SettingsWindow window: null
    readonly property var languages: ["zh_CN", "zh_TW", "en_US", "ja_JP", "ru_RU", "de_DE", "fr_FR", "es_ES", "it_IT"]

    Component {
        id: windowComponent

        SettingsWindow {}
    }

    screen: window ? window.contentItem : null

    function init() {
        TranslationManager.setLanguage("zh_CN");
        initUpdate("windows");
    }

    function cleanup() {
        if (window)
            discard(window);
        window = null;
        TranslationManager.setLanguage("zh_CN");
        cleanupUpdate();
    }

    function build() {
        window = createTemporaryObject(windowComponent, testCase);
        verify(window);
        storeCalls = [];
    }

    function open() {
        build();
        window.show();
        tryCompare(window, "opacity", 1);
        waitForRendering(screen);
    }

    function test_the_window_is_there_before_it_is_shown_and_looks_for_updates_once() {
        build();
        compare([window.title, window.visible, window.modality, window.isDestroy], ["设置", false, Qt.ApplicationModal, false]);
        compare([window.width, window.height, window.minimumWidth, window.minimumHeight, window.maximumWidth, window.maximumHeight], [600, 450, 600, 450, 600, 450]);
        compare(asked(), ["app"]);
        window.show();
        tryCompare(window, "opacity", 1);
        window.close();
        tryCompare(window, "visible", false);
        window.show();
        compare(asked(), ["app"]);
        compare(child("statBox").stat, 1);
    }

    function test_the_rows_stand_in_their_order_and_fit() {
        open();
        const rows = [child("checkUpdateRow"), child("autoInstallCheckBox"), child("autoInstallNote"), child("languageBox"), child("shareDataCheckBox"), child("privacyLink")];
        const places = rows.map(row => row.mapToItem(screen, 0, 0).y);
        compare(places, places.slice().sort((a, b) => a - b));
        compare([child("autoInstallCheckBox").text, child("autoInstallNote").text], ["自动安装最新版本", "如关闭自动安装，你仍会收到新版本提示，但需手动点击“立即升级”后才可升级"]);
        compare([child("shareDataCheckBox").text, child("privacyLink").text], ["与VEXO分享使用数据", "隐私政策"]);
        verify(places[5] + child("privacyLink").height + 16 <= window.height, "nothing needs to be scrolled");
    }

    function test_a_box_shows_its_setting_and_writes_it_on_a_click_data() {
        return [
            {
                tag: "automatic installation",
                key: "auto_install",
                box: "autoInstallCheckBox"
            },
            {
                tag: "consent",
                key: "share_data",
                box: "shareDataCheckBox"
            }
        ];
    }

    function test_a_box_shows_its_setting_and_writes_it_on_a_click(data) {
        for (const value of [true, false]) {
            ConfigMgr.setValue(data.key, value);
            open();
            compare(child(data.box).checked, value);
            compare(written(), []);
            mouseClick(child(data.box), 8, child(data.box).height / 2);
            compare(written(), [data.key]);
            compare(ConfigMgr.getValue(data.key), !value);
            discard(window);
        }
        window = null;
    }

    function test_on_linux_nothing_is_said_of_automatic_installation() {
        VxConfig.platformName = "linux";
        open();
        compare([child("autoInstallCheckBox").visible, child("autoInstallNote").visible], [false, false]);
        compare(child("shareDataCheckBox").checked, false, "nobody has been asked");
    }

    function test_the_question_comes_only_while_the_window_is_hidden() {
        ConfigMgr.setValue("auto_install", false);
        build();
        window.show();
        answer("app", applicationOffer(address));
        take("download").success(true, {});
        compare(MessageDialogMgr.shownCount, 0);
        window.close();
        compare([window.visible, window.isClosing], [true, true]);
        child("checkUpdateRow").checkUpdate();
        answer("app", applicationOffer(address));
        take("download").success(true, {});
        compare(MessageDialogMgr.shownCount, 1, "a window that fades out is not seen");
        discard(window);
        window = null;
    }

    function test_a_download_goes_on_while_the_window_is_hidden() {
        ConfigMgr.setValue("auto_install", true);
        open();
        answer("app", applicationOffer(address));
        window.close();
        tryCompare(window, "visible", false);
        take("download").success(true, {});
        window.show();
        compare([child("statBox").stat, child("checkUpdateButton").text], [3, "立即更新"]);
    }

    // ---- the language

    function test_the_languages_stand_in_the_order_of_their_index() {
        open();
        compareList(child("languageBox").model, ["中文", "繁體中文", "English", "日本語", "Русский", "Deutsch", "Français", "Español", "Italiano"]);
        compareList(TranslationManager.getAvailableLanguages(), languages);
        compare(child("languageBox").currentIndex, 0);
    }

    function test_the_box_starts_at_the_current_language_data() {
        return languages.map((language, index) => ({
                    tag: language,
                    index: index
                }));
    }

    function test_the_box_starts_at_the_current_language(data) {
        TranslationManager.setLanguage(data.tag);
        TestLog.begin();
        build();
        compare(child("languageBox").currentIndex, data.index);
        compare(linesWith("Setting language to:").length, 0);
    }

    function test_a_choice_changes_the_language() {
        open();
        TestLog.begin();
        child("languageBox").currentIndex = 5;
        compare(linesWith("Setting language to: 5").length, 1);
        compare(TranslationManager.getCurrentLanguage(), "de_DE");
        compare(stored("language"), "de_DE");
    }

    function test_after_a_language_that_fails_the_former_one_can_be_chosen_again() {
        open();
        TestLog.begin();
        const box = child("languageBox");
        box.currentIndex = -1;
        TestLog.expect("Failed to load app translation for:");
        TestLog.expect("Failed to load app translation from bundle for:");
        TestLog.expect("Failed to change language to:");
        TranslationManager.setLanguage("xx_XX");
        compare(stored("language"), "xx_XX");
        box.currentIndex = 0;
        compare(linesWith("Setting language to: 0").length, 1);
        compare(stored("language"), "zh_CN");
    }

    function test_the_box_follows_a_change_from_elsewhere_and_writes_nothing() {
        open();
        TestLog.begin();
        TranslationManager.setLanguage("it_IT");
        compare(child("languageBox").currentIndex, 8);
        compare(linesWith("Setting language to:").length, 0);
        compare(TranslationManager.getCurrentLanguage(), "it_IT");
    }

    function test_the_privacy_page_is_that_of_the_language_data() {
        const pages = [NetworkMgr.privacy_url_zh, NetworkMgr.privacy_url_tw, NetworkMgr.privacy_url_en, NetworkMgr.privacy_url_jp, NetworkMgr.privacy_url_ru, NetworkMgr.privacy_url_de, NetworkMgr.privacy_url_fr, NetworkMgr.privacy_url_es, NetworkMgr.privacy_url_it];
        return languages.map((language, index) => ({
                    tag: language,
                    page: pages[index]
                }));
    }

    function test_the_privacy_page_is_that_of_the_language(data) {
        TranslationManager.setLanguage(data.tag);
        open();
        SystemBridge.clearCalls();
        mouseClick(child("privacyLink"));
        compare(opened(), [data.page]);
    }

    // ---- an installer that does not start

    function test_an_installer_that_does_not_start_has_a_window_data() {
        return [
            {
                tag: "at the start of the program",
                shown: false
            },
            {
                tag: "by the button",
                shown: true
            }
        ];
    }

    function test_an_installer_that_does_not_start_has_a_window(data) {
        SystemBridge.installs = false;
        const upgrade = {
            get window(){
                return findChild(data.shown ? testCase.window : testCase.questionPlace, "upgradeWindow");
            }
        };
        if (data.shown) {
            ConfigMgr.setValue("auto_install", false);
            open();
            answer("app", applicationOffer(address));
            take("download").success(true, {});
            mouseClick(child("checkUpdateButton"));
        } else {
            ConfigMgr.setValue("auto_install", true);
            ConfigMgr.setValue("auto_install_path", target);
            build();
        }
        tryVerify(() => upgrade.window !== null);
        const failure = upgrade.window;
        compare([failure.visible, failure.modality, failure.isDestroy, failure.width, failure.height], [true, Qt.ApplicationModal, true, 500, 300]);
        tryCompare(failure, "opacity", 1);
        SystemBridge.clearCalls();
        mouseClick(part(failure.contentItem, "pageButton"));
        compare(opened(), [NetworkMgr.default_url]);
        tryVerify(() => upgrade.window === null);
    }

    function test_a_double_click_on_a_way_to_a_page_opens_one_page() {
        open();
        SystemBridge.clearCalls();
        mouseDoubleClickSequence(child("privacyLink"));
        compare(opened(), [NetworkMgr.privacyPage("zh_CN")]);
        const failure = VxConfig.createWindow("UpgradeWindow.qml", questionPlace);
        tryCompare(failure, "opacity", 1);
        SystemBridge.clearCalls();
        mouseDoubleClickSequence(part(failure.contentItem, "pageButton"));
        compare(opened(), [NetworkMgr.default_url]);
        tryVerify(() => findChild(questionPlace, "upgradeWindow") === null);
    }

    function test_the_window_of_the_failure_can_be_dismissed() {
        const failure = VxConfig.createWindow("UpgradeWindow.qml", questionPlace);
        tryCompare(failure, "opacity", 1);
        SystemBridge.clearCalls();
        mouseClick(part(failure.contentItem, "cancelButton"));
        tryVerify(() => findChild(questionPlace, "upgradeWindow") === null);
        compare(opened(), []);
    }
}
