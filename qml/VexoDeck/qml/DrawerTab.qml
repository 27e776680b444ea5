import QtQuick
import MediaControls

/* A tab of the device drawer. The arrow keys go from one to the next; the tabulator stops at the selected one. */
Pressable {
    id: tab

    signal moved(step: int)

    implicitWidth: Math.max(60, implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: 35
    horizontalPadding: 14
    checkable: true
    autoExclusive: true
    focusPolicy: checked || activeFocus ? Qt.StrongFocus : Qt.ClickFocus

    Accessible.role: Accessible.PageTab
    Accessible.selected: checked

    contentItem: VxText {
        text: tab.text
        horizontalAlignment: Text.AlignHCenter
        elide: Text.ElideRight
        opacity: tab.checked ? 1 : tab.hovered ? 0.6 : 0.3

        Behavior on opacity {
            NumberAnimation {
                duration: VxTheme.hoverMs
            }
        }
    }
    background: Rectangle {
        radius: VxTheme.radiusSmall
        color: tab.checked ? VxTheme.accent : "transparent"
    }

    Accessible.onPressAction: click()
    Keys.onLeftPressed: moved(-1)
    Keys.onRightPressed: moved(1)
}
