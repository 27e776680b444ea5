import QtQuick

/* A box to tick. */
Choice {
    id: checkBox

    ringRadius: VxTheme.radiusField
    Accessible.role: Accessible.CheckBox

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
    }
}
