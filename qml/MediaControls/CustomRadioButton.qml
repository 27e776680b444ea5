import QtQuick

/* One choice of several: checking it clears the others of its parent. */
Choice {
    id: radioButton

    autoExclusive: true
    ringRadius: 8
    Accessible.role: Accessible.RadioButton

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
    }
}
