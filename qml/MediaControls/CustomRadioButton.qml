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
        radius: width / 2
        color: radioButton.hovered && radioButton.enabled ? VxTheme.veilHover : "transparent"
        border.width: 1
        border.color: VxTheme.text

        Rectangle {
            objectName: "dot"
            anchors.centerIn: parent
            width: 10
            height: 10
            radius: width / 2
            color: VxTheme.text
            opacity: radioButton.checked ? 1 : radioButton.down ? 0.4 : 0
            visible: opacity > 0
        }

        PressFocus {
            id: pressFocus

            control: radioButton
            inner: parent.radius
            onPressed: radioButton.click()
        }
    }
    contentItem: VxText {
        leftPadding: text === "" ? radioButton.indicator.width : radioButton.indicator.width + radioButton.spacing
        text: radioButton.text
        font: radioButton.font
        wrapMode: Text.Wrap
    }

    Keys.onReturnPressed: event => pressFocus.press(event)
    Keys.onEnterPressed: event => pressFocus.press(event)
}
