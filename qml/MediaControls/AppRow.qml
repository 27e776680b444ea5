import QtQuick

/* A row of an application picker: icon and name. */
Pressable {
    id: row

    // An entry of AppInventory.
    required property var app
    property bool current: false
    property alias fallbackIcon: icon.fallback

    implicitHeight: 36
    leftPadding: 10
    rightPadding: current ? 32 : 10
    focusPolicy: Qt.NoFocus
    text: AppInventory.displayName(app)
    Accessible.role: Accessible.ListItem
    Accessible.selected: current

    contentItem: Item {
        AppIcon {
            id: icon

            anchors.verticalCenter: parent.verticalCenter
            iconFilePath: row.app.iconFilePath
        }
        VxText {
            id: label

            anchors.left: icon.right
            anchors.leftMargin: 10
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: row.text
            elide: Text.ElideRight
            maximumLineCount: 1
        }
    }
    background: Rectangle {
        radius: VxTheme.radiusField
        color: row.highlighted || row.hovered ? VxTheme.unselected : "transparent"

        VxIcon {
            objectName: "tick"
            anchors.right: parent.right
            anchors.rightMargin: 8
            anchors.verticalCenter: parent.verticalCenter
            source: "icons/right2.svg"
            visible: row.current
        }
    }

    VxToolTip {
        visible: row.hovered && label.truncated
        delay: VxTheme.toolTipDelayMs
        maximumWidth: 260
        text: row.text.slice(0, 300)
    }

    Accessible.onPressAction: click()
}
