import QtQuick

/* The base of a surface on which a place is picked: by the mouse, or in steps. */
StepSurface {
    id: surface

    signal pressedAt(x: real, y: real)
    signal draggedTo(x: real, y: real)

    MouseArea {
        objectName: "dragArea"
        anchors.fill: parent
        preventStealing: true
        cursorShape: Qt.PointingHandCursor
        onPressed: event => {
            surface.takeFocusByMouse();
            surface.pressedAt(event.x, event.y);
        }
        onPositionChanged: event => surface.draggedTo(event.x, event.y)
    }
}
