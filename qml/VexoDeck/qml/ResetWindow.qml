pragma ComponentBehavior: Bound

import QtQuick
import MediaControls

/*
    The factory reset of the settings and of the device. It waits for nothing: the device reports by itself what it
    changes.
*/
FixedWindow {
    id: resetWindow

    function loadView() {
        isDestroy = true;
    }

    objectName: "resetWindow"
    title: qsTr("恢复出厂")
    fixedSize: Qt.size(500, 300)

    Item {
        id: body

        // The user has agreed.
        property bool agreed: false
        property bool done: false
        readonly property int privateReset: 0x8004

        function reset() {
            if (resetWindow.isClosing)
                return;
            agreed = true;
            ConfigMgr.resetDeviceToDefaults();
            if (HIDDeviceMgr.isR2())
                HIDDeviceMgr.sendPriMessage(privateReset, [1]);
            else
                HIDDeviceMgr.sendMessage(HIDDeviceMgr.attrs.reset_factory_settings, [1]);
            MessageBus.publishUpdateConfigMessage(true);
            filling.start();
        }

        function finish() {
            done = true;
            doneButton.forceActiveFocus(Qt.OtherFocusReason);
        }

        VxText {
            objectName: "question"
            anchors.centerIn: parent
            anchors.verticalCenterOffset: -24
            width: 380
            visible: !body.agreed
            text: qsTr("恢复出厂设置后，所有设置将恢复至默认状态，确定要恢复出厂设置吗？")
            font.pixelSize: VxTheme.fontLead
            lineHeight: 1.3
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            Accessible.ignored: false
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }
        CustomProgress {
            id: bar

            objectName: "bar"
            anchors.centerIn: parent
            anchors.verticalCenterOffset: -24
            width: 360
            visible: body.agreed && !body.done
            mainText: qsTr("设置中")
        }
        SuccessView {
            objectName: "successView"
            anchors.centerIn: parent
            anchors.verticalCenterOffset: -24
            visible: body.done
            text: qsTr("成功")
        }

        Row {
            anchors.bottom: parent.bottom
            anchors.bottomMargin: 24
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: 16
            visible: !body.agreed

            BwButton {
                objectName: "cancelButton"
                anchors.verticalCenter: parent.verticalCenter
                text: qsTr("取消")
                onClicked: resetWindow.close()
            }
            VxButton {
                objectName: "okButton"
                text: qsTr("确定")
                font.pixelSize: VxTheme.fontSmall
                onClicked: body.reset()
            }
        }
        VxButton {
            id: doneButton

            objectName: "doneButton"
            anchors.bottom: parent.bottom
            anchors.bottomMargin: 24
            anchors.horizontalCenter: parent.horizontalCenter
            visible: body.done
            text: qsTr("确定")
            font.pixelSize: VxTheme.fontSmall
            onClicked: resetWindow.close()
        }

        // What the user has been asked about is gone; the next device may come while this window still fades.
        Connections {
            target: HIDDeviceMgr

            function onDeviceReadyChanged() {
                if (!HIDDeviceMgr.deviceReady && !body.agreed)
                    resetWindow.close();
            }
        }

        NumberAnimation {
            id: filling

            objectName: "filling"
            target: bar
            property: "value"
            from: 0
            to: 1
            duration: 1000
            onFinished: body.finish()
        }
    }
}
