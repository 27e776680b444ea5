import QtQuick
import QtQuick.Controls
import MediaControls

/* The working screen. Lives from the press on the welcome page's button to the loss of the device. */
Page {
    id: mainLayout

    objectName: "mainLayout"

    background: Rectangle {
        color: VxTheme.background
    }

    Column {
        anchors.centerIn: parent
        spacing: 24

        Image {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 160
            height: 120
            source: VxConfig.getDeviceImage(2)
            mipmap: true
            Accessible.ignored: true
        }

        Label {
            objectName: "deviceName"
            anchors.horizontalCenter: parent.horizontalCenter
            text: HIDDeviceMgr.getDeviceName()
            font.pixelSize: VxTheme.fontHeading
            font.bold: true
            color: VxTheme.text
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }
}
