import QtQuick
import QtQuick.Controls
import QtQuick.Templates as T
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

        property bool ready: false
        property string deviceName: ""
        // Scale of type and spacing, from the smallest window to a large screen.
        readonly property real zoom: Math.max(0.7, Math.min(1.3, welcomeLayout.width / 1300, welcomeLayout.height / 680))
    }

    // A value that cannot be shown counts as unknown.
    function isKnown(value: var): bool {
        return Boolean(value) && value !== "N/A";
    }

    function updateFirmware(url: string) {
        isUpdateFirmware = true;
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
        ConfigMgr.setValue(ConfigMgr.keys.upgradeFirmwareFilePath, path);
        install(path);
    }

    function handleDownloadFailed() {
        view.upgrade = WelcomeLayout.DownloadFailed;
        upgradeView.showButtons(false);
    }

    // Installs what was downloaded last.
    function startUpgradeFirmware() {
        const path = ConfigMgr.getValue(ConfigMgr.keys.upgradeFirmwareFilePath);
        if (!path) {
            console.log("升级固件文件路径为空");
            return;
        }
        isUpdateFirmware = true;
        upgradeView.showBar();
        install(path);
    }

    function install(path: string) {
        upgradeView.progress = 0;
        view.upgrade = WelcomeLayout.Installing;
        installer(path); // qmllint disable use-proper-function
    }

    // Only this text is a failure. A refused version or checksum comes with 100 and ends as a success.
    function handleUpgradeProgress(progress: int, message: string) {
        if (message === "升级失败") {
            view.upgrade = WelcomeLayout.Failed;
            upgradeView.showButtons(false);
            return;
        }
        upgradeView.progress = progress / 100;
        if (progress === 100) {
            view.upgrade = WelcomeLayout.Done;
            upgradeView.showButtons(true);
        }
    }

    Accessible.role: Accessible.Pane
    background: Rectangle {
        color: VxTheme.background
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
                // Kept: no document declares this timer. The handler ends in a script error, so that the view stays as
                // it is until the next report of progress.
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
    }

    WelcomeView {
        anchors.fill: parent
        visible: !welcomeLayout.isUpdateFirmware
        ready: view.ready
        deviceName: view.deviceName
        accessMissing: HIDDeviceMgr.accessMissing
        zoom: view.zoom
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
        onDismissed: {
            welcomeLayout.isUpdateFirmware = false;
            HIDDeviceMgr.startAndConnectDevice();
        }
        onRetried: {
            showBar();
            if (welcomeLayout.downloadUrl)
                welcomeLayout.startDownload();
            else
                welcomeLayout.startUpgradeFirmware();
        }
    }
}
