import QtQuick
import MediaControls
import "UpdateAnswers.js" as UpdateAnswers

/*
    One line for a mixer that waits in its bootloader. Where its firmware file is missing, the user can fetch it or leave
    the mixer as it is; what was left can be taken up again.
*/
Rectangle {
    id: notice

    required property real maximumWidth
    // The user has left the mixer as it is. Otherwise it waits for a file.
    required property bool isLeft
    // Asks the service for the newest firmware.
    property var checker: (success, error) => NetworkMgr.checkUpdateFirmware(success, error)
    property bool checking: false
    property bool failed: false

    // The service has the firmware at this address.
    signal firmwareOffered(string url)
    // The user leaves the mixer as it is, or asks for it again.
    signal declined
    signal asked

    function fetch() {
        checking = true;
        failed = false;
        // An answer may come when the notice is gone.
        const show = url => UpdateAnswers.tell(notice, "showAnswer", url);
        checker((ok, response) => show(UpdateAnswers.firmwareAddress(response)), () => show(null)); // qmllint disable use-proper-function
    }

    function showAnswer(url: var) {
        checking = false;
        failed = !url;
        if (url && visible)
            firmwareOffered(url);
    }

    implicitWidth: Math.min(maximumWidth, row.width + 32)
    implicitHeight: Math.max(label.height, row.height) + 20
    radius: VxTheme.radiusPanel
    color: VxTheme.card
    border.width: 1
    border.color: VxTheme.danger
    Accessible.role: Accessible.AlertMessage
    Accessible.name: label.text

    Row {
        id: row

        anchors.centerIn: parent
        spacing: 12

        VxText {
            id: label

            objectName: "bootloaderText"
            anchors.verticalCenter: parent.verticalCenter
            width: Math.min(implicitWidth, notice.maximumWidth - 32 - buttons.width - row.spacing)
            text: notice.failed ? qsTr("新版本下载失败，请检查网络环境或稍后重试") : notice.isLeft ? qsTr("VEXO Mixdesk R2 的固件升级没有完成") : qsTr("VEXO Mixdesk R2 的固件升级没有完成，缺少固件文件")
            wrapMode: Text.Wrap
        }

        Row {
            id: buttons

            anchors.verticalCenter: parent.verticalCenter
            spacing: 8

            VxButton {
                objectName: "leaveButton"
                width: Math.min(implicitWidth, 150)
                type: 1
                text: qsTr("取消")
                visible: !notice.isLeft
                onClicked: notice.declined()
            }
            VxButton {
                objectName: "fetchButton"
                width: Math.min(implicitWidth, 190)
                text: qsTr("下载固件")
                visible: !notice.isLeft
                enabled: !notice.checking
                onClicked: notice.fetch()
            }
            VxButton {
                objectName: "restoreButton"
                width: Math.min(implicitWidth, 190)
                text: qsTr("恢复")
                visible: notice.isLeft
                onClicked: notice.asked()
            }
        }
    }

    onIsLeftChanged: failed = false
    onVisibleChanged: {
        failed = false;
        if (visible)
            Accessible.announce(label.text);
    }
}
