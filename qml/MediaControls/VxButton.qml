import QtQuick

/* The filled button: type 0 in the accent colour, any other type in grey. */
Pressable {
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
    font.pixelSize: VxTheme.fontButton

    contentItem: VxText {
        text: button.text
        font: button.font
        horizontalAlignment: Text.AlignHCenter
        // A text that is wider than its button wraps, in smaller letters where needed.
        wrapMode: Text.Wrap
        fontSizeMode: Text.Fit
        minimumPixelSize: VxTheme.fontScale
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
    }
}
