import QtQuick
import QtQuick.Controls
import QtTest
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug
import VexoDeckNetwork
import VexoDeckSystemBridge
import VexoDeckTest

/* The firmware upgrade as the welcome page shows it. */
MainWindowTestCase {
    id: testCase

    name: "FirmwareView"

    readonly property string url: "https://vexo.example/firmware/r2_v105.bin"
    readonly property string downloading: "正在下载最新固件"
    readonly property string installing: "正在安装最新固件"
    readonly property string downloadFailed: "新版本下载失败，请检查网络环境或稍后重试"
    readonly property WelcomeLayout page: stackView ? stackView.get(0) as WelcomeLayout : null

    // The files passed to the installer. The tests' reports stand for the transfer.
    property var installedPaths: []

    function init() {
        installedPaths = [];
        initMainWindow();
        page.installer = path => installedPaths.push(path);
    }

    function storedPath() {
        return ConfigMgr.getValue("upgradeFirmwareFilePath");
    }

    function shownButtons() {
        return ["btn1", "btn2", "btn3"].filter(name => child(name).visible);
    }

    // The upgrade view: its text, the bar's value or null for no bar, and the buttons.
    function compareView(status, value, buttons) {
        compare(child("upgradeView").visible, true);
        compare(child("deviceImage").visible, false);
        compare(child("title").visible, false);
        compare(child("resetText").text, status);
        compare(child("progressBar").visible, value !== null);
        if (value !== null)
            compare(child("progressBar").value, value);
        compare(shownButtons(), buttons);
    }

    function startUpgrade(info) {
        connectDevice(info);
        MessageBus.publishUpdateFirmware(url);
        tryCompare(stackView, "busy", false);
    }

    function startInstalling(info) {
        startUpgrade(info);
        page.handleDownloadDone("/tmp/firmware.bin");
    }

    function storeFile(model) {
        ConfigMgr.setValue("upgradeFirmwareFilePath", "/tmp/stored.bin");
        ConfigMgr.setValue("upgradeFirmwareModel", model);
    }

    // The scan meets a mixer in its bootloader.
    function findBootloader() {
        HIDHotplugManager.bootloaderPresent = true;
        HIDHotplugManager.upgradeFirmwareSignal();
    }

    function loseDuringUpgrade(info) {
        TestLog.expect("ReferenceError: upgradeTimeoutTimer is not defined");
        HIDHotplugManager.deviceConnected(info, false);
    }

    function report(progress, message) {
        HIDHotplugManager.upgradeFirmwareProgress(progress, message);
    }

    function test_the_first_view_is_shown_while_there_is_no_upgrade() {
        compare(page.isUpdateFirmware, false);
        compare(page.downloadUrl, "");
        compare(child("upgradeView").visible, false);
        compareWaiting();
    }

    function test_the_message_starts_the_download_and_shows_the_view() {
        ConfigMgr.setValue("upgradeFirmwareFilePath", "/tmp/older.bin");
        startUpgrade(mixdeskR2);
        compare(page.isUpdateFirmware, true);
        compare(page.downloadUrl, url);
        compare(storedPath(), "");
        compareView(downloading, 0, []);
        compare(installedPaths, []);
    }

    function test_a_message_without_an_address_changes_nothing() {
        connectDevice(mixdeskR2);
        MessageBus.publishUpdateFirmware("");
        compare(page.isUpdateFirmware, false);
        compare(child("upgradeView").visible, false);
    }

    function test_the_message_leads_back_from_the_main_layout() {
        openMainLayout(mixdeskR2);
        let destroyed = false;
        stackView.currentItem.Component.destruction.connect(() => destroyed = true);
        startUpgrade(mixdeskR2);
        compare(stackView.depth, 1);
        tryVerify(() => destroyed);
        compareView(downloading, 0, []);
    }

    function test_the_bar_follows_the_received_bytes() {
        startUpgrade(mixdeskR2);
        for (const [received, total, value] of [[0, 4000, 0], [1000, 4000, 0.25], [4000, 4000, 1], [10, 0, 0]]) {
            page.handleDownloadProgress(received, total);
            compareView(downloading, value, []);
        }
    }

    function test_a_finished_download_is_installed() {
        startUpgrade(mixdeskR2);
        page.handleDownloadProgress(4000, 4000);
        page.handleDownloadDone("/tmp/firmware.bin");
        compare(storedPath(), "/tmp/firmware.bin");
        compare(stored("upgradeFirmwareFilePath"), "/tmp/firmware.bin");
        compareView(installing, 0, []);
        compare(installedPaths, ["/tmp/firmware.bin"]);
    }

    function lastDownload() {
        return Array.from(NetworkManager.calls).filter(call => call.name === "downloadFile").pop();
    }

    function test_the_firmware_is_fetched_shown_and_installed() {
        startUpgrade(mixdeskR2);
        const call = lastDownload();
        compare(call.url, url);
        NetworkManager.downloadProgress(call.id, 1000, 4000);
        compareView(downloading, 0.25, []);
        NetworkManager.requestCompleted(call.id, true, {
            status_code: 200
        });
        wait(0);
        compare(installedPaths, [call.path]);
        compare(storedPath(), call.path);
        compareView(installing, 0, []);
    }

    function test_a_download_that_ends_with_an_error_can_be_tried_again() {
        startUpgrade(mixdeskR2);
        const first = lastDownload();
        NetworkManager.requestError(first.id, 2, "closed");
        NetworkManager.requestError(first.id, 2, "Network disconnection");
        NetworkManager.requestCompleted(first.id, false, {
            error: "closed",
            error_code: 2
        });
        wait(0);
        compareView(downloadFailed, null, ["btn1", "btn3"]);
        mouseClick(child("btn3"));
        compareView(downloading, 0, []);
        verify(lastDownload().id > first.id);
        compare(lastDownload().url, url);
        compare(installedPaths, []);
    }

    function test_a_download_without_a_folder_has_failed() {
        SystemBridge.tempDirectory = "";
        startUpgrade(mixdeskR2);
        SystemBridge.tempDirectory = "/somewhere";
        compareView(downloadFailed, null, ["btn1", "btn3"]);
    }

    function test_a_failed_download_offers_another_try() {
        startUpgrade(mixdeskR2);
        page.handleDownloadFailed();
        compareView(downloadFailed, null, ["btn1", "btn3"]);
        compare(child("btn1").text, "取消");
        compare(child("btn3").text, "重试");
        mouseClick(child("btn3"));
        compareView(downloading, 0, []);
        compare(installedPaths, []);
    }

    function test_the_bar_follows_the_transfer() {
        startInstalling(voxmicM40);
        for (const [progress, message] of [[0, "可以升级"], [1, "升级进度:1"], [57, "升级进度:57"], [99, "升级进度:99"]]) {
            report(progress, message);
            compareView(installing, progress / 100, []);
        }
    }

    function test_a_refusal_leaves_the_bar_at_0_data() {
        return ["不可以升级电量低", "不可以升级设备忙", "对码中不可以升级"].map(message => ({
                    tag: message
                }));
    }

    function test_a_refusal_leaves_the_bar_at_0(row) {
        startInstalling(voxmicM40);
        report(0, row.tag);
        compareView(installing, 0, []);
    }

    function test_the_end_of_the_transfer_is_a_success_data() {
        return ["升级成功", "升级失败,版本低", "升级失败,校验失败"].map(message => ({
                    tag: message
                }));
    }

    function test_the_end_of_the_transfer_is_a_success(row) {
        startInstalling(voxmicM40);
        report(100, row.tag);
        compareView("升级成功", null, ["btn2"]);
        compare(child("btn2").text, "确定");
    }

    function test_two_verdicts_show_one_view() {
        startInstalling(voxmicM40);
        report(100, "升级失败,版本低");
        report(100, "升级失败,校验失败");
        compareView("升级成功", null, ["btn2"]);
    }

    function test_progress_100_without_a_verdict_is_not_the_end() {
        startInstalling(voxmicM40);
        report(100, "升级进度:100");
        compareView(installing, 1, []);
        report(255, "升级进度:255");
        compareView(installing, 1, []);
        report(100, "升级成功");
        compareView("升级成功", null, ["btn2"]);
    }

    function test_a_verdict_below_100_is_not_the_end() {
        startInstalling(mixdeskR2);
        report(95, "升级成功");
        compareView(installing, 0.95, []);
    }

    function test_reports_without_an_upgrade_change_nothing_and_take_no_focus() {
        openMainLayout(voxmicM40);
        activateWindow();
        const focused = window.activeFocusItem;
        for (const [progress, message] of [[0, "升级失败"], [100, "升级失败"], [100, "升级成功"], [50, "升级进度:50"]]) {
            report(progress, message);
            compare(window.activeFocusItem, focused);
            compare(page.isUpdateFirmware, false);
        }
        MessageBus.publishUpdateFirmware(url);
        tryCompare(stackView, "busy", false);
        report(100, "升级失败");
        compareView(downloading, 0, []);
    }

    // ---- a microphone that stalls

    function test_a_stalled_microphone_fails_after_30_seconds_data() {
        return [["silent", () => {}], ["refused", () => report(0, "不可以升级电量低")], ["stopped", () => report(50, "升级进度:50")]].map(([tag, prepare]) => ({
                    tag: tag,
                    prepare: prepare
                }));
    }

    function test_a_stalled_microphone_fails_after_30_seconds(row) {
        compare(page.watch.silenceMs, 30000);
        page.watch.silenceMs = 100;
        startInstalling(voxmicM40);
        row.prepare();
        tryCompare(child("resetText"), "text", "升级失败");
        compareView("升级失败", null, ["btn1", "btn3"]);
        compare(HIDDeviceMgr.installing, false);
    }

    function test_each_report_winds_the_watch() {
        page.watch.lossMs = 50;
        startInstalling(voxmicT40);
        compare(page.watch.timer.running, true);
        compare(page.watch.timer.interval, 30000);
        const started = countStarts();
        report(1, "升级进度:1");
        report(2, "升级进度:2");
        compare(started.count, 2);
    }

    // How often the watch starts anew: the timer stops for a moment.
    function countStarts() {
        const started = {
            count: 0
        };
        page.watch.timer.runningChanged.connect(() => {
            if (page.watch.timer.running)
                started.count++;
        });
        return started;
    }

    function test_the_watch_ends_with_the_verdict() {
        startInstalling(voxmicM40);
        report(100, "升级成功");
        compare(page.watch.timer.running, false);
    }

    function test_a_mixer_has_no_watch() {
        startInstalling(mixdeskR2);
        compare(page.watch.timer.running, false);
    }

    function test_a_microphone_lost_in_its_transfer_fails_after_5_seconds() {
        compare(page.watch.lossMs, 5000);
        page.watch.lossMs = 100;
        startInstalling(voxmicM40);
        report(40, "升级进度:40");
        loseDuringUpgrade(voxmicM40);
        compareView(installing, 0.4, []);
        compare(page.watch.timer.interval, 100);
        tryCompare(child("resetText"), "text", "升级失败");
        compareView("升级失败", null, ["btn1", "btn3"]);
    }

    function test_a_second_loss_does_not_lengthen_the_wait() {
        startInstalling(voxmicM40);
        loseDuringUpgrade(voxmicM40);
        const started = countStarts();
        loseDuringUpgrade(voxmicM40);
        compare(started.count, 0);
        compare(page.watch.timer.interval, 5000);
    }

    function test_after_the_failure_of_a_lost_microphone_the_page_has_a_way_out() {
        page.watch.lossMs = 50;
        startInstalling(voxmicM40);
        loseDuringUpgrade(voxmicM40);
        tryCompare(child("btn1"), "visible", true);
        mouseClick(child("btn1"));
        compare(page.isUpdateFirmware, false);
        compare(callsNamed("leaveBootloader"), []);
    }

    function test_another_try_waits_for_the_microphone_to_come_back() {
        page.watch.lossMs = 50;
        startInstalling(voxmicM40);
        loseDuringUpgrade(voxmicM40);
        tryCompare(child("btn3"), "visible", true);
        mouseClick(child("btn3"));
        page.handleDownloadDone("/tmp/again.bin");
        compareView(installing, 0, []);
        compare(installedPaths, ["/tmp/firmware.bin"]);
        compare(page.watch.timer.running, true);
        connectDevice(voxmicM40);
        compare(installedPaths, ["/tmp/firmware.bin", "/tmp/again.bin"]);
        report(100, "升级成功");
        compareView("升级成功", null, ["btn2"]);
    }

    function test_a_device_of_another_model_does_not_get_the_firmware() {
        startUpgrade(voxmicM40);
        HIDHotplugManager.deviceConnected(mixdeskR2, true);
        page.handleDownloadDone("/tmp/firmware.bin");
        compare(linesWith("升级固件文件不属于此设备").length, 1);
        compareView("升级失败", null, ["btn1", "btn3"]);
        compare(installedPaths, []);
    }

    function test_an_offer_while_an_upgrade_runs_changes_nothing() {
        startInstalling(voxmicM40);
        report(30, "升级进度:30");
        MessageBus.publishUpdateFirmware("https://vexo.example/firmware/other.bin");
        compareView(installing, 0.3, []);
        compare(page.downloadUrl, url);
        compare(installedPaths.length, 1);
    }

    function test_the_program_knows_that_an_installation_is_shown() {
        compare(HIDDeviceMgr.installing, false);
        startUpgrade(mixdeskR2);
        compare(HIDDeviceMgr.installing, false);
        page.handleDownloadDone("/tmp/firmware.bin");
        compare(HIDDeviceMgr.installing, true);
        report(0, "升级失败");
        compare(HIDDeviceMgr.installing, false);
    }

    // ---- a mixer in its bootloader

    function test_the_very_word_is_a_failure_data() {
        return [0, 42, 100].map(progress => ({
                    tag: String(progress),
                    progress: progress
                }));
    }

    function test_the_very_word_is_a_failure(row) {
        startInstalling(mixdeskR2);
        report(row.progress, "升级失败");
        compareView("升级失败", null, ["btn1", "btn3"]);
    }

    function test_another_try_starts_again_from_the_download() {
        startInstalling(mixdeskR2);
        report(0, "升级失败");
        mouseClick(child("btn3"));
        compareView(downloading, 0, []);
        compare(storedPath(), "");
        compare(installedPaths.length, 1);
    }

    function test_another_try_without_an_address_installs_the_stored_file() {
        connectDevice(mixdeskR2);
        storeFile(0x9829);
        findBootloader();
        report(0, "升级失败");
        mouseClick(child("btn3"));
        compareView(installing, 0, []);
        compare(installedPaths, ["/tmp/stored.bin", "/tmp/stored.bin"]);
    }

    function test_a_bootloader_gets_the_stored_file() {
        connectDevice(mixdeskR2);
        storeFile(0x9829);
        findBootloader();
        compare(page.isUpdateFirmware, true);
        compareView(installing, 0, []);
        compare(installedPaths, ["/tmp/stored.bin"]);
    }

    function test_a_bootloader_in_a_fresh_process_gets_the_mixers_file_and_words() {
        storeFile(0x9829);
        findBootloader();
        compareView(installing, 0, []);
        compare(installedPaths, ["/tmp/stored.bin"]);
        compare(child("progressBar").mainText, "请不要断开设备连接或关闭应用。\n升级期间监听比灯亮属于正常自检，不会修改设置。");
    }

    function test_a_bootloader_that_was_met_before_the_page_existed_is_recovered() {
        window.destroy();
        tryVerify(() => !window);
        storeFile(0x9829);
        findBootloader();
        openWindow();
        compare(page.isUpdateFirmware, true);
        tryVerify(() => callsNamed("upgradeFirmware").length === 1);
        compare(callsNamed("upgradeFirmware")[0].path, "/tmp/stored.bin");
    }

    function test_a_bootloader_takes_no_file_of_another_model_data() {
        return [["a microphone's", 0x1396], ["an unknown one's", 0]].map(([tag, model]) => ({
                    tag: tag,
                    model: model
                }));
    }

    function test_a_bootloader_takes_no_file_of_another_model(row) {
        connectDevice(voxmicM40);
        HIDHotplugManager.deviceConnected(voxmicM40, false);
        storeFile(row.model);
        findBootloader();
        compare(installedPaths, []);
        compare(page.isUpdateFirmware, false);
    }

    function test_a_bootloader_after_a_microphone_gets_the_mixers_file_without_a_watch() {
        connectDevice(voxmicM40);
        HIDHotplugManager.deviceConnected(voxmicM40, false);
        storeFile(0x9829);
        findBootloader();
        compare(installedPaths, ["/tmp/stored.bin"]);
        compare(page.watch.timer.running, false);
    }

    function test_a_downloaded_file_is_stored_with_its_model() {
        startInstalling(voxmicT40);
        compare(ConfigMgr.getValue("upgradeFirmwareModel", 0), 0x1397);
    }

    function test_a_cancelled_recovery_leaves_the_bootloader_and_lets_others_connect() {
        storeFile(0x9829);
        findBootloader();
        report(0, "升级失败");
        mouseClick(child("btn1"));
        compare(HIDHotplugManager.calls.map(call => call.name).slice(-2), ["startAndConnectDevice", "leaveBootloader"]);
        compare(page.isUpdateFirmware, false);
        connectDevice(voxmicM40);
        tryCompare(child("startButton"), "visible", true);
    }

    function test_after_a_success_no_bootloader_is_left() {
        storeFile(0x9829);
        findBootloader();
        report(100, "升级成功");
        mouseClick(child("btn2"));
        compare(callsNamed("leaveBootloader"), []);
        compare(callsNamed("startAndConnectDevice").length, 1);
    }

    function test_a_bootloader_after_a_failure_shows_the_bar_again() {
        startInstalling(mixdeskR2);
        report(0, "升级失败");
        findBootloader();
        compareView(installing, 0, []);
        compare(installedPaths.length, 2);
    }

    function test_a_bootloader_without_a_stored_file_is_logged_only() {
        findBootloader();
        compare(linesWith("升级固件文件路径为空").length, 1);
        compare(page.isUpdateFirmware, false);
        compare(child("upgradeView").visible, false);
        compare(installedPaths, []);
    }

    function test_a_bootloader_does_not_touch_the_stack() {
        openMainLayout(mixdeskR2);
        storeFile(0x9829);
        findBootloader();
        compare(stackView.depth, 2);
        compare(stackView.busy, false);
        compare(page.isUpdateFirmware, true);
    }

    function test_the_buttons_end_the_view_and_start_the_search_for_the_device_data() {
        return [
            {
                tag: "cancel",
                button: "btn1",
                progress: 0,
                message: "升级失败"
            },
            {
                tag: "ok",
                button: "btn2",
                progress: 100,
                message: "升级成功"
            }
        ];
    }

    function test_the_buttons_end_the_view_and_start_the_search_for_the_device(row) {
        startInstalling(mixdeskR2);
        report(row.progress, row.message);
        mouseClick(child(row.button));
        compare(page.isUpdateFirmware, false);
        compare(child("upgradeView").visible, false);
        compare(callsNamed("startAndConnectDevice").length, 1);
    }

    function test_an_upgrade_from_the_main_screen_leads_to_the_welcome_page_and_no_further() {
        openMainLayout(voxmicM40);
        MessageBus.publishUpdateFirmware(url);
        compare(stackView.depth, 1);
        page.handleDownloadDone("/tmp/firmware.bin");
        // The device restarts with the new firmware.
        TestLog.expect("ReferenceError: upgradeTimeoutTimer is not defined");
        HIDHotplugManager.deviceConnected(voxmicM40, false);
        report(100, "升级成功");
        tryCompare(stackView, "busy", false);
        mouseClick(child("btn2"));
        // The first view is unchanged and waits for the device's report.
        compare(page.isUpdateFirmware, false);
        compare(child("title").text, "VEXO Voxmic M40");
        connectDevice(voxmicM40);
        tryCompare(child("startButton"), "visible", true);
        compare(stackView.depth, 1);
        mouseClick(child("startButton"));
        compare(stackView.depth, 2);
    }

    // The mixer is disconnected before its upgrade starts, so the first view waits.
    function test_after_the_upgrade_of_a_mixer_that_was_let_go_the_page_waits_for_it() {
        openMainLayout(mixdeskR2);
        loseDevice();
        startInstalling(mixdeskR2Incomplete());
        report(100, "升级成功");
        mouseClick(child("btn2"));
        compareWaiting();
        compare(stackView.depth, 1);
        connectDevice(mixdeskR2);
        tryCompare(child("startButton"), "visible", true);
        compare(stackView.depth, 1);
        mouseClick(child("startButton"));
        compare(stackView.depth, 2);
    }

    // What the manager knows while the device is away: connectDevice() then counts as a loss.
    function mixdeskR2Incomplete() {
        return Object.assign({}, mixdeskR2, {
            sn: "N/A"
        });
    }

    function test_after_an_upgrade_the_first_view_is_as_it_was_left() {
        startInstalling(voxmicM40);
        report(100, "升级成功");
        mouseClick(child("btn2"));
        tryCompare(child("startButton"), "visible", true);
        compare(child("title").text, "VEXO Voxmic M40");
        compare(stackView.depth, 1);
    }

    function test_a_device_lost_during_the_upgrade_leaves_the_view_as_it_is_data() {
        return [
            {
                tag: "downloading",
                prepare: () => page.handleDownloadProgress(1, 2),
                status: downloading,
                value: 0.5,
                buttons: []
            },
            {
                tag: "transferring",
                prepare: () => {
                    page.handleDownloadDone("/tmp/firmware.bin");
                    report(50, "升级进度:50");
                },
                status: installing,
                value: 0.5,
                buttons: []
            },
            {
                tag: "failed",
                prepare: () => page.handleDownloadFailed(),
                status: downloadFailed,
                value: null,
                buttons: ["btn1", "btn3"]
            }
        ];
    }

    function test_a_device_lost_during_the_upgrade_leaves_the_view_as_it_is(row) {
        startUpgrade(voxmicM40);
        row.prepare();
        for (const lose of [() => HIDHotplugManager.deviceConnected(voxmicM40, false), () => connectDevice(mixdeskR2Incomplete())]) {
            TestLog.expect("ReferenceError: upgradeTimeoutTimer is not defined");
            lose();
            compare(page.isUpdateFirmware, true);
            compareView(row.status, row.value, row.buttons);
            compare(child("upgradeTitle").text, "VEXO Voxmic M40");
        }
    }

    function test_a_report_after_the_loss_changes_the_view() {
        startInstalling(voxmicM40);
        TestLog.expect("ReferenceError: upgradeTimeoutTimer is not defined");
        HIDHotplugManager.deviceConnected(voxmicM40, false);
        report(100, "升级成功");
        compareView("升级成功", null, ["btn2"]);
    }

    function test_the_view_shows_the_device_and_its_warning_data() {
        const others = "升级中，请不要断开设备连接或关闭应用";
        return [
            {
                tag: "Mixdesk R2",
                info: mixdeskR2,
                image: "icons/device2_r2.png",
                warning: "请不要断开设备连接或关闭应用。\n升级期间监听比灯亮属于正常自检，不会修改设置。"
            },
            {
                tag: "Voxmic M40",
                info: voxmicM40,
                image: "icons/device2_m40.png",
                warning: others
            },
            {
                tag: "Voxmic T40",
                info: voxmicT40,
                image: "icons/device2_t40.png",
                warning: others
            }
        ];
    }

    function test_the_view_shows_the_device_and_its_warning(row) {
        startUpgrade(row.info);
        verify(String(child("upgradeImage").source).endsWith(row.image));
        compare(child("progressBar").mainText, row.warning);
        compare(child("upgradeTitle").text, row.info.name);
    }

    function test_the_return_key_presses_the_button_that_leads_on() {
        activateWindow();
        startInstalling(mixdeskR2);
        report(0, "升级失败");
        compare(child("btn3").activeFocus, true);
        keyClick(Qt.Key_Return);
        compareView(downloading, 0, []);
        page.handleDownloadDone("/tmp/firmware.bin");
        report(100, "升级成功");
        compare(child("btn2").activeFocus, true);
        keyClick(Qt.Key_Return);
        compare(page.isUpdateFirmware, false);
    }

    function test_everything_has_a_name_and_a_role_for_a_screen_reader() {
        startInstalling(mixdeskR2);
        report(0, "升级失败");
        const roles = [["upgradeTitle", "VEXO Mixdesk R2", Accessible.Heading], ["resetText", "升级失败", Accessible.StaticText], ["btn1", "取消", Accessible.Button], ["btn3", "重试", Accessible.Button]];
        for (const [objectName, text, role] of roles) {
            compare(child(objectName).Accessible.name, text);
            compare(child(objectName).Accessible.role, role);
        }
        compare(child("progressBar").Accessible.role, Accessible.ProgressBar);
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
        startInstalling(mixdeskR2);
        verifyNoClippedTexts(child("upgradeView"));
        page.handleDownloadFailed();
        verifyNoClippedTexts(child("upgradeView"));
    }
}
