pragma ComponentBehavior: Bound

import QtQuick
import MediaControls
import "AutoGainLevels.js" as Levels

/*
    The automatic gain measurement of the Mixdesk R2: the device listens for ten seconds and sets the gain by itself.
    The window shows the level and a countdown, and then the gain. It waits for the device without a time limit. However
    the user closes it before, the measurement is cancelled.
*/
FixedWindow {
    id: autoGainWindow

    // The last gain step reported.
    property int gainValue: 0

    function loadView() {
        isDestroy = true;
    }

    objectName: "autoGainWindow"
    title: qsTr("自动增益")
    fixedSize: Qt.size(500, 300)

    Item {
        id: body

        // The device has set a gain.
        property bool done: false
        // The device measures, or is about to.
        property bool measuring: true
        readonly property int secondsLeft: Math.ceil((1 - resetProgress.value) * 10)

        function restart() {
            done = false;
            measuring = true;
            countdown.restart();
        }

        function finish(gainStep: int) {
            autoGainWindow.gainValue = gainStep;
            done = true;
            measuring = false;
        }

        function cancel() {
            if (measuring)
                send(0);
            measuring = false;
        }

        function send(value: int) {
            HIDDeviceMgr.sendMessage(HIDDeviceMgr.attrs.auto_gain, [value]);
        }

        function handleMessage(topic: string, data: var) {
            if (autoGainWindow.isClosing)
                return;
            if (topic === MessageBus.messageTypes.UPDATE_MIC_GAIN_LEVEL) {
                // Ignores a report without a value.
                if (typeof data === "number")
                    finish(data);
            } else if (data === 0 || data === false) {
                countdown.stop();
                measuring = false;
                autoGainWindow.close();
            } else {
                restart();
            }
        }

        Column {
            anchors.centerIn: parent
            anchors.verticalCenterOffset: -24
            width: 360
            spacing: 28
            visible: !body.done

            CustomProgress {
                id: resetProgress

                objectName: "resetProgress"
                width: parent.width
                mainText: qsTr("使用正常的音量讲话\n倒计时 ") + body.secondsLeft + "s"
                subText: ""
            }
            AudioChannelIndicatorSingle {
                id: gain_view

                objectName: "gain_view"
                width: parent.width
            }
        }

        SuccessView {
            id: seccussView

            objectName: "seccussView"
            anchors.centerIn: parent
            anchors.verticalCenterOffset: -24
            visible: body.done
            text: body.done ? qsTr("设置成功\n增益为 ") + ConfigMgr.gainText(autoGainWindow.gainValue) : qsTr("设置成功\n增益为 0 dB")
        }

        BwButton {
            id: btn1

            objectName: "btn1"
            anchors.bottom: parent.bottom
            anchors.bottomMargin: 24
            anchors.horizontalCenter: parent.horizontalCenter
            visible: !body.done
            text: qsTr("取消")
            onClicked: autoGainWindow.close()
        }
        VxButton {
            id: btn2

            objectName: "btn2"
            anchors.bottom: parent.bottom
            anchors.bottomMargin: 24
            anchors.horizontalCenter: parent.horizontalCenter
            visible: body.done
            text: qsTr("确定")
            font.pixelSize: VxTheme.fontSmall
            onClicked: autoGainWindow.close()
        }

        NumberAnimation {
            id: countdown

            target: resetProgress
            property: "value"
            from: 0
            to: 1
            duration: 10000
        }

        MessageListener {
            messageTypes: [MessageBus.messageTypes.UPDATE_AUTO_GAIN, MessageBus.messageTypes.UPDATE_MIC_GAIN_LEVEL]
            onMessage: (topic, data) => body.handleMessage(topic, data)
        }

        Connections {
            target: autoGainWindow

            function onClosing() {
                body.cancel();
            }
        }

        // The device gets the command even when it started the measurement itself.
        Component.onCompleted: {
            HIDDeviceMgr.manager.priMsgCallback.connect(Levels.handlerFor(gain_view));
            send(1);
            countdown.start();
        }
    }
}
