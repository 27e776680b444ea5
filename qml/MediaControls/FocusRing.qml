import QtQuick

/* The frame around a control that the keyboard has reached. Fills its parent, a little outside. */
Rectangle {
    // The radius of what it goes around.
    property real inner: VxTheme.radiusSmall
    property real gap: 3
    property color lineColor: VxTheme.focusRing

    anchors.fill: parent
    anchors.margins: -gap
    radius: inner + gap
    color: "transparent"
    border.width: 2
    border.color: lineColor
}
