import QtQuick

/*
    The base of what has a value that moves in steps: by the arrow keys, or by a screen reader, to which it is a slider of
    one of its axes.
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
    // The focus came by the mouse: no ring.
    property bool tookFocus: false
    readonly property bool focusShown: activeFocus && !tookFocus

    // Steps to the right and upwards, negative ones to the left and downwards.
    signal stepped(right: int, up: int)

    function takeFocusByMouse() {
        tookFocus = true;
        forceActiveFocus(Qt.MouseFocusReason);
    }

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
    Accessible.focusable: true
    Accessible.focused: activeFocus

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
