import QtQuick
import QtQuick.Layouts
import MediaControls

/* The view of a firmware upgrade: the device, what is going on, and then either the bar or the buttons. */
Item {
    id: upgradeView

    property alias title: titleText.text
    property alias status: resetText.text
    // 0 to 1
    property alias progress: progressBar.value
    // Scale of type and spacing.
    property real zoom: 1

    // The user leaves the view.
    signal dismissed
    signal retried

    // Shows the bar in place of the buttons.
    function showBar() {
        progressBar.visible = true;
        buttons.visible = false;
    }

    // Shows the buttons in place of the bar: OK after a success, otherwise cancel and retry.
    function showButtons(afterSuccess: bool) {
        progressBar.visible = false;
        buttons.visible = true;
        btn1.visible = !afterSuccess;
        btn2.visible = afterSuccess;
        btn3.visible = !afterSuccess;
        (afterSuccess ? btn2 : btn3).forceActiveFocus(Qt.OtherFocusReason);
    }

    ColumnLayout {
        id: column

        readonly property real heightOfTexts: titleText.height + resetText.height + progressPlace.height + 8 * upgradeView.zoom + 3 * spacing

        anchors.centerIn: parent
        width: Math.min(parent.width - 80, 620 * upgradeView.zoom)
        spacing: 16 * upgradeView.zoom

        Image {
            objectName: "upgradeImage"
            Layout.alignment: Qt.AlignHCenter
            // The height that the texts leave.
            Layout.preferredHeight: Math.max(60, Math.min(300 * upgradeView.zoom, upgradeView.height - 40 - column.heightOfTexts))
            Layout.preferredWidth: Layout.preferredHeight * 4 / 3
            source: VxConfig.getDeviceImage(1)
            mipmap: true
            Accessible.ignored: true
        }

        VxText {
            id: titleText

            objectName: "upgradeTitle"
            Layout.fillWidth: true
            // The name is empty until a device has been seen.
            visible: text !== ""
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            font.pixelSize: 0.7 * VxTheme.fontDisplay * upgradeView.zoom
            font.bold: true
            Accessible.ignored: false
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        VxText {
            id: resetText

            objectName: "resetText"
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            color: VxTheme.textSecondary
            font.pixelSize: Math.max(VxTheme.fontSmall, VxTheme.fontLead * upgradeView.zoom)
            Accessible.ignored: false
            Accessible.role: Accessible.StaticText
            Accessible.name: text
            onTextChanged: {
                if (upgradeView.visible)
                    Accessible.announce(resetText.text);
            }
        }

        // Bar and buttons share one place, so that the layout stays.
        Item {
            id: progressPlace

            Layout.fillWidth: true
            Layout.topMargin: 8 * upgradeView.zoom
            Layout.preferredHeight: Math.max(progressBar.height, buttons.height)

            CustomProgress {
                id: progressBar

                objectName: "progressBar"
                width: parent.width
                spacing: 14
                mainText: HIDDeviceMgr.isR2() || HIDDeviceMgr.bootloaderFound ? qsTr("请不要断开设备连接或关闭应用。\n升级期间监听比灯亮属于正常自检，不会修改设置。") : qsTr("升级中，请不要断开设备连接或关闭应用")
            }

            Row {
                id: buttons

                objectName: "upgradeButtons"
                anchors.horizontalCenter: parent.horizontalCenter
                spacing: 16
                visible: false

                VxButton {
                    id: btn1

                    objectName: "btn1"
                    type: 1
                    text: qsTr("取消")
                    onClicked: upgradeView.dismissed()
                }
                VxButton {
                    id: btn2

                    objectName: "btn2"
                    text: qsTr("确定")
                    onClicked: upgradeView.dismissed()
                }
                VxButton {
                    id: btn3

                    objectName: "btn3"
                    text: qsTr("重试")
                    onClicked: upgradeView.retried()
                }
            }
        }
    }
}
