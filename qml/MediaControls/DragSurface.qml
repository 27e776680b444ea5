import QtQuick

/*
    The base of a surface on which a place is picked: by the mouse, or in steps by the arrow keys or a screen reader. To
    the latter it is a slider of one of its axes.
*/
Item {
    id: surface

    // The value, its range and step, under the names that a screen reader reads. Only assistive technology writes value:
    // the nearest step to what it writes is taken as from the user's hand.
    required property real current
    property real value: current
    property real minimumValue: 0
    property real maximumValue: 1
    required property real stepSize
    // The axis of the value.
    property int orientation: Qt.Horizontal
    // The part of the surface under the mouse, in whose coordinates the places are.
    property Item plane: surface

    property alias cursorShape: mouse.cursorShape
    property alias hoverEnabled: mouse.hoverEnabled
    readonly property alias mouseX: mouse.mouseX
    readonly property alias held: mouse.pressed
    // The focus came by the mouse: no ring.
    property bool tookFocus: false
    readonly property bool focusShown: activeFocus && !tookFocus

    signal pressedAt(x: real, y: real)
    signal draggedTo(x: real, y: real)
    signal letGo
    // Steps to the right and upwards, negative ones to the left and downwards.
    signal stepped(right: int, up: int)

    function stepValue(steps: int) {
        if (orientation === Qt.Vertical)
            stepped(0, steps);
        else
            stepped(steps, 0);
    }

    function takeAssistedValue() {
        const steps = Math.round((value - current) / stepSize);
        value = Qt.binding(() => current);
        if (enabled && steps !== 0)
            stepValue(steps);
    }

    activeFocusOnTab: true
    Accessible.role: Accessible.Slider
    Accessible.focusable: activeFocusOnTab
    Accessible.focused: activeFocus

    MouseArea {
        id: mouse

        objectName: "dragArea"
        parent: surface.plane
        anchors.fill: parent
        preventStealing: true
        cursorShape: Qt.PointingHandCursor
        onPressed: event => {
            surface.tookFocus = true;
            surface.forceActiveFocus(Qt.MouseFocusReason);
            surface.pressedAt(event.x, event.y);
        }
        onPositionChanged: event => {
            if (pressed)
                surface.draggedTo(event.x, event.y);
        }
        onReleased: surface.letGo()
        onCanceled: surface.letGo()
    }

    Keys.onLeftPressed: stepped(-1, 0)
    Keys.onRightPressed: stepped(1, 0)
    Keys.onUpPressed: stepped(0, 1)
    Keys.onDownPressed: stepped(0, -1)
    Accessible.onIncreaseAction: stepValue(1)
    Accessible.onDecreaseAction: stepValue(-1)
    onValueChanged: {
        if (value !== current)
            takeAssistedValue();
    }
    onActiveFocusChanged: {
        if (!activeFocus)
            tookFocus = false;
    }
}
