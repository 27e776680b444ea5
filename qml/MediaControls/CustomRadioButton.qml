import QtQuick
import QtQuick.Templates as T

/* One choice of several. The arrow keys move between the choices of one parent. */
T.RadioButton {
    id: radioButton

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: Math.max(indicator.height, implicitContentHeight) + topPadding + bottomPadding
    verticalPadding: 4
    spacing: 8
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    font.family: VxTheme.fontFamily
    font.pixelSize: VxTheme.fontSmall
    opacity: enabled ? 1 : VxTheme.disabledOpacity

    Accessible.role: Accessible.RadioButton
    Accessible.name: text

    indicator: Rectangle {
        x: radioButton.leftPadding
        y: radioButton.topPadding + Math.round((radioButton.availableHeight - height) / 2)
        width: 16
        height: 16
        radius: 8
        color: radioButton.hovered && radioButton.enabled ? VxTheme.veilHover : "transparent"
        border.width: 1
        border.color: VxTheme.text

        Rectangle {
            objectName: "dot"
            anchors.centerIn: parent
            width: 10
            height: 10
            radius: 5
            color: VxTheme.text
            opacity: radioButton.checked ? 1 : radioButton.down ? 0.4 : 0
            visible: opacity > 0
        }

        FocusRing {
            inner: parent.radius
            visible: radioButton.visualFocus
        }
    }
    contentItem: VxText {
        leftPadding: text === "" ? radioButton.indicator.width : radioButton.indicator.width + radioButton.spacing
        text: radioButton.text
        font: radioButton.font
        wrapMode: Text.Wrap
    }

    Keys.onReturnPressed: event => KeyPress.once(event, () => click())
    Keys.onEnterPressed: event => KeyPress.once(event, () => click())
}
