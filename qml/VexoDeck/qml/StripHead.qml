pragma ComponentBehavior: Bound

import QtQuick
import MediaControls

/* The top of a mixer strip: its picture, and its name or the list box that swaps its application. */
Item {
    id: head

    required property int showType
    required property string title
    required property url imageSource
    required property var currentApp
    required property int appIndex
    // The application runs: it can be swapped.
    required property bool appShown
    readonly property bool isSource: showType === StripKind.Source

    signal appSelected(app: var)
    signal deleteClicked
    signal settingsClicked

    component CornerButton: CustomButton {
        anchors.top: parent.top
        anchors.right: parent.right
        anchors.margins: -3
        padding: 4
        icon.width: 16
        icon.height: 16
        opacity: hovered || visualFocus ? 1 : 0.55
        Accessible.description: head.title
    }

    implicitHeight: 74

    AppIcon {
        objectName: "appIcon"
        anchors.horizontalCenter: parent.horizontalCenter
        y: 4
        size: 32
        visible: head.isSource
        iconFilePath: head.currentApp?.iconFilePath ?? ""
    }
    Image {
        objectName: "stripImage"
        anchors.horizontalCenter: parent.horizontalCenter
        y: head.showType === StripKind.Device ? 0 : 6
        width: head.showType === StripKind.Device ? 52 : 28
        height: head.showType === StripKind.Device ? 40 : 28
        sourceSize: head.showType === StripKind.Device ? undefined : Qt.size(width, height)
        visible: !head.isSource
        source: head.imageSource
        fillMode: Image.PreserveAspectFit
        mipmap: true
        Accessible.ignored: true
    }

    VxText {
        id: titleLabel

        objectName: "title"
        anchors.bottom: parent.bottom
        width: parent.width
        height: 28
        visible: !appBox.visible
        text: head.title
        font.pixelSize: VxTheme.fontCaption
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: 10
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.WordWrap
        maximumLineCount: 2
        elide: Text.ElideRight
        opacity: head.isSource ? 0.6 : 1
        Accessible.ignored: false
        Accessible.role: Accessible.StaticText
        Accessible.name: text

        HoverHandler {
            id: titleHover
        }
        VxToolTip {
            visible: titleHover.hovered && titleLabel.truncated
            delay: VxTheme.toolTipDelayMs
            text: head.title.slice(0, 300)
        }
    }
    CustomComAppBox2 {
        id: appBox

        objectName: "appBox"
        anchors.bottom: parent.bottom
        width: parent.width
        visible: head.isSource && head.appShown
        currentApp: head.currentApp
        appIndex: head.appIndex
        onAppSelected: app => head.appSelected(app)
    }

    CornerButton {
        objectName: "deleteButton"
        visible: head.isSource
        text: qsTr("删除")
        icon.source: VxConfig.iconUrl("icons/del2.svg", "")
        onClicked: head.deleteClicked()
    }
    CornerButton {
        objectName: "deviceSettingsButton"
        visible: head.showType === StripKind.Device
        text: qsTr("设备设置")
        icon.source: VxConfig.iconUrl("icons/sz.svg", "")
        onClicked: head.settingsClicked()
    }
}
