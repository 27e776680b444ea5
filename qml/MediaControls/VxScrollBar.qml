import QtQuick
import QtQuick.Templates as T

/* A thin bar that shows itself only where there is something to scroll. */
T.ScrollBar {
    id: scrollBar

    implicitWidth: 8
    implicitHeight: 8
    padding: 2
    minimumSize: 0.1
    visible: size < 1

    contentItem: Rectangle {
        radius: 2
        color: scrollBar.pressed || scrollBar.hovered ? VxTheme.outlineHover : VxTheme.outline
    }
}
