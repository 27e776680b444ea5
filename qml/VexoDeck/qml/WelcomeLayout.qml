import QtQuick
import QtQuick.Controls
import QtQuick.Templates as T
import "UpgradeReports.js" as UpgradeReports
import MediaControls
import "UpdateAnswers.js" as UpdateAnswers

/*
    The first page: waits for a device, then offers the way to the main screen. It follows the device's reports; one
    without name or serial number counts as a loss. It is also the screen of a firmware upgrade.
*/
Page {
    id: welcomeLayout

    // The upgrade view replaces the first one.
    property bool isUpdateFirmware: false
    // Where the firmware that is being installed comes from.
    property string downloadUrl: ""
    // Installs the firmware at a path. HIDDeviceMgr reports the progress.
    property var installer: path => HIDDeviceMgr.upgradeFirmware(path)
    readonly property T.StackView stackView: T.StackView.view
    // Ends the installation on a microphone that has stalled.
    readonly property UpgradeWatch watch: UpgradeWatch {
        onStalled: welcomeLayout.showFailure()
    }
    // The model of the stored firmware file, under a key beside the file's own.
    readonly property string modelKey: "upgradeFirmwareModel"

    enum Upgrade {
        Idle,
        Downloading,
        DownloadFailed,
        Installing,
        Failed,
        Done
    }

    QtObject {
        id: view

        // How far the upgrade has come.
        property int upgrade: WelcomeLayout.Idle
        // The model that the firmware is for: another one could not be brought back to life.
        property int model: 0
        // The file that waits for its device, which has just come back.
        property string waitingPath: ""

        property bool ready: false
        property string deviceName: ""
        // Scale of type and spacing, from the smallest window to a large screen.
        readonly property real zoom: Math.max(0.7, Math.min(1.3, welcomeLayout.width / 1300, welcomeLayout.height / 680))
    }

    // A value that cannot be shown counts as unknown.
    function isKnown(value: var): bool {
        return Boolean(value) && value !== "N/A";
    }

    // While it is under way, nothing else may be begun.
    function isBusy(): bool {
        return isUpdateFirmware && [WelcomeLayout.Downloading, WelcomeLayout.Installing].includes(view.upgrade);
    }

    function updateFirmware(url: string) {
        if (isBusy()) {
            console.log("固件升级正在进行:", url);
            return;
        }
        isUpdateFirmware = true;
        view.model = HIDDeviceMgr.getUpgradeModel();
        stackView.pop();
        downloadUrl = url;
        upgradeView.showBar();
        startDownload();
    }

    function upgradeText(upgrade: int): string {
        switch (upgrade) {
        case WelcomeLayout.Downloading:
            return qsTr("正在下载最新固件");
        case WelcomeLayout.DownloadFailed:
            return qsTr("新版本下载失败，请检查网络环境或稍后重试");
        case WelcomeLayout.Installing:
            return qsTr("正在安装最新固件");
        case WelcomeLayout.Failed:
            return qsTr("升级失败");
        case WelcomeLayout.Done:
            return qsTr("升级成功");
        default:
            return "";
        }
    }

    function startDownload() {
        upgradeView.progress = 0;
        ConfigMgr.setValue(ConfigMgr.keys.upgradeFirmwareFilePath, "");
        view.upgrade = WelcomeLayout.Downloading;
        const page = welcomeLayout;
        const path = NetworkMgr.downloadFile(downloadUrl, () => UpdateAnswers.tell(page, "handleDownloadDone", path), (received, total) => UpdateAnswers.tell(page, "handleDownloadProgress", received, total), () => UpdateAnswers.tell(page, "handleDownloadFailed"));
    }

    function handleDownloadProgress(received: real, total: real) {
        upgradeView.progress = total > 0 ? received / total : 0;
    }

    function handleDownloadDone(path: string) {
        ConfigMgr.setValue(modelKey, view.model);
        ConfigMgr.setValue(ConfigMgr.keys.upgradeFirmwareFilePath, path);
        install(path);
    }

    function handleDownloadFailed() {
        view.upgrade = WelcomeLayout.DownloadFailed;
        upgradeView.showButtons(false);
    }

    // Installs what was downloaded last, if it is for this device.
    function startUpgradeFirmware() {
        if (isBusy())
            return;
        const path = ConfigMgr.getValue(ConfigMgr.keys.upgradeFirmwareFilePath);
        if (!path) {
            console.log("升级固件文件路径为空");
            return;
        }
        view.model = ConfigMgr.getValue(modelKey, 0);
        if (view.model !== HIDDeviceMgr.getUpgradeModel()) {
            console.log("升级固件文件不属于此设备:", path);
            return;
        }
        isUpdateFirmware = true;
        upgradeView.showBar();
        install(path);
    }

    function install(path: string) {
        upgradeView.progress = 0;
        view.upgrade = WelcomeLayout.Installing;
        if (view.model !== HIDDeviceMgr.getUpgradeModel()) {
            console.log("升级固件文件不属于此设备:", path);
            showFailure();
            return;
        }
        const isMicrophone = [0x1396, 0x1397].includes(view.model);
        if (isMicrophone)
            watch.begin();
        // Before its login a microphone hears nothing.
        if (isMicrophone && !HIDDeviceMgr.deviceReady)
            view.waitingPath = path;
        else
            installer(path); // qmllint disable use-proper-function
    }

    function installWaiting() {
        const path = view.waitingPath;
        view.waitingPath = "";
        if (path && isUpdateFirmware && view.upgrade === WelcomeLayout.Installing)
            install(path);
    }

    function showFailure() {
        watch.end();
        view.waitingPath = "";
        view.upgrade = WelcomeLayout.Failed;
        upgradeView.showButtons(false);
    }

    // A device may report what nobody waits for.
    function handleUpgradeProgress(progress: int, message: string) {
        if (!isUpdateFirmware || view.upgrade === WelcomeLayout.Downloading)
            return;
        const outcome = UpgradeReports.outcomeOf(progress, message);
        if (outcome === UpgradeReports.Failed) {
            showFailure();
            return;
        }
        watch.noteReport();
        upgradeView.progress = progress / 100;
        if (outcome === UpgradeReports.Done) {
            watch.end();
            view.upgrade = WelcomeLayout.Done;
            upgradeView.showButtons(true);
        }
    }

    function dismissUpgrade() {
        isUpdateFirmware = false;
        watch.end();
        HIDDeviceMgr.startAndConnectDevice();
        if (view.upgrade !== WelcomeLayout.Done)
            HIDDeviceMgr.leaveBootloader();
    }

    Accessible.role: Accessible.Pane
    background: Rectangle {
        color: VxTheme.background
    }

    Binding {
        target: HIDDeviceMgr
        property: "installing"
        value: welcomeLayout.isUpdateFirmware && view.upgrade === WelcomeLayout.Installing
    }

    MessageListener {
        messageTypes: [MessageBus.messageTypes.UPDATE_FIRMWARE]
        onMessage: (topic, url) => {
            if (url)
                welcomeLayout.updateFirmware(url);
        }
    }

    Connections {
        target: HIDDeviceMgr

        function onDeviceConnected(deviceInfo: var, connected: bool) {
            if (connected && welcomeLayout.isKnown(deviceInfo.name) && welcomeLayout.isKnown(deviceInfo.sn)) {
                view.deviceName = deviceInfo.name;
                view.ready = true;
            } else if (welcomeLayout.isUpdateFirmware) {
                welcomeLayout.watch.noteLoss();
                // Kept: no document declares this timer. The handler ends in a script error, and the view stays as it
                // is until the next report of progress or the end of the watch.
                upgradeTimeoutTimer.stop(); // qmllint disable unqualified
            } else {
                welcomeLayout.stackView.pop();
                view.ready = false;
            }
        }

        function onUpgradeFirmwareProgress(progress: int, message: string) {
            welcomeLayout.handleUpgradeProgress(progress, message);
        }

        function onUpgradeFirmwareSignal() {
            welcomeLayout.startUpgradeFirmware();
        }

        function onDeviceReadyChanged() {
            if (HIDDeviceMgr.deviceReady)
                welcomeLayout.installWaiting();
        }
    }

    WelcomeView {
        anchors.fill: parent
        visible: !welcomeLayout.isUpdateFirmware
        ready: view.ready
        deviceName: view.deviceName
        accessMissing: HIDDeviceMgr.accessMissing
        bootloaderPresent: HIDDeviceMgr.bootloaderPresent
        bootloaderFound: HIDDeviceMgr.bootloaderFound
        zoom: view.zoom
        onFirmwareOffered: url => welcomeLayout.updateFirmware(url)
        onBootloaderLeft: {
            HIDDeviceMgr.startAndConnectDevice();
            HIDDeviceMgr.leaveBootloader();
        }
        onBootloaderAsked: HIDDeviceMgr.askForBootloader()
        // While the page fades away its button still takes a press.
        onStarted: {
            if (welcomeLayout.stackView.currentItem === welcomeLayout)
                welcomeLayout.stackView.push("MainLayout.qml");
        }
    }

    UpgradeView {
        id: upgradeView

        objectName: "upgradeView"
        anchors.fill: parent
        visible: welcomeLayout.isUpdateFirmware
        title: view.deviceName
        status: welcomeLayout.upgradeText(view.upgrade)
        zoom: view.zoom
        onDismissed: welcomeLayout.dismissUpgrade()
        onRetried: {
            showBar();
            if (welcomeLayout.downloadUrl)
                welcomeLayout.startDownload();
            else
                welcomeLayout.startUpgradeFirmware();
        }
    }

    // The scan may have met a mixer in its bootloader before there was a page.
    Component.onCompleted: {
        if (HIDDeviceMgr.bootloaderFound && HIDDeviceMgr.bootloaderPresent)
            startUpgradeFirmware();
    }
}
