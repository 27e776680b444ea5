pragma ComponentBehavior: Bound

import QtQuick
import MediaControls

/*
    The equaliser of the device's input: on or off, its presets, and the curve of the selected one. Nothing goes to
    the device: the window writes the settings and notifies the engine, which reads them.
*/
WindowFrame {
    id: equalizerWindow

    objectName: "equalizerWindow"
    title: qsTr("均衡器")
    width: 550
    height: 480
    minimumWidth: 550
    minimumHeight: 480
    maximumWidth: 550
    maximumHeight: 480
    modality: Qt.ApplicationModal
    visible: false

    Item {
        id: body

        // Runs at every change, even one to the stored value: this is how a stored equaliser reaches the engine after
        // the window has been created.
        function handleSwitch(on: bool) {
            ConfigMgr.setValue(ConfigMgr.keys.device_equalizer, on);
            MessageBus.publishUpdateDeviceEqualizerCurrent(on);
            eqSelect.bridge.updateMonitorDevice();
        }

        function readSwitch() {
            equalizerSwitch.checked = ConfigMgr.getValue(ConfigMgr.keys.device_equalizer);
        }

        Item {
            id: headingRow

            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: parent.top
            anchors.margins: 20
            anchors.topMargin: 14
            height: 32

            CustomText {
                anchors.verticalCenter: parent.verticalCenter
                text: qsTr("均衡器")
                textPpixelSize: VxTheme.fontLead
                tips: qsTr("调节不同频率的音色，让你的声音更清晰、更有个性。")
            }
            SwitchBox {
                id: equalizerSwitch

                objectName: "equalizerSwitch"
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                name: qsTr("均衡器")
                onCheckedChanged: body.handleSwitch(checked)
            }
        }

        EqualizerPresets {
            id: eqSelect

            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: headingRow.bottom
            anchors.leftMargin: 20
            anchors.rightMargin: 20
            anchors.topMargin: 10
        }

        Rectangle {
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: eqSelect.bottom
            anchors.bottom: footer.top
            anchors.leftMargin: 20
            anchors.rightMargin: 20
            anchors.topMargin: 12
            radius: VxTheme.radiusPanel
            color: VxTheme.card

            EqualizerChart {
                anchors.fill: parent
                currentEqData: eqSelect.currentEqData
                editable: eqSelect.userSelected
                onGainEdited: (band, gain) => eqSelect.setGain(band, gain)
                onPressed: eqSelect.bridge.updateMonitorDevice()
            }
        }

        Item {
            id: footer

            anchors.left: parent.left
            anchors.right: parent.right
            anchors.bottom: parent.bottom
            anchors.leftMargin: 20
            anchors.rightMargin: 20
            height: 46

            VxText {
                anchors.left: parent.left
                anchors.verticalCenter: parent.verticalCenter
                width: parent.width - 48
                visible: eqSelect.userSelected
                text: qsTr("拖动曲线上的点进行调节")
                color: VxTheme.textSecondary
                font.pixelSize: VxTheme.fontCaption
                elide: Text.ElideRight
            }
            CustomButton {
                objectName: "deletePreset"
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                visible: eqSelect.userSelected
                text: qsTr("删除")
                icon.source: VxConfig.iconUrl("icons/del.svg", "")
                icon.width: 20
                icon.height: 20
                onClicked: eqSelect.removeSelected()
            }
        }

        MessageListener {
            messageTypes: [MessageBus.messageTypes.UPDATE_CONFIG_MESSAGE]
            onMessage: () => {
                body.readSwitch();
                eqSelect.readSelection();
            }
        }

        Component.onCompleted: readSwitch()
    }
}
