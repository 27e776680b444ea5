import QtQuick

/* The outlined button, faint until the mouse or the keyboard is on it. */
Pressable {
    id: button

    readonly property color lineColor: enabled ? VxTheme.text : VxTheme.outlineDisabled

    implicitWidth: Math.max(88, implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: Math.max(32, implicitContentHeight + topPadding + bottomPadding)
    horizontalPadding: 16
    verticalPadding: 5
    opacity: enabled && (hovered || visualFocus) ? 1 : 0.5

    Behavior on opacity {
        NumberAnimation {
            duration: VxTheme.hoverMs
        }
    }

    contentItem: VxText {
        text: button.text
        font: button.font
        color: button.lineColor
        horizontalAlignment: Text.AlignHCenter
        elide: Text.ElideRight
    }
    background: Rectangle {
        radius: VxTheme.radiusSmall
        color: button.down ? VxTheme.veilHover : "transparent"
        border.width: 1
        border.color: button.lineColor
    }
}
