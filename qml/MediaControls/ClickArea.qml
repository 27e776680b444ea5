import QtQuick

/*
    Makes an item that is no button by type behave as one: mouse, Space and Enter, focus. The item sets
    activeFocusOnTab and forwards its keys here (Keys.forwardTo).
*/
MouseArea {
    id: area

    // The item that is clicked.
    required property Item control
    // The radius of the ring around the item.
    property real ringRadius: VxTheme.radiusSmall
    property real ringGap: 3
    readonly property bool lit: enabled && containsMouse

    signal activated

    QtObject {
        id: state

        // The focus came by the mouse: no ring then.
        property bool byMouse: false
    }

    anchors.fill: control
    hoverEnabled: true
    cursorShape: enabled ? Qt.PointingHandCursor : Qt.ArrowCursor

    FocusRing {
        objectName: "focusRing"
        inner: area.ringRadius
        gap: area.ringGap
        visible: area.control.activeFocus && !state.byMouse
    }

    Keys.onSpacePressed: event => KeyPress.once(event, () => activated())
    Keys.onReturnPressed: event => KeyPress.once(event, () => activated())
    Keys.onEnterPressed: event => KeyPress.once(event, () => activated())
    onPressed: {
        state.byMouse = true;
        control.forceActiveFocus(Qt.MouseFocusReason);
    }
    onClicked: activated()

    Connections {
        target: area.control

        function onActiveFocusChanged() {
            if (!area.control.activeFocus)
                state.byMouse = false;
        }
    }
}
