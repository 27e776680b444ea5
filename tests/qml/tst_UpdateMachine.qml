import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug
import VexoDeckSystemBridge
import VexoDeckTest

/* The way of an update, from the check to the installation, against scripted answers of the service. */
UpdateTestCase {
    id: testCase

    name: "UpdateMachine"

    property ApplicationUpdate row: null
    property int failures: 0
    readonly property string question: "有新版本可升级，是否重启并升级软件？"

    Component {
        id: rowComponent

        ApplicationUpdate {
            width: 520
            onInstallFailed: testCase.failures++
        }
    }

    screen: row

    function init() {
        initUpdate("windows");
        failures = 0;
        ConfigMgr.setValue("auto_install", false);
        storeCalls = [];
    }

    function cleanup() {
        if (row)
            discard(row);
        row = null;
        cleanupUpdate();
    }

    // As the program starts: the settings window is hidden.
    function build(shown) {
        row = createTemporaryObject(rowComponent, testCase, {
            shown: shown ?? false
        });
        verify(row);
    }

    function stat() {
        return child("statBox").stat;
    }

    function button() {
        return child("checkUpdateButton");
    }

    // To the end of the download.
    function download(shown) {
        build(shown);
        answer("app", applicationOffer(address));
        compare(stat(), 4);
        take("download").success(true, {});
    }

    function test_the_texts_and_the_button_of_each_state_data() {
        const row = (stat, text, button, enabled) => ({
                    tag: String(stat),
                    stat: stat,
                    text: text,
                    button: button,
                    enabled: enabled
                });
        return [row(0, Application.name + " 当前已是最新版本", "检查更新", true), row(1, "正在检测更新", "检查更新", false), row(2, "新版本下载失败，请检查网络环境或稍后重试", "重试", true), row(3, "新版本 1.2.3 下载完成，重新启动以进行升级", "立即更新", true), row(4, "正在下载新版本 1.2.3", "检查更新", false)];
    }

    function test_the_texts_and_the_button_of_each_state(data) {
        build();
        child("statBox").stat = data.stat;
        compare(child("description").text, data.text);
        compare(child("version").text, "1.2.3");
        compare(button().text, data.button);
        compare(button().enabled, data.enabled);
        requests = [];
        mouseClick(button());
        compare(asked(), data.stat === 0 || data.stat === 2 ? ["app"] : []);
        compare(installed(), data.stat === 3 ? [""] : []);
    }

    function test_a_check_begins_when_the_row_is_built() {
        build();
        compare(stat(), 1);
        compare(asked(), ["app"]);
        compare(written(), []);
    }

    function test_a_waiting_installer_starts_at_the_next_start_and_nothing_is_checked_data() {
        return [
            {
                tag: "starts",
                installs: true,
                failures: 0
            },
            {
                tag: "does not start",
                installs: false,
                failures: 1
            }
        ];
    }

    function test_a_waiting_installer_starts_at_the_next_start_and_nothing_is_checked(data) {
        ConfigMgr.setValue("auto_install", true);
        ConfigMgr.setValue("auto_install_path", target);
        SystemBridge.installs = data.installs;
        const pathsAtInstall = [];
        const note = () => pathsAtInstall.push(ConfigMgr.getValue("auto_install_path"));
        SystemBridge.callsChanged.connect(note);
        build();
        SystemBridge.callsChanged.disconnect(note);
        compare(pathsAtInstall, [""], "cleared before");
        compare(installed(), [target]);
        compare(failures, data.failures);
        compare(asked(), []);
        compare(stored("auto_install_path"), "");
        // The start after that one.
        discard(row);
        build();
        compare(installed(), [target]);
        compare(asked(), ["app"]);
    }

    function test_an_installer_waits_only_with_a_path_and_the_users_word_data() {
        return [
            {
                tag: "no word",
                word: false,
                path: "/somewhere/x"
            },
            {
                tag: "no path",
                word: true,
                path: ""
            }
        ];
    }

    function test_an_installer_waits_only_with_a_path_and_the_users_word(data) {
        ConfigMgr.setValue("auto_install", data.word);
        ConfigMgr.setValue("auto_install_path", data.path);
        build();
        compare(installed(), []);
        compare(asked(), ["app"]);
        compare(setting("auto_install_path"), data.path);
    }

    function setting(key) {
        return ConfigMgr.getValue(key);
    }

    function test_answers_data() {
        const row = (tag, text, stat, next) => ({
                    tag: tag,
                    text: text,
                    stat: stat,
                    next: next
                });
        return [row("an offer", JSON.stringify(applicationOffer(address)), 4, ["download"]), row("an offer without an address", JSON.stringify(applicationOffer("")), 2, []), row("an offer with a number", JSON.stringify(applicationOffer(5)), 2, []), row("nothing new", '{"code":0,"data":{"upgradeFlag":0}}', 0, ["firmware"]), row("no data", '{"code":0}', 0, ["firmware"]), row("data null", '{"code":0,"data":null}', 0, ["firmware"]), row("code 5", '{"code":5,"data":{"upgradeFlag":1,"upgradeDate":{"fileUrl":"u"}}}', 2, ["firmware"]), row("null", "null", 2, ["firmware"]), row("a list", "[]", 2, ["firmware"]), row("a text", '"x"', 2, ["firmware"]), row("an empty map", "{}", 2, ["firmware"])];
    }

    function test_answers(data) {
        build();
        answer("app", JSON.parse(data.text));
        compare(stat(), data.stat);
        compare(asked(), data.next);
        compare(MessageDialogMgr.shownCount, 0);
    }

    function test_a_check_without_an_answer_is_a_failure_and_the_firmware_is_asked_for() {
        build();
        fail("app");
        compare(stat(), 2);
        compare(asked(), ["firmware"]);
        fail("firmware");
        compare(stat(), 2);
        mouseClick(button());
        compare(stat(), 1);
        compare(asked(), ["app"]);
    }

    function test_the_installer_is_fetched_from_its_address() {
        build();
        answer("app", applicationOffer(address));
        compare(requests[0].url, address);
        compare([row.downloadUrl, row.downloadedPath], [address, target]);
        requests[0].progress(1, 2);
        compare([stat(), child("description").text], [4, "正在下载新版本 1.2.3"]);
    }

    function test_a_download_that_fails_by_either_callback_data() {
        return [
            {
                tag: "error",
                end: request => request.error(1, "cut off")
            },
            {
                tag: "no success",
                end: request => request.success(false, {})
            },
            {
                tag: "no folder for it",
                end: request => request.error(false, {
                        error: "No temp directory available"
                    }, "")
            }
        ];
    }

    function test_a_download_that_fails_by_either_callback(data) {
        build();
        answer("app", applicationOffer(address));
        data.end(take("download"));
        compare(stat(), 2);
        compare(asked(), []);
        compare(MessageDialogMgr.shownCount, 0);
        // The user tries again.
        mouseClick(button());
        answer("app", applicationOffer(address));
        take("download").success(true, {});
        compare(stat(), 3);
        discard(row);
    }

    function test_with_automatic_installation_the_download_waits_for_the_next_start() {
        ConfigMgr.setValue("auto_install", true);
        download();
        compare(stat(), 3);
        compare(stored("auto_install_path"), target);
        compare(MessageDialogMgr.shownCount, 0);
        compare([asked(), installed()], [[], []]);
    }

    function test_the_question_comes_where_the_button_is_not_seen_and_its_confirmation_installs() {
        download();
        compare(stat(), 3);
        compare(row.upgradeDialog.title, question);
        compare([row.upgradeDialog.confirmText, row.upgradeDialog.cancelText], ["立即升级", "取消"]);
        press(row.upgradeDialog, "confirmButton");
        compare(installed(), [target]);
        compare(failures, 0);
        compare(asked(), []);
        compare(setting("auto_install_path"), "");
    }

    function test_an_installer_that_does_not_start_is_told() {
        SystemBridge.installs = false;
        download();
        press(row.upgradeDialog, "confirmButton");
        compare(failures, 1);
        mouseClick(button());
        compare(failures, 2);
        compare(installed(), [target, target]);
    }

    function test_the_refusal_is_logged_and_the_firmware_is_asked_for() {
        download();
        TestLog.begin();
        press(row.upgradeDialog, "cancelButton");
        compare(linesWith("用户选择稍后安装").length, 1);
        compare(asked(), ["firmware"]);
        compare(installed(), []);
        compare([stat(), button().text], [3, "立即更新"]);
    }

    function test_where_the_button_is_seen_there_is_no_question() {
        download(true);
        compare(row.upgradeDialog, null);
        compare(asked(), []);
        mouseClick(button());
        compare(installed(), [target]);
    }

    function test_a_double_click_starts_one_installer() {
        download(true);
        mouseDoubleClickSequence(button());
        compare(installed(), [target]);
    }

    function test_button_and_question_start_one_installer() {
        download();
        tryCompare(row.upgradeDialog, "opened", true);
        mouseClick(button());
        press(row.upgradeDialog, "confirmButton");
        compare(installed(), [target]);
        compare(failures, 0);
    }

    function test_there_is_one_question_at_a_time() {
        download();
        const first = row.upgradeDialog;
        row.checkUpdate();
        answer("app", applicationOffer(address));
        take("download").success(true, {});
        compare(row.upgradeDialog, first);
        compare(MessageDialogMgr.shownCount, 1);
        press(first, "cancelButton");
        requests = [];
        row.checkUpdate();
        answer("app", applicationOffer(address));
        take("download").success(true, {});
        verify(row.upgradeDialog !== first);
        compare(MessageDialogMgr.shownCount, 1);
        discard(row);
    }

    function test_the_end_of_the_row_closes_its_questions() {
        connectDevice(mixdeskR2);
        download();
        row.checkUpdateFirmware();
        answer("firmware", firmwareOffer("http://x.example/fw.bin"));
        compare(MessageDialogMgr.shownCount, 2);
        discard(row);
        compare(MessageDialogMgr.shownCount, 0);
    }

    function test_answers_after_the_end_of_the_row_are_harmless() {
        build();
        const check = take("app");
        row.checkUpdateFirmware();
        const firmware = take("firmware");
        row.downloadAppFile();
        const download = take("download");
        discard(row);
        check.success(true, applicationOffer(address));
        check.error(1, "");
        firmware.success(true, firmwareOffer("http://x.example/fw.bin"));
        firmware.error(1, "");
        download.progress(1, 2);
        download.success(true, {});
        download.error(1, "");
        compare([asked(), MessageDialogMgr.shownCount], [[], 0]);
    }

    // ---- the firmware

    function askAboutFirmware(name) {
        connectDevice(Object.assign({}, mixdeskR2, {
            name: name
        }));
        build();
        answer("app", nothingNew());
        answer("firmware", firmwareOffer("http://x.example/fw.bin"));
        compare(stat(), 0);
    }

    function test_the_question_about_the_firmware_has_the_devices_name_data() {
        return ["VEXO Mixdesk R2", "VEXO Voxmic M40", "$&", "$1 %1 \\", "<b>名字</b>"].map(name => ({
                    tag: name,
                    name: name
                }));
    }

    function test_the_question_about_the_firmware_has_the_devices_name(data) {
        askAboutFirmware(data.name);
        compare(row.firmwareUpgradeDialog.title, data.name + " 有新固件可升级，是否升级设备？");
        discard(row);
    }

    function test_the_confirmation_stops_the_device_first_and_then_starts_the_upgrade() {
        askAboutFirmware("VEXO Mixdesk R2");
        HIDHotplugManager.clearCalls();
        published = [];
        let stoppedBefore = false;
        const note = topic => stoppedBefore = HIDHotplugManager.calls.some(call => call.name === "stopAndDisconnectDevice");
        MessageBus.subscribe(MessageBus.messageTypes.UPDATE_FIRMWARE, note);
        press(row.firmwareUpgradeDialog, "confirmButton");
        MessageBus.unsubscribe(MessageBus.messageTypes.UPDATE_FIRMWARE, note);
        compare(stoppedBefore, true);
        compare(payloadsOf(MessageBus.messageTypes.UPDATE_FIRMWARE), ["http://x.example/fw.bin"]);
    }

    function test_the_refusal_of_the_firmware_is_logged_and_nothing_else() {
        askAboutFirmware("VEXO Mixdesk R2");
        HIDHotplugManager.clearCalls();
        published = [];
        TestLog.begin();
        press(row.firmwareUpgradeDialog, "cancelButton");
        compare(linesWith("用户选择稍后安装").length, 1);
        compare([published.length, HIDHotplugManager.calls.length, asked().length], [0, 0, 0]);
    }

    function test_firmware_without_an_address_is_a_line_of_the_log() {
        build();
        answer("app", nothingNew());
        answer("firmware", firmwareOffer(""));
        compare(linesWith("检测到可升级固件，但未提供下载地址").length, 1);
        compare(row.firmwareUpgradeDialog, null);
    }

    function test_there_is_one_question_about_the_firmware_at_a_time() {
        askAboutFirmware("VEXO Mixdesk R2");
        const first = row.firmwareUpgradeDialog;
        row.checkUpdateFirmware();
        answer("firmware", firmwareOffer("http://x.example/other.bin"));
        compare(row.firmwareUpgradeDialog, first);
        compare(MessageDialogMgr.shownCount, 1);
        press(first, "cancelButton");
        row.checkUpdateFirmware();
        answer("firmware", firmwareOffer("http://x.example/other.bin"));
        verify(row.firmwareUpgradeDialog !== first);
        discard(row);
    }

    function test_a_check_of_the_firmware_that_fails_shows_nothing_data() {
        return ["null", "[]", '"x"', "{}", '{"code":1,"data":{"isUpgrade":"1"}}', '{"code":0,"data":{"isUpgrade":"0"}}', '{"code":0,"data":null}'].map(text => ({
                    tag: text,
                    text: text
                }));
    }

    function test_a_check_of_the_firmware_that_fails_shows_nothing(data) {
        build();
        answer("app", nothingNew());
        answer("firmware", JSON.parse(data.text));
        compare([stat(), MessageDialogMgr.shownCount], [0, 0]);
    }

    function test_a_device_that_is_not_ready_gets_no_question_data() {
        return [
            {
                tag: "none at the request",
                before: () => loseDevice(),
                between: () => connectDevice(mixdeskR2)
            },
            {
                tag: "none at the answer",
                before: () => connectDevice(mixdeskR2),
                between: () => loseDevice()
            },
            {
                tag: "without a name",
                before: () => connectDevice(Object.assign({}, mixdeskR2, {
                        name: ""
                    })),
                between: () => {}
            },
            {
                tag: "another one at the answer",
                before: () => connectDevice(mixdeskR2),
                between: () => swapFor(voxmicM40)
            },
            {
                tag: "another one of the model",
                before: () => connectDevice(mixdeskR2),
                between: () => swapFor(otherMixdesk)
            }
        ];
    }

    readonly property var otherMixdesk: Object.assign({}, mixdeskR2, {
        sn: "R2-0002"
    })

    function loseDevice() {
        HIDHotplugManager.deviceConnected(HIDDeviceMgr.deviceInfo, false);
    }

    // Another device, as it tells about itself.
    function swapFor(info) {
        loseDevice();
        connectDevice({
            dpid: info.dpid
        });
        connectDevice(info);
    }

    function test_a_device_that_is_not_ready_gets_no_question(data) {
        build();
        answer("app", nothingNew());
        take("firmware");
        data.before();
        row.checkUpdateFirmware();
        data.between();
        answer("firmware", firmwareOffer("http://x.example/fw.bin"));
        compare([MessageDialogMgr.shownCount, row.firmwareUpgradeDialog], [0, null]);
    }

    function test_the_question_about_the_firmware_goes_with_its_device_data() {
        return [
            {
                tag: "lost",
                change: () => loseDevice()
            },
            {
                tag: "another model",
                change: () => swapFor(voxmicM40)
            },
            {
                tag: "another one of the model",
                change: () => swapFor(otherMixdesk)
            }
        ];
    }

    function test_the_question_about_the_firmware_goes_with_its_device(data) {
        askAboutFirmware("VEXO Mixdesk R2");
        tryCompare(row.firmwareUpgradeDialog, "opened", true);
        HIDHotplugManager.clearCalls();
        published = [];
        data.change();
        compare(row.firmwareUpgradeDialog.visible, false);
        compare(MessageDialogMgr.shownCount, 0);
        compare(payloadsOf(MessageBus.messageTypes.UPDATE_FIRMWARE), []);
        verify(!HIDHotplugManager.calls.some(call => call.name === "stopAndDisconnectDevice"));
    }

    function test_the_question_about_the_firmware_waits_until_it_can_be_answered() {
        connectDevice(mixdeskR2);
        build(true);
        answer("app", nothingNew());
        answer("firmware", firmwareOffer("http://x.example/fw.bin"));
        compare(MessageDialogMgr.shownCount, 0);
        row.shown = false;
        compare(MessageDialogMgr.shownCount, 1);
        press(row.firmwareUpgradeDialog, "cancelButton");
        row.shown = true;
        row.shown = false;
        compare(MessageDialogMgr.shownCount, 0);
    }

    function test_a_question_that_waits_goes_with_its_device() {
        connectDevice(mixdeskR2);
        build(true);
        answer("app", nothingNew());
        answer("firmware", firmwareOffer("http://x.example/fw.bin"));
        swapFor(otherMixdesk);
        row.shown = false;
        compare(MessageDialogMgr.shownCount, 0);
    }

    // ---- Linux: what is offered is fetched by the user.

    function buildOnLinux(shown) {
        VxConfig.platformName = "linux";
        ConfigMgr.setValue("auto_install", true);
        build(shown);
    }

    function test_on_linux_no_waiting_installer_is_started() {
        ConfigMgr.setValue("auto_install_path", target);
        buildOnLinux();
        compare(installed(), []);
        compare(asked(), ["app"]);
        compare(setting("auto_install_path"), target);
    }

    function test_on_linux_an_offer_leads_to_its_page_and_nothing_is_fetched() {
        buildOnLinux(true);
        answer("app", applicationOffer(address));
        compare([stat(), child("description").text], [3, "有新版本可升级"]);
        compare([button().text, button().enabled], ["立即更新", true]);
        compare(asked(), []);
        compare(row.upgradeDialog, null);
        mouseClick(button());
        compare(opened(), [NetworkMgr.default_url]);
        compare(installed(), []);
    }

    function test_on_linux_a_double_click_opens_one_page() {
        buildOnLinux(true);
        answer("app", applicationOffer(address));
        mouseDoubleClickSequence(button());
        compare(opened(), [NetworkMgr.default_url]);
    }

    function test_on_linux_the_question_offers_the_page() {
        buildOnLinux();
        answer("app", applicationOffer(address));
        compare(row.upgradeDialog.title, "有新版本可升级，是否打开下载页面？");
        compare(opened(), []);
        press(row.upgradeDialog, "confirmButton");
        compare(opened(), [NetworkMgr.default_url]);
        compare([installed(), asked()], [[], []]);
    }

    function test_on_linux_the_refusal_asks_for_the_firmware() {
        buildOnLinux();
        answer("app", applicationOffer(address));
        press(row.upgradeDialog, "cancelButton");
        compare([opened(), asked()], [[], ["firmware"]]);
    }
}
