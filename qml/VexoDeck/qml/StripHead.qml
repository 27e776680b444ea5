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
    readonly property bool isDevice: showType === StripKind.Device
    // The keyboard has reached the delete button.
    readonly property bool deleteFocused: isSource && cornerButton.visualFocus

    signal appSelected(app: var)
    signal deleteClicked
    signal settingsClicked

    implicitHeight: 80

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
        y: head.isDevice ? 0 : 6
        width: head.isDevice ? 52 : 28
        height: head.isDevice ? 40 : 28
        // The device's picture is a photograph. Scaled in two steps, it is smooth even without mipmaps.
        sourceSize: head.isDevice ? Qt.size(2 * width, 2 * height) : Qt.size(width, height)
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
        height: 36
        visible: !appBox.visible
        text: head.title
        font.pixelSize: VxTheme.fontCaption
        fontSizeMode: Text.Fit
        minimumPixelSize: VxTheme.fontSmallest
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
        anchors.verticalCenter: titleLabel.verticalCenter
        width: parent.width
        visible: head.isSource && head.appShown
        currentApp: head.currentApp
        appIndex: head.appIndex
        onAppSelected: app => head.appSelected(app)
    }

    CustomButton {
        id: cornerButton

        objectName: head.isSource ? "deleteButton" : head.isDevice ? "deviceSettingsButton" : ""
        anchors.top: parent.top
        anchors.right: parent.right
        anchors.margins: -3
        visible: head.isSource || head.isDevice
        text: head.isSource ? qsTr("删除") : qsTr("设备设置")
        icon.source: VxConfig.iconUrl(head.isSource ? "icons/del2.svg" : "icons/sz.svg", "")
        icon.width: 16
        icon.height: 16
        opacity: hovered || visualFocus ? 1 : 0.55
        Accessible.description: head.title
        onClicked: head.isSource ? head.deleteClicked() : head.settingsClicked()
    }
}
