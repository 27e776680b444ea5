import QtQuick
import QtQuick.Templates as T

/* A box to tick, with a label that may run over several lines. */
T.CheckBox {
    id: checkBox

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: Math.max(indicator.height, implicitContentHeight) + topPadding + bottomPadding
    verticalPadding: 4
    spacing: 8
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    font.family: VxTheme.fontFamily
    font.pixelSize: VxTheme.fontSmall
    opacity: enabled ? 1 : VxTheme.disabledOpacity

    Accessible.role: Accessible.CheckBox
    Accessible.name: text

    indicator: Rectangle {
        readonly property bool lit: checkBox.hovered && checkBox.enabled

        x: checkBox.leftPadding
        y: checkBox.topPadding + Math.round((checkBox.availableHeight - height) / 2)
        width: 16
        height: 16
        radius: VxTheme.radiusField
        color: checkBox.checked ? (lit ? VxTheme.checkHover : VxTheme.check) : checkBox.down ? VxTheme.veilHover : "transparent"
        border.width: checkBox.checked ? 0 : 1
        border.color: lit ? VxTheme.text : VxTheme.outlineHover

        VxIcon {
            objectName: "tick"
            anchors.centerIn: parent
            size: 14
            source: "icons/select.svg"
            visible: checkBox.checked
        }

        PressFocus {
            id: pressFocus

            control: checkBox
            inner: parent.radius
            onPressed: checkBox.click()
        }
    }
    contentItem: VxText {
        leftPadding: text === "" ? checkBox.indicator.width : checkBox.indicator.width + checkBox.spacing
        text: checkBox.text
        font: checkBox.font
        wrapMode: Text.Wrap
    }

    Keys.onReturnPressed: event => pressFocus.press(event)
    Keys.onEnterPressed: event => pressFocus.press(event)
}
