import QtQuick
import QtQuick.Controls
import QtQuick.Templates as T
import MediaControls

/*
    The first page: waits for a device, then offers the way on. It follows the device's reports; one without name or
    serial number counts as a loss. It is also the screen of a firmware upgrade.
*/
Page {
    id: welcomeLayout

    // The upgrade view stands in place of the first one.
    property bool isUpdateFirmware: false
    // Where the firmware that is being installed comes from.
    property string downloadUrl: ""
    // Gets the path of a firmware that is to be installed; what comes of it is told by HIDDeviceMgr's reports of progress.
    property var installer: path => HIDDeviceMgr.upgradeFirmware(path)
    readonly property T.StackView stackView: T.StackView.view

    QtObject {
        id: view

        property bool ready: false
        property string deviceName: ""
        // Type and spacing follow the window between its smallest size and a large screen.
        readonly property real zoom: Math.max(0.7, Math.min(1.3, welcomeLayout.width / 1300, welcomeLayout.height / 680))
    }

    // Nothing that could be shown is as good as nothing known.
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

    function startDownload() {
        upgradeView.progress = 0;
        ConfigMgr.setValue(ConfigMgr.keys.upgradeFirmwareFilePath, "");
        upgradeView.status = qsTr("正在下载最新固件");
    }

    function handleDownloadProgress(received: real, total: real) {
        upgradeView.progress = total > 0 ? received / total : 0;
    }

    function handleDownloadDone(path: string) {
        ConfigMgr.setValue(ConfigMgr.keys.upgradeFirmwareFilePath, path);
        install(path);
    }

    function handleDownloadFailed() {
        upgradeView.status = qsTr("新版本下载失败，请检查网络环境或稍后重试");
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
        upgradeView.status = qsTr("正在安装最新固件");
        installer(path); // qmllint disable use-proper-function
    }

    // Only this very word is a failure: the refusals of a version or of a checksum come with 100 and end as a success.
    function handleUpgradeProgress(progress: int, message: string) {
        if (message === "升级失败") {
            upgradeView.status = qsTr("升级失败");
            upgradeView.showButtons(false);
            return;
        }
        upgradeView.progress = progress / 100;
        if (progress === 100) {
            upgradeView.status = qsTr("升级成功");
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
                // Kept: no document declares this timer. The handler ends in a script error, and what the view shows
                // stays until the next report of progress.
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

    Image {
        id: deviceImage

        objectName: "deviceImage"
        visible: !welcomeLayout.isUpdateFirmware
        anchors.right: parent.right
        anchors.rightMargin: parent.width * 0.03
        anchors.verticalCenter: parent.verticalCenter
        width: Math.min(parent.width * 0.55, parent.height * 4 / 3 * 0.92)
        height: width * 3 / 4
        source: VxConfig.getDeviceImage(0)
        // Decoded at about the size shown: the full picture would keep four times the memory.
        sourceSize.width: 160 * Math.ceil(width * Screen.devicePixelRatio / 160)
        asynchronous: true
        retainWhileLoading: true
        opacity: deviceImage.status !== Image.Ready ? 0 : view.ready ? 1 : 0.6
        scale: view.ready ? 1 : 0.97
        Accessible.role: Accessible.Graphic
        Accessible.name: view.ready ? view.deviceName : qsTr("VEXO 设备")

        Behavior on opacity {
            NumberAnimation {
                duration: 2 * VxTheme.fadeMs
                easing.type: VxTheme.easing
            }
        }
        Behavior on scale {
            NumberAnimation {
                duration: 2 * VxTheme.fadeMs
                easing.type: VxTheme.easing
            }
        }
    }

    Column {
        visible: !welcomeLayout.isUpdateFirmware
        anchors.left: parent.left
        anchors.leftMargin: parent.width * 0.07
        anchors.right: deviceImage.left
        anchors.verticalCenter: parent.verticalCenter
        spacing: 24 * view.zoom

        Image {
            height: 26 * view.zoom
            fillMode: Image.PreserveAspectFit
            horizontalAlignment: Image.AlignLeft
            source: VxConfig.iconUrl("icons/vexo.svg", "")
            sourceSize.height: height
            Accessible.role: Accessible.Graphic
            Accessible.name: "VEXO"
        }

        Label {
            id: title

            objectName: "title"
            width: parent.width
            topPadding: 20 * view.zoom
            text: view.ready ? view.deviceName : qsTr("连接你的 VEXO 设备")
            wrapMode: Text.Wrap
            color: VxTheme.text
            font.pixelSize: VxTheme.fontDisplay * view.zoom
            font.weight: Font.Bold
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        // The two views stand in one place, the one fading into the other.
        Item {
            width: parent.width
            height: Math.max(description.height, readyView.height)

            Label {
                id: description

                objectName: "description"
                width: parent.width
                text: qsTr("Vexo Deck 可将你的兼容设备变身为强大中枢\n支持低延迟混音，体验高清音质，享受每一次声音表达")
                wrapMode: Text.Wrap
                lineHeight: 1.2
                color: VxTheme.textSecondary
                font.pixelSize: Math.max(VxTheme.fontSmall, VxTheme.fontLead * view.zoom)
                opacity: view.ready ? 0 : 1
                visible: opacity > 0
                Accessible.role: Accessible.StaticText
                Accessible.name: text

                Behavior on opacity {
                    NumberAnimation {
                        duration: VxTheme.fadeMs
                        easing.type: VxTheme.easing
                    }
                }
            }

            Column {
                id: readyView

                width: parent.width
                spacing: 32 * view.zoom
                opacity: view.ready ? 1 : 0
                visible: opacity > 0
                // While it fades there is no device any more.
                enabled: view.ready

                Behavior on opacity {
                    NumberAnimation {
                        duration: VxTheme.fadeMs
                        easing.type: VxTheme.easing
                    }
                }

                Row {
                    spacing: 10

                    Rectangle {
                        anchors.verticalCenter: parent.verticalCenter
                        width: 8
                        height: 8
                        radius: 4
                        color: VxTheme.accentHover
                    }

                    Label {
                        id: statusText

                        function announce(news: string) {
                            Accessible.announce(news);
                        }

                        objectName: "status"
                        text: qsTr("已连接")
                        color: VxTheme.textSecondary
                        font.pixelSize: Math.max(VxTheme.fontSmall, VxTheme.fontLead * view.zoom)
                        Accessible.role: Accessible.StaticText
                        Accessible.name: text
                    }
                }

                VxButton {
                    id: startButton

                    objectName: "startButton"
                    width: Math.min(implicitWidth, parent.width)
                    implicitHeight: 52 * Math.max(0.85, view.zoom)
                    text: qsTr("开启高清音质之旅")
                    onClicked: welcomeLayout.stackView.push("MainLayout.qml")
                }
            }
        }
    }

    UpgradeView {
        id: upgradeView

        objectName: "upgradeView"
        anchors.fill: parent
        visible: welcomeLayout.isUpdateFirmware
        title: view.deviceName
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

    Connections {
        target: view

        function onReadyChanged() {
            if (!view.ready)
                return;
            startButton.forceActiveFocus(Qt.OtherFocusReason);
            statusText.announce(title.text);
        }
    }
}
