import QtQuick
import QtQuick.Templates as T
import MediaControls

/* One row of the main window's menu: icon and text. */
T.AbstractButton {
    id: row

    implicitHeight: Math.max(34, implicitContentHeight + topPadding + bottomPadding)
    horizontalPadding: 10
    verticalPadding: 6
    spacing: 10
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    opacity: enabled ? 1 : VxTheme.disabledOpacity

    Accessible.role: Accessible.MenuItem
    Accessible.name: text

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
        border.width: row.visualFocus ? 2 : 0
        border.color: VxTheme.focusRing
    }

    Keys.onReturnPressed: event => KeyPress.once(event, () => click())
    Keys.onEnterPressed: event => KeyPress.once(event, () => click())
}
