import QtQuick
import QtQuick.Templates as T

/* A thin bar that is visible only where there is something to scroll. */
T.ScrollBar {
    id: scrollBar

    property int thickness: 8
    // Width reserved for a vertical bar, which is centred in it.
    property real space: 0

    implicitWidth: Math.max(thickness, space)
    implicitHeight: thickness
    padding: 2
    horizontalPadding: padding + (implicitWidth - thickness) / 2
    minimumSize: 0.1
    visible: policy !== T.ScrollBar.AlwaysOff && size < 1
    // Screen readers skip the bar: what the keyboard reaches scrolls into view by itself.
    Accessible.ignored: true

    contentItem: Rectangle {
        radius: VxTheme.radiusBar
        color: scrollBar.pressed || scrollBar.hovered ? VxTheme.outlineHover : VxTheme.outline
    }
}
