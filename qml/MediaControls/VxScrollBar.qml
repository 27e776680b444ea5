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
    // The pages scroll to what the keyboard reaches: to a screen reader the bar says nothing.
    Accessible.ignored: true

    contentItem: Rectangle {
        radius: 2
        color: scrollBar.pressed || scrollBar.hovered ? VxTheme.outlineHover : VxTheme.outline
    }
}
