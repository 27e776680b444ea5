import QtQuick
import QtQuick.Controls
import MediaControls

/* The normal view of the welcome page: it waits for a device and then offers the way to the main screen. */
Item {
    id: welcomeView

    required property bool ready
    required property string deviceName
    // A device is plugged in and cannot be opened.
    required property bool accessMissing
    // A mixer waits in its bootloader; the search for devices has taken it up, or the user has left it.
    required property bool bootloaderPresent
    required property bool bootloaderFound
    // Scale of type and spacing.
    required property real zoom

    // The user wants to go on.
    signal started
    // What the user wants of the mixer in its bootloader.
    signal firmwareOffered(string url)
    signal bootloaderLeft
    signal bootloaderAsked

    Image {
        id: deviceImage

        objectName: "deviceImage"
        anchors.right: parent.right
        anchors.rightMargin: parent.width * 0.03
        anchors.verticalCenter: parent.verticalCenter
        width: Math.min(parent.width * 0.55, parent.height * 4 / 3 * 0.92)
        height: width * 3 / 4
        source: VxConfig.getDeviceImage(0)
        // Decoded at about the shown size: the full picture takes four times the memory.
        sourceSize.width: 160 * Math.ceil(width * Screen.devicePixelRatio / 160)
        asynchronous: true
        retainWhileLoading: true
        opacity: deviceImage.status !== Image.Ready ? 0 : welcomeView.ready ? 1 : 0.6
        scale: welcomeView.ready ? 1 : 0.97
        Accessible.role: Accessible.Graphic
        Accessible.name: welcomeView.ready ? welcomeView.deviceName : qsTr("VEXO 设备")

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
        anchors.left: parent.left
        anchors.leftMargin: parent.width * 0.07
        anchors.right: deviceImage.left
        anchors.verticalCenter: parent.verticalCenter
        spacing: 24 * welcomeView.zoom

        Image {
            height: 26 * welcomeView.zoom
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
            topPadding: 20 * welcomeView.zoom
            text: welcomeView.ready ? welcomeView.deviceName : qsTr("连接你的 VEXO 设备")
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            color: VxTheme.text
            font.pixelSize: VxTheme.fontDisplay * welcomeView.zoom
            font.weight: Font.Bold
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        // The two texts share one place and fade into each other.
        Item {
            width: parent.width
            height: Math.max(description.height, readyView.height)

            Label {
                id: description

                objectName: "description"
                width: parent.width
                text: qsTr("Vexo Deck 可将你的兼容设备变身为强大中枢\n支持低延迟混音，体验高清音质，享受每一次声音表达")
                textFormat: Text.PlainText
                wrapMode: Text.Wrap
                lineHeight: 1.2
                color: VxTheme.textSecondary
                font.pixelSize: Math.max(VxTheme.fontSmall, VxTheme.fontLead * welcomeView.zoom)
                opacity: welcomeView.ready ? 0 : 1
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
                spacing: 32 * welcomeView.zoom
                opacity: welcomeView.ready ? 1 : 0
                visible: opacity > 0
                // While it fades out there is no device.
                enabled: welcomeView.ready

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
                        textFormat: Text.PlainText
                        color: VxTheme.textSecondary
                        font.pixelSize: Math.max(VxTheme.fontSmall, VxTheme.fontLead * welcomeView.zoom)
                        Accessible.role: Accessible.StaticText
                        Accessible.name: text
                    }
                }

                VxButton {
                    id: startButton

                    objectName: "startButton"
                    width: Math.min(implicitWidth, parent.width)
                    implicitHeight: 52 * Math.max(0.85, welcomeView.zoom)
                    text: qsTr("开启高清音质之旅")
                    onClicked: welcomeView.started()
                }
            }
        }
    }

    AccessNotice {
        objectName: "accessNotice"
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 24 * welcomeView.zoom + (bootloaderNotice.visible ? bootloaderNotice.height + 8 : 0)
        anchors.horizontalCenter: parent.horizontalCenter
        maximumWidth: parent.width - 48
        visible: welcomeView.accessMissing && !welcomeView.ready
    }

    BootloaderNotice {
        id: bootloaderNotice

        objectName: "bootloaderNotice"
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 24 * welcomeView.zoom
        anchors.horizontalCenter: parent.horizontalCenter
        maximumWidth: parent.width - 48
        visible: welcomeView.bootloaderPresent && !welcomeView.ready
        isLeft: !welcomeView.bootloaderFound
        onFirmwareOffered: url => welcomeView.firmwareOffered(url)
        onDeclined: welcomeView.bootloaderLeft()
        onAsked: welcomeView.bootloaderAsked()
    }

    // Last, after the bindings that the change enables.
    Connections {
        target: welcomeView

        function onReadyChanged() {
            if (!welcomeView.ready)
                return;
            startButton.forceActiveFocus(Qt.OtherFocusReason);
            statusText.announce(title.text);
        }
    }
}
