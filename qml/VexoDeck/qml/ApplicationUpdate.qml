import QtQuick
import MediaControls
import VexoDeckSystemBridge // qmllint disable import
import VexoDeckTranslation // qmllint disable import
import "UpdateAnswers.js" as UpdateAnswers

/*
    Looks for a newer version of the program, and then of the device's firmware: when it is built and when the user asks.
    It shows how far it is, and leads to the installation. Answers of the service may come when it is gone.
*/
Item {
    id: checkUpdateRow

    // The row is on the screen.
    required property bool shown
    // Fetches and starts installers by itself. On Linux the user fetches them, from the page that is offered.
    readonly property bool handsFree: VxConfig.platformName !== "linux"
    // Of the installer.
    property string downloadUrl: ""
    property string downloadedPath: ""
    // An installer has been started, which the end of the program follows.
    property bool installing: false
    // The questions over the main window, from the first one on.
    property var upgradeDialog: null
    property var firmwareUpgradeDialog: null
    // Of the firmware that is offered once the window that holds the main window back is hidden.
    property string waitingFirmware: ""
    // What the connected device is known by, "" until it has told all about itself.
    readonly property string device: HIDDeviceMgr.deviceReady ? HIDDeviceMgr.getDeviceDPID() + " " + HIDDeviceMgr.getDeviceSN() : ""

    readonly property int upToDate: 0
    readonly property int checking: 1
    readonly property int failed: 2
    readonly property int ready: 3
    readonly property int downloading: 4

    // An installer could not be started.
    signal installFailed

    function checkUpdate() {
        const waiting = ConfigMgr.getValue(ConfigMgr.keys.auto_install_path);
        if (handsFree && waiting && ConfigMgr.getValue(ConfigMgr.keys.auto_install)) {
            // First, so that an installer that does not start is not tried at each start of the program.
            ConfigMgr.setValue(ConfigMgr.keys.auto_install_path, "");
            install(waiting);
            return;
        }
        statBox.stat = checking;
        const row = checkUpdateRow;
        NetworkMgr.checkUpdateApp((ok, response) => UpdateAnswers.tell(row, "handleCheck", response), () => UpdateAnswers.tell(row, "handleCheck", null));
    }

    function handleCheck(response: var) {
        const url = UpdateAnswers.applicationAddress(response);
        if (url === null) {
            statBox.stat = response?.code === 0 ? upToDate : failed;
            checkUpdateFirmware();
        } else if (url === "") {
            statBox.stat = failed;
        } else {
            downloadUrl = url;
            if (handsFree)
                downloadAppFile();
            else
                offer();
        }
    }

    function downloadAppFile() {
        statBox.stat = downloading;
        const row = checkUpdateRow;
        downloadedPath = NetworkMgr.downloadFile(downloadUrl, ok => UpdateAnswers.tell(row, "handleDownload", ok), () => {}, () => UpdateAnswers.tell(row, "handleDownload", false));
    }

    function handleDownload(ok: var) {
        if (!ok)
            statBox.stat = failed;
        else if (ConfigMgr.getValue(ConfigMgr.keys.auto_install)) {
            statBox.stat = ready;
            ConfigMgr.setValue(ConfigMgr.keys.auto_install_path, downloadedPath);
        } else
            offer();
    }

    // The button offers it, and a question where the button is not to be seen.
    function offer() {
        statBox.stat = ready;
        if (shown || upgradeDialog?.visible)
            return;
        const text = handsFree ? qsTr("有新版本可升级，是否重启并升级软件？") : qsTr("有新版本可升级，是否打开下载页面？");
        upgradeDialog = ask(text, () => checkUpdateRow.take(), () => checkUpdateRow.checkUpdateFirmware(), upgradeDialog);
    }

    // Takes what is offered.
    function take() {
        if (handsFree)
            install(downloadedPath);
        else
            WebPages.follow(NetworkMgr.downloadPage(TranslationManager.getCurrentLanguageIndex())); // qmllint disable unqualified
    }

    function install(path: string) {
        if (installing)
            return;
        installing = SystemBridge.installFile(path); // qmllint disable unqualified
        if (!installing)
            installFailed();
    }

    function checkUpdateFirmware() {
        const row = checkUpdateRow;
        const askedFor = device;
        NetworkMgr.checkUpdateFirmware((ok, response) => UpdateAnswers.tell(row, "handleFirmwareCheck", response, askedFor), () => {});
    }

    // Firmware for one device must not reach another.
    function handleFirmwareCheck(response: var, askedFor: string) {
        const url = UpdateAnswers.firmwareAddress(response);
        if (url === null)
            return;
        if (url === "") {
            console.log("检测到可升级固件，但未提供下载地址");
            return;
        }
        if (device === "" || device !== askedFor || firmwareUpgradeDialog?.visible)
            return;
        if (shown)
            waitingFirmware = url;
        else
            offerFirmware(url);
    }

    function offerFirmware(url: string) {
        waitingFirmware = "";
        // By a function: the name is taken as it is.
        const text = qsTr("VEXO Mixdesk R2 有新固件可升级，是否升级设备？").replace("VEXO Mixdesk R2", () => HIDDeviceMgr.getDeviceName());
        firmwareUpgradeDialog = ask(text, () => {
            HIDDeviceMgr.stopAndDisconnectDevice();
            MessageBus.publishUpdateFirmware(url);
        }, () => {}, firmwareUpgradeDialog);
    }

    // Asks over the main window, in the place of an answered question.
    function ask(text: string, confirmed: var, refused: var, answered: var): var {
        answered?.destroy();
        return MessageDialogMgr.showCustomDialogNew(text, confirmed, () => {
            console.log("用户选择稍后安装");
            refused();
        }) ?? null;
    }

    width: parent?.width ?? 0
    implicitHeight: Math.max(44, texts.height, button.height)

    CustomStatBox {
        id: statBox

        objectName: "statBox"
        anchors.left: parent.left
        anchors.verticalCenter: parent.verticalCenter
        name: description.text
    }

    Column {
        id: texts

        anchors.left: statBox.right
        anchors.leftMargin: 12
        anchors.right: button.left
        anchors.rightMargin: 16
        anchors.verticalCenter: parent.verticalCenter
        spacing: 2

        VxText {
            id: description

            objectName: "description"
            width: parent.width
            text: {
                switch (statBox.stat) {
                case checkUpdateRow.checking:
                    return qsTr("正在检测更新");
                case checkUpdateRow.failed:
                    return qsTr("新版本下载失败，请检查网络环境或稍后重试");
                case checkUpdateRow.ready:
                    return checkUpdateRow.handsFree ? qsTr("新版本") + " " + Application.version + " " + qsTr("下载完成，重新启动以进行升级") : qsTr("有新版本可升级");
                case checkUpdateRow.downloading:
                    return qsTr("正在下载新版本") + " " + Application.version;
                default:
                    return Application.name + " " + qsTr("当前已是最新版本");
                }
            }
            wrapMode: Text.Wrap
            Accessible.ignored: false
            Accessible.role: Accessible.StaticText
            Accessible.name: text
            onTextChanged: {
                if (checkUpdateRow.shown)
                    Accessible.announce(description.text);
            }
        }
        VxText {
            objectName: "version"
            width: parent.width
            text: Application.version
            color: VxTheme.textSecondary
            font.pixelSize: VxTheme.fontCaption
            Accessible.ignored: false
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }

    BwButton {
        id: button

        objectName: "checkUpdateButton"
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        enabled: statBox.stat !== checkUpdateRow.checking && statBox.stat !== checkUpdateRow.downloading
        text: {
            switch (statBox.stat) {
            case checkUpdateRow.failed:
                return qsTr("重试");
            case checkUpdateRow.ready:
                return qsTr("立即更新");
            default:
                return qsTr("检查更新");
            }
        }
        onClicked: {
            if (statBox.stat === checkUpdateRow.ready)
                checkUpdateRow.take();
            else
                checkUpdateRow.checkUpdate();
        }
    }

    onShownChanged: {
        if (!shown && waitingFirmware !== "")
            offerFirmware(waitingFirmware);
    }
    onDeviceChanged: {
        waitingFirmware = "";
        if (firmwareUpgradeDialog?.visible)
            firmwareUpgradeDialog.close();
    }
    Component.onCompleted: checkUpdate()
    Component.onDestruction: {
        for (const dialog of [upgradeDialog, firmwareUpgradeDialog]) {
            if (dialog?.visible)
                dialog.close();
        }
    }
}
