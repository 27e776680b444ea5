import QtQuick
import QtQuick.Templates as T

/* The filled button: type 0 in the accent colour, any other type in grey. */
T.Button {
    id: button

    property int type: 0

    function fillColor(): color {
        if (down)
            return VxTheme.accentPressed;
        if (hovered)
            return type === 0 ? VxTheme.accentHover : VxTheme.neutralHover;
        return type === 0 ? VxTheme.accent : VxTheme.neutral;
    }

    implicitWidth: Math.max(120, implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: Math.max(40, implicitContentHeight + topPadding + bottomPadding)
    horizontalPadding: 28
    verticalPadding: 8
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    font.family: VxTheme.fontFamily
    font.pixelSize: VxTheme.fontButton
    opacity: enabled ? 1 : 0.4

    Accessible.role: Accessible.Button
    Accessible.name: text

    contentItem: Text {
        text: button.text
        font: button.font
        color: VxTheme.text
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    background: Rectangle {
        radius: VxTheme.radiusSmall
        color: button.fillColor()

        Behavior on color {
            ColorAnimation {
                duration: 120
            }
        }

        Rectangle {
            anchors.fill: parent
            anchors.margins: -4
            radius: parent.radius + 4
            visible: button.visualFocus
            color: "transparent"
            border.width: 2
            border.color: VxTheme.focusRing
        }
    }

    Keys.onReturnPressed: click()
    Keys.onEnterPressed: click()
}
