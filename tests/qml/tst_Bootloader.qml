import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug
import VexoDeckTest

/* A mixer in its bootloader whose firmware file is missing, or which the user has left as it is. */
MainWindowTestCase {
    id: testCase

    name: "Bootloader"

    readonly property string url: "https://vexo.example/firmware/r2_v105.bin"
    readonly property string fileMissing: "VEXO Mixdesk R2 的固件升级没有完成，缺少固件文件"
    readonly property string leftAlone: "VEXO Mixdesk R2 的固件升级没有完成"
    readonly property string fetchFailed: "新版本下载失败，请检查网络环境或稍后重试"
    readonly property WelcomeLayout page: stackView ? stackView.get(0) as WelcomeLayout : null
    // The requests at the service: success and error of each.
    property var requests: []

    function init() {
        requests = [];
        initMainWindow();
        child("bootloaderNotice").checker = (success, error) => requests.push({
                success: success,
                error: error
            });
    }

    function findBootloader() {
        HIDHotplugManager.bootloaderPresent = true;
        HIDHotplugManager.upgradeFirmwareSignal();
        // The row settles.
        tryVerify(() => !child("bootloaderNotice").visible || child("fetchButton").x > 0);
    }

    function shownButtons() {
        return ["leaveButton", "fetchButton", "restoreButton"].filter(name => child(name).visible);
    }

    function compareNotice(text, buttons) {
        compare(child("bootloaderNotice").visible, true);
        compare(child("bootloaderText").text, text);
        compare(shownButtons(), buttons);
    }

    function offer(path) {
        return {
            code: 0,
            data: {
                isUpgrade: "1",
                newVersion: {
                    filePath: path
                }
            }
        };
    }

    function test_without_a_bootloader_there_is_no_notice() {
        compare(child("bootloaderNotice").visible, false);
    }

    function test_a_bootloader_without_its_file_offers_the_download_and_the_way_out_data() {
        return [["no file", () => {}], ["a microphone's file", () => {
                    ConfigMgr.setValue("upgradeFirmwareFilePath", "/tmp/m40.bin");
                    ConfigMgr.setValue("upgradeFirmwareModel", 0x1396);
                }]].map(([tag, prepare]) => ({
                    tag: tag,
                    prepare: prepare
                }));
    }

    function test_a_bootloader_without_its_file_offers_the_download_and_the_way_out(row) {
        row.prepare();
        findBootloader();
        compare(page.isUpdateFirmware, false);
        compareNotice(fileMissing, ["leaveButton", "fetchButton"]);
        compare(callsNamed("upgradeFirmware"), []);
    }

    function test_a_bootloader_with_its_file_shows_the_upgrade_in_place_of_the_notice() {
        page.installer = () => {};
        ConfigMgr.setValue("upgradeFirmwareFilePath", "/tmp/r2.bin");
        ConfigMgr.setValue("upgradeFirmwareModel", 0x9829);
        findBootloader();
        compare(child("bootloaderNotice").visible, false);
        compare(child("upgradeView").visible, true);
    }

    function test_the_offered_firmware_is_downloaded_and_installed() {
        const installed = [];
        page.installer = path => installed.push(path);
        findBootloader();
        mouseClick(child("fetchButton"));
        compare(requests.length, 1);
        compare(child("fetchButton").enabled, false);
        requests[0].success(true, offer(url));
        compare(page.isUpdateFirmware, true);
        compare(page.downloadUrl, url);
        page.handleDownloadDone("/tmp/r2.bin");
        compare(installed, ["/tmp/r2.bin"]);
        compare(ConfigMgr.getValue("upgradeFirmwareModel", 0), 0x9829);
    }

    function test_without_firmware_at_the_service_the_notice_says_so_and_the_user_can_try_again_data() {
        return [["an error", request => request.error(404, "")], ["nothing new", request => request.success(true, {
                        code: 0,
                        data: {
                            isUpgrade: "0"
                        }
                    })], ["no address", request => request.success(true, offer(""))], ["nonsense", request => request.success(true, null)]].map(([tag, answer]) => ({
                    tag: tag,
                    answer: answer
                }));
    }

    function test_without_firmware_at_the_service_the_notice_says_so_and_the_user_can_try_again(row) {
        findBootloader();
        mouseClick(child("fetchButton"));
        row.answer(requests[0]);
        compareNotice(fetchFailed, ["leaveButton", "fetchButton"]);
        mouseClick(child("fetchButton"));
        compare(requests.length, 2);
        compareNotice(fileMissing, ["leaveButton", "fetchButton"]);
    }

    function test_an_answer_after_the_mixer_has_gone_changes_nothing() {
        findBootloader();
        mouseClick(child("fetchButton"));
        HIDHotplugManager.bootloaderPresent = false;
        requests[0].success(true, offer(url));
        compare(page.isUpdateFirmware, false);
    }

    function test_a_mixer_that_is_left_lets_others_connect_and_can_be_asked_for() {
        findBootloader();
        HIDHotplugManager.clearCalls();
        mouseClick(child("leaveButton"));
        compare(HIDHotplugManager.calls.map(call => call.name), ["startAndConnectDevice", "leaveBootloader"]);
        compareNotice(leftAlone, ["restoreButton"]);
        HIDHotplugManager.clearCalls();
        mouseClick(child("restoreButton"));
        compare(HIDHotplugManager.calls.map(call => call.name), ["askForBootloader", "startAndConnectDevice"]);
        HIDHotplugManager.upgradeFirmwareSignal();
        compareNotice(fileMissing, ["leaveButton", "fetchButton"]);
    }

    function test_the_notice_gives_way_to_a_device_and_goes_with_the_mixer() {
        HIDHotplugManager.bootloaderPresent = true;
        compareNotice(leftAlone, ["restoreButton"]);
        connectDevice(voxmicM40);
        compare(child("bootloaderNotice").visible, false);
        loseDevice();
        compare(child("bootloaderNotice").visible, true);
        HIDHotplugManager.bootloaderPresent = false;
        compare(child("bootloaderNotice").visible, false);
    }

    function test_everything_has_a_name_and_a_role_for_a_screen_reader() {
        findBootloader();
        compare(child("bootloaderNotice").Accessible.role, Accessible.AlertMessage);
        compare(child("bootloaderNotice").Accessible.name, fileMissing);
        compare(child("leaveButton").Accessible.name, "取消");
        compare(child("fetchButton").Accessible.name, "下载固件");
        compare(child("fetchButton").Accessible.role, Accessible.Button);
    }

    function test_no_text_is_cut_off_data() {
        return [[800, 500], [1300, 800]].map(size => ({
                    tag: size.join("x"),
                    size: size
                }));
    }

    function test_no_text_is_cut_off(row) {
        window.width = row.size[0];
        window.height = row.size[1];
        findBootloader();
        verifyNoClippedTexts(child("bootloaderNotice"));
        const notice = child("bootloaderNotice");
        const description = child("description");
        tryVerify(() => notice.mapToItem(window.contentItem, 0, 0).y > description.mapToItem(window.contentItem, 0, description.height).y);
    }
}
