import QtQuick

/* The base of a box to tick: its indicator, and a label beside it that may run over several lines. */
Pressable {
    id: choice

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: Math.max(indicator.height, implicitContentHeight) + topPadding + bottomPadding
    verticalPadding: 4
    spacing: 8
    checkable: true
    ringed: indicator

    contentItem: VxText {
        leftPadding: text === "" ? choice.indicator.width : choice.indicator.width + choice.spacing
        text: choice.text
        font: choice.font
        wrapMode: Text.Wrap
    }

    // Without them Qt would check the box by itself, and tell nobody of it, or do nothing at all.
    Accessible.onPressAction: click()
    Accessible.onToggleAction: click()
}
