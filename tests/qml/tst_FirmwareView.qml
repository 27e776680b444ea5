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
        return ["升级成功", "升级失败,版本低", "升级失败,校验失败", "升级进度:100"].map(message => ({
                    tag: message
                }));
    }

    function test_the_end_of_the_transfer_is_a_success(row) {
        startInstalling(voxmicM40);
        report(100, row.tag);
        compareView("升级成功", null, ["btn2"]);
        compare(child("btn2").text, "确定");
    }

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
        ConfigMgr.setValue("upgradeFirmwareFilePath", "/tmp/stored.bin");
        HIDHotplugManager.upgradeFirmwareSignal();
        report(0, "升级失败");
        mouseClick(child("btn3"));
        compareView(installing, 0, []);
        compare(installedPaths, ["/tmp/stored.bin", "/tmp/stored.bin"]);
    }

    function test_a_bootloader_gets_the_stored_file() {
        connectDevice(mixdeskR2);
        ConfigMgr.setValue("upgradeFirmwareFilePath", "/tmp/stored.bin");
        HIDHotplugManager.upgradeFirmwareSignal();
        compare(page.isUpdateFirmware, true);
        compareView(installing, 0, []);
        compare(installedPaths, ["/tmp/stored.bin"]);
    }

    function test_a_bootloader_whose_upgrade_nothing_carries_out_gets_the_way_back() {
        page.installer = path => HIDDeviceMgr.upgradeFirmware(path);
        connectDevice(mixdeskR2);
        ConfigMgr.setValue("upgradeFirmwareFilePath", "/tmp/stored.bin");
        HIDHotplugManager.upgradeFirmwareSignal();
        compareView("升级失败", null, ["btn1", "btn3"]);
        mouseClick(child("btn3"));
        compareView("升级失败", null, ["btn1", "btn3"]);
        mouseClick(child("btn1"));
        compare(page.isUpdateFirmware, false);
        compare(callsNamed("startAndConnectDevice").length, 1);
    }

    function test_a_bootloader_after_a_failure_shows_the_bar_again() {
        startInstalling(mixdeskR2);
        report(0, "升级失败");
        HIDHotplugManager.upgradeFirmwareSignal();
        compareView(installing, 0, []);
        compare(installedPaths.length, 2);
    }

    function test_a_bootloader_without_a_stored_file_is_logged_only() {
        HIDHotplugManager.upgradeFirmwareSignal();
        compare(linesWith("升级固件文件路径为空").length, 1);
        compare(page.isUpdateFirmware, false);
        compare(child("upgradeView").visible, false);
        compare(installedPaths, []);
    }

    function test_a_bootloader_does_not_touch_the_stack() {
        openMainLayout(mixdeskR2);
        ConfigMgr.setValue("upgradeFirmwareFilePath", "/tmp/stored.bin");
        HIDHotplugManager.upgradeFirmwareSignal();
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
