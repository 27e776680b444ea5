import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug
import VexoDeckNetwork
import VexoDeckTest
import VexoDeckTranslation

/* The question of the first start, whether usage data is shared. */
MainWindowTestCase {
    id: testCase

    name: "ConsentQuestion"

    readonly property Component settingsComponent: Component {
        SettingsWindow {}
    }
    readonly property var dialog: window?.consentQuestion?.dialog ?? null

    // The first start on a platform, with what the settings hold.
    function start(platformName, lines) {
        MessageDialogMgr.parentWindow = null;
        window?.destroy();
        startWith(lines, "linux");
        VxConfig.platformName = platformName;
        NetworkManager.clearCalls();
        openWindow();
    }

    function init() {
        initMainWindow();
        NetworkManager.holds = true;
    }

    function cleanup() {
        VxConfig.platformName = Qt.platform.os;
        NetworkManager.holds = false;
        compare(TestLog.takeFaults(), []);
    }

    // The calls of the service since the start, by the ends of their paths, but for the questions for updates.
    function called() {
        const names = Array.from(NetworkManager.calls).filter(call => call.url).map(call => call.url.slice(call.url.lastIndexOf("/") + 1));
        return names.filter(name => !["software", "getFirmware"].includes(name));
    }

    function press(name) {
        mouseClick(findChild(dialog.contentItem, name));
        wait(0);
    }

    function test_nobody_is_asked_who_has_answered_or_is_not_on_linux_data() {
        return [
            {
                tag: "agreed",
                platformName: "linux",
                lines: ["share_data=true"]
            },
            {
                tag: "refused",
                platformName: "linux",
                lines: ["share_data=false"]
            },
            {
                tag: "Windows",
                platformName: "windows",
                lines: []
            }
        ];
    }

    function test_nobody_is_asked_who_has_answered_or_is_not_on_linux(data) {
        start(data.platformName, data.lines);
        compare(dialog, null);
        compare(MessageDialogMgr.shownCount, 0);
    }

    function test_until_the_answer_nothing_is_stored_or_sent_but_the_question_for_an_identity() {
        start("linux", []);
        verify(dialog.visible);
        compare([dialog.title, dialog.confirmText, dialog.cancelText], ["是否与VEXO分享使用数据？", "同意", "不同意"]);
        connectDevice(mixdeskR2);
        compare(ConfigMgr.getValue("share_data"), false);
        compare(called(), ["trackId"]);
    }

    function test_a_yes_is_kept_and_reports_the_start_and_the_device() {
        start("linux", ["trackId=77"]);
        connectDevice(mixdeskR2);
        press("confirmButton");
        verify(!dialog.visible);
        compare(stored("share_data"), "true");
        compare(called(), ["track", "connect"]);
    }

    function test_a_yes_without_a_device_reports_the_start() {
        start("linux", ["trackId=77"]);
        press("confirmButton");
        compare(called(), ["track"]);
    }

    function test_a_no_is_kept_and_nothing_is_sent() {
        start("linux", ["trackId=77"]);
        connectDevice(mixdeskR2);
        press("cancelButton");
        verify(!dialog.visible);
        compare(stored("share_data"), "false");
        compare(called(), []);
        start("linux", ["share_data=false"]);
        compare(dialog, null);
    }

    function test_a_question_without_an_answer_comes_again() {
        start("linux", []);
        compare(stored("share_data"), undefined);
        start("linux", []);
        verify(dialog.visible);
    }

    function test_the_question_follows_the_language() {
        start("linux", []);
        TranslationManager.setLanguage("en_US");
        compare([dialog.title, dialog.confirmText, dialog.cancelText], ["Share usage data with VEXO?", "Agree", "Disagree"]);
        TranslationManager.setLanguage("zh_CN");
    }

    function test_the_box_of_the_settings_answers_it_and_follows_its_answer() {
        start("linux", ["trackId=77"]);
        const settings = createTemporaryObject(settingsComponent, testCase);
        const box = findChild(settings.contentItem, "shareDataCheckBox");
        compare(box.checked, false);
        press("confirmButton");
        compare(box.checked, true);
        start("linux", ["trackId=77"]);
        ConfigMgr.setValue("share_data", true);
        verify(!dialog.visible);
    }
}
