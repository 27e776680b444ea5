pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import MediaControls

/* The main area: the columns of the outputs and of the inputs, with the device among the inputs. */
Item {
    id: mainSettings

    objectName: "mainSettings"

    signal deviceSettingsRequested

    component MixerColumn: Rectangle {
        id: mixerColumn

        required property string title
        default property alias strips: stripRow.data

        radius: VxTheme.radiusLarge
        color: VxTheme.surface
        Accessible.role: Accessible.Grouping
        Accessible.name: title

        ColumnLayout {
            anchors.fill: parent
            anchors.margins: 16
            spacing: 16

            VxText {
                Layout.fillWidth: true
                text: mixerColumn.title
                elide: Text.ElideRight
                color: VxTheme.textSecondary
                font.bold: true
                Accessible.ignored: false
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            Item {
                id: stripRow

                Layout.fillWidth: true
                Layout.fillHeight: true
            }
        }
    }

    RowLayout {
        anchors.fill: parent
        anchors.margins: 20
        spacing: 16

        MixerColumn {
            objectName: "outputs"
            Layout.fillHeight: true
            Layout.preferredWidth: Math.min(300, mainSettings.width * 0.28)
            title: qsTr("输出")
        }

        MixerColumn {
            objectName: "inputs"
            Layout.fillWidth: true
            Layout.fillHeight: true
            title: qsTr("输入")

            Rectangle {
                objectName: "deviceStrip"
                width: Math.min(220, parent.width)
                height: device.implicitHeight + 32
                radius: VxTheme.radiusPanel
                color: VxTheme.card

                ColumnLayout {
                    id: device

                    anchors.fill: parent
                    anchors.margins: 16
                    spacing: 12

                    Image {
                        objectName: "stripImage"
                        Layout.fillWidth: true
                        Layout.preferredHeight: 120
                        source: VxConfig.getDeviceImage(2)
                        fillMode: Image.PreserveAspectFit
                        mipmap: true
                        Accessible.ignored: true
                    }
                    VxText {
                        objectName: "deviceName"
                        Layout.fillWidth: true
                        text: HIDDeviceMgr.getDeviceName()
                        wrapMode: Text.Wrap
                        horizontalAlignment: Text.AlignHCenter
                        font.pixelSize: VxTheme.fontLead
                        font.bold: true
                        Accessible.ignored: false
                        Accessible.role: Accessible.StaticText
                        Accessible.name: text
                    }
                    VxButton {
                        objectName: "deviceSettingsButton"
                        Layout.fillWidth: true
                        Layout.minimumWidth: 0
                        type: 1
                        horizontalPadding: 8
                        text: qsTr("设备设置")
                        font.pixelSize: VxTheme.fontSmall
                        onClicked: mainSettings.deviceSettingsRequested()
                    }
                }
            }
        }
    }
}
