import QtQuick

/* An icon that shows an explanation, under the mouse or reached by the keyboard. */
Pressable {
    id: tipsIcon

    required property string tips

    objectName: "tipsIcon"
    implicitWidth: 16
    implicitHeight: 16
    visible: tips !== ""
    opacity: 1
    focusPolicy: Qt.TabFocus
    text: tips
    ringRadius: 8
    ringGap: 2
    Accessible.role: Accessible.StaticText

    contentItem: VxIcon {
        source: "icons/info.svg"
        opacity: tipsIcon.hovered || tipsIcon.visualFocus ? 1 : 0.6
    }

    VxToolTip {
        visible: tipsIcon.hovered || tipsIcon.visualFocus
        text: tipsIcon.tips
    }
}
