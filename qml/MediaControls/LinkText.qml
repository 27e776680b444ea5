import QtQuick

/* A line of text that leads somewhere else, as to a page in the browser. */
Pressable {
    id: link

    implicitWidth: implicitContentWidth
    implicitHeight: implicitContentHeight
    ringRadius: VxTheme.radiusBar

    Accessible.role: Accessible.Link

    contentItem: VxText {
        text: link.text
        font.family: link.font.family
        font.pixelSize: link.font.pixelSize
        font.underline: true
        color: link.down ? VxTheme.accentPressed : link.hovered ? VxTheme.accentHover : VxTheme.text
        wrapMode: Text.Wrap
    }

    HoverHandler {
        cursorShape: Qt.PointingHandCursor
    }
}
