import QtQuick
import MediaControls

/* One line for a device that is plugged in and cannot be opened: what is missing, and what the user can do. */
Rectangle {
    id: notice

    required property real maximumWidth

    implicitWidth: Math.min(maximumWidth, Math.ceil(label.implicitWidth) + 32)
    implicitHeight: label.height + 20
    radius: VxTheme.radiusPanel
    color: VxTheme.card
    border.width: 1
    border.color: VxTheme.danger
    Accessible.role: Accessible.AlertMessage
    Accessible.name: label.text

    VxText {
        id: label

        anchors.centerIn: parent
        width: Math.min(implicitWidth, notice.maximumWidth - 32)
        text: VxConfig.isWindowsPlatform() ? qsTr("无法打开设备：请关闭正在使用它的程序，然后重新插拔设备") : qsTr("没有设备的访问权限：请安装 udev 规则 70-vexo-deck.rules，然后重新插拔设备")
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
    }

    onVisibleChanged: {
        if (visible)
            Accessible.announce(label.text);
    }
}
