import QtQuick
import QtQuick.Templates as T

/* The filled button: type 0 in the accent colour, any other type in grey. */
T.Button {
    id: button

    property int type: 0

    function fillColor(): color {
        const plain = type === 0 ? VxTheme.accent : VxTheme.neutral;
        const hover = type === 0 ? VxTheme.accentHover : VxTheme.neutralHover;
        return down ? VxTheme.accentPressed : hovered && enabled ? hover : plain;
    }

    implicitWidth: Math.max(120, implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: Math.max(40, implicitContentHeight + topPadding + bottomPadding)
    horizontalPadding: 28
    verticalPadding: 4
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    font.family: VxTheme.fontFamily
    font.pixelSize: VxTheme.fontButton
    opacity: enabled ? 1 : VxTheme.disabledOpacity

    Accessible.role: Accessible.Button
    Accessible.name: text

    contentItem: VxText {
        text: button.text
        font: button.font
        horizontalAlignment: Text.AlignHCenter
        // A text that is wider than its button goes on in a second line, in smaller letters if need be.
        wrapMode: Text.Wrap
        fontSizeMode: Text.Fit
        minimumPixelSize: 10
        elide: Text.ElideRight
    }
    background: Rectangle {
        radius: VxTheme.radiusSmall
        color: button.fillColor()

        Behavior on color {
            ColorAnimation {
                duration: VxTheme.hoverMs
            }
        }

        FocusRing {
            visible: button.visualFocus
        }
    }

    Keys.onReturnPressed: event => KeyPress.once(event, () => click())
    Keys.onEnterPressed: event => KeyPress.once(event, () => click())
}
