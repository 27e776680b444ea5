import QtQuick
import QtQuick.Templates as T

/* A thin bar that shows itself only where there is something to scroll. */
T.ScrollBar {
    id: scrollBar

    property int thickness: 8
    // A broader strip for a standing bar, which then stands in the middle of it.
    property real space: 0

    implicitWidth: Math.max(thickness, space)
    implicitHeight: thickness
    padding: 2
    horizontalPadding: padding + (implicitWidth - thickness) / 2
    minimumSize: 0.1
    visible: policy !== T.ScrollBar.AlwaysOff && size < 1
    // What the keyboard reaches scrolls into view by itself: to a screen reader the bar says nothing.
    Accessible.ignored: true

    contentItem: Rectangle {
        radius: VxTheme.radiusBar
        color: scrollBar.pressed || scrollBar.hovered ? VxTheme.outlineHover : VxTheme.outline
    }
}
