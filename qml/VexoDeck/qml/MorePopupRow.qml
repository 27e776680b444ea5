import QtQuick
import MediaControls

/* One row of the main window's menu: icon and text. */
Pressable {
    id: row

    implicitHeight: Math.max(34, implicitContentHeight + topPadding + bottomPadding)
    horizontalPadding: 10
    verticalPadding: 6
    spacing: 10
    // Inside the row, since the menu leaves no room around it.
    ringRadius: VxTheme.radiusTile
    ringGap: 0

    Accessible.role: Accessible.MenuItem

    contentItem: Row {
        spacing: row.spacing

        VxIcon {
            id: picture

            anchors.verticalCenter: parent.verticalCenter
            size: 18
            source: row.icon.source
        }
        VxText {
            objectName: "label"
            anchors.verticalCenter: parent.verticalCenter
            width: row.availableWidth - picture.width - row.spacing
            text: row.text
            wrapMode: Text.Wrap
        }
    }
    background: Rectangle {
        radius: VxTheme.radiusTile
        color: row.down ? VxTheme.veilPressed : row.hovered || row.visualFocus ? VxTheme.veilHover : "transparent"
    }

    Accessible.onPressAction: click()
}
