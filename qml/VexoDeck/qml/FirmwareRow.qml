import QtQuick
import MediaControls
import "UpdateAnswers.js" as UpdateAnswers

/*
    Tells whether there is newer firmware for the device, and installs it. It looks for it when it is built and when the
    user asks; a service that cannot be reached counts as no newer firmware.
*/
Item {
    id: firmwareRow

    readonly property int upToDate: 0
    readonly property int checking: 1
    readonly property int available: 3

    function checkUpdate() {
        statBox.stat = checking;
        checkUpdateButton.downloadUrl = null;
        // An answer may come when the row is gone.
        const show = url => firmwareRow?.show(url);
        NetworkMgr.checkUpdateFirmware((ok, response) => show(UpdateAnswers.firmwareAddress(response)), () => show(null));
    }

    function show(url: var) {
        statBox.stat = url ? available : upToDate;
        checkUpdateButton.downloadUrl = url || null;
    }

    // Leads to the view of the upgrade, which takes the place of all pages of the device.
    function upgrade() {
        const url = checkUpdateButton.downloadUrl;
        HIDDeviceMgr.stopAndDisconnectDevice();
        MessageBus.publishUpdateFirmware(url);
    }

    width: parent?.width ?? 0
    implicitHeight: Math.max(58, texts.height)

    CustomStatBox {
        id: statBox

        objectName: "statBox"
        anchors.left: parent.left
        anchors.verticalCenter: parent.verticalCenter
        name: stat === firmwareRow.checking ? qsTr("正在检测更新") : status.text
    }

    Column {
        id: texts

        anchors.left: statBox.right
        anchors.leftMargin: 12
        anchors.right: checkUpdateButton.left
        anchors.rightMargin: 12
        anchors.verticalCenter: parent.verticalCenter
        spacing: 4

        VxText {
            id: status

            objectName: "status"
            width: parent.width
            text: HIDDeviceMgr.getDeviceName() + " " + (statBox.stat === firmwareRow.available ? qsTr("有固件可升级") : qsTr("当前已是最新版本"))
            wrapMode: Text.Wrap
            Accessible.ignored: false
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        VxText {
            objectName: "version"
            width: parent.width
            text: HIDDeviceMgr.getDeviceVersion()
            color: VxTheme.textSecondary
            font.pixelSize: VxTheme.fontCaption
            wrapMode: Text.Wrap
            Accessible.ignored: false
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }

    BwButton {
        id: checkUpdateButton

        property var downloadUrl: null

        objectName: "checkUpdateButton"
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        text: statBox.stat === firmwareRow.available ? qsTr("立即更新") : qsTr("检查更新")
        enabled: statBox.stat !== firmwareRow.checking
        onClicked: {
            if (statBox.stat === firmwareRow.available)
                firmwareRow.upgrade();
            else
                firmwareRow.checkUpdate();
        }
    }

    Component.onCompleted: checkUpdate()
}
