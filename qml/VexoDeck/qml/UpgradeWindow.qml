pragma ComponentBehavior: Bound

import QtQuick
import MediaControls
import VexoDeckTranslation // qmllint disable import

/* Says that the installer of a newer version could not be started, and where the user finds one. */
FixedWindow {
    id: upgradeWindow

    function loadView() {
        isDestroy = true;
    }

    objectName: "upgradeWindow"
    title: qsTr("软件升级")
    fixedSize: Qt.size(500, 300)

    Item {
        VxText {
            objectName: "failureText"
            anchors.centerIn: parent
            anchors.verticalCenterOffset: -24
            width: 380
            text: qsTr("安装程序无法启动，请从下载页面获取最新版本")
            font.pixelSize: VxTheme.fontLead
            lineHeight: 1.3
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            Accessible.ignored: false
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }

        Row {
            anchors.bottom: parent.bottom
            anchors.bottomMargin: 24
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: 16

            BwButton {
                objectName: "cancelButton"
                anchors.verticalCenter: parent.verticalCenter
                text: qsTr("取消")
                onClicked: upgradeWindow.close()
            }
            VxButton {
                objectName: "pageButton"
                text: qsTr("打开下载页面")
                font.pixelSize: VxTheme.fontSmall
                onClicked: {
                    WebPages.follow(NetworkMgr.downloadPage(TranslationManager.getCurrentLanguageIndex())); // qmllint disable unqualified
                    upgradeWindow.close();
                }
            }
        }
    }
}
