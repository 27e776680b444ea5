import QtQuick

/* The mouse over an item on which a place is picked. It signals the press and each move of the drag. */
MouseArea {
    id: area

    // The item, which takes the focus.
    required property Item control
    // The focus came by the mouse: no ring.
    property bool tookFocus: false

    signal movedTo(real x, real y)

    anchors.fill: control
    preventStealing: true
    cursorShape: Qt.PointingHandCursor

    onPressed: mouse => {
        tookFocus = true;
        control.forceActiveFocus(Qt.MouseFocusReason);
        movedTo(mouse.x, mouse.y);
    }
    onPositionChanged: mouse => movedTo(mouse.x, mouse.y)

    Connections {
        target: area.control

        function onActiveFocusChanged() {
            if (!area.control.activeFocus)
                area.tookFocus = false;
        }
    }
}
