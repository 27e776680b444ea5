import QtQuick
import QtQuick.Templates as T

/*
    The slider of the screens, horizontal or vertical. moved is for live traffic. changeComplete comes once, 500 ms
    after the user's hand has let go, unless it takes the slider again within that time. A step by the keyboard or the
    wheel, and a value from assistive technology, count as a press, a move and a release.

    The program shows a value by show(). A later write to value is what assistive technology does: the user's hand.
*/
T.Slider {
    id: slider

    property color backgroundColor: VxTheme.track
    property real backgroundOpacity: 1
    property bool showTooltip: true
    // Declared for screens that set it. It has no effect: formatedValueFunc makes the text.
    property string tooltipFormat: "%.0f%%"
    property bool snapToStep: false
    // function (value) that returns the text of a value. Without it the text is a percentage of 1.
    property var formatedValueFunc: null
    // For a screen reader.
    property string name: ""
    // True from the first touch of the user's hand until changeComplete. Meanwhile no other source may move the slider.
    readonly property bool isManually: hand.on
    // The range, under the property names that a screen reader reads.
    readonly property real minimumValue: from
    readonly property real maximumValue: to
    readonly property string valueText: {
        const format = formatedValueFunc;
        return format ? String(format(value)) : Math.round(value * 100) + "%";
    }

    signal changeComplete(real value)

    QtObject {
        id: hand

        property bool on: false
        property bool tooltipShown: false
        // The slider or the program changes the value, and not assistive technology. So it is until the completion.
        property bool ownChange: true
        property real lastValue: 0
        // Wheel movement, in eighths of a degree, that has not yet made a step.
        property real wheelRest: 0
    }

    function takeHand() {
        hand.on = true;
        hand.tooltipShown = true;
        tooltipTimer.stop();
    }

    // Moves the slider to a value of the program.
    function show(shown: real) {
        const before = hand.ownChange;
        hand.ownChange = true;
        value = shown;
        hand.ownChange = before;
    }

    // Moves by a number of steps as the user's hand does.
    function moveBySteps(count: int) {
        if (!enabled)
            return;
        takeHand();
        const before = value;
        hand.ownChange = true;
        for (let step = 0; step < Math.abs(count); step++) {
            if (count > 0)
                increase();
            else
                decrease();
        }
        hand.ownChange = false;
        if (value !== before)
            moved();
        if (!pressed)
            tooltipTimer.restart();
    }

    // The nearest step within the range.
    function snapped(wanted: real): real {
        const nearest = stepSize > 0 ? from + Math.round((wanted - from) / stepSize) * stepSize : wanted;
        return Math.max(Math.min(from, to), Math.min(Math.max(from, to), nearest));
    }

    // Assistive technology has written a value, on a step or between two.
    function takeAssistedValue(before: real) {
        show(enabled ? snapped(value) : before);
        if (!enabled)
            return;
        takeHand();
        // Later, when all that is bound to the value has followed it.
        if (value !== before)
            Qt.callLater(moved);
        tooltipTimer.restart();
    }

    // A changed range must not look like assistive technology that moves the slider into it.
    function keepWithinRange() {
        if (!hand.ownChange)
            show(Math.max(Math.min(from, to), Math.min(Math.max(from, to), value)));
    }

    function stepsOfRange(fraction: real): int {
        const step = stepSize > 0 ? stepSize : 0.1;
        return Math.max(1, Math.ceil(Math.abs(to - from) * fraction / step));
    }

    function handleKey(event: var) {
        const steps = {
            [Qt.Key_Left]: -1,
            [Qt.Key_Down]: -1,
            [Qt.Key_Right]: 1,
            [Qt.Key_Up]: 1,
            [Qt.Key_PageDown]: -stepsOfRange(0.1),
            [Qt.Key_PageUp]: stepsOfRange(0.1),
            [Qt.Key_Home]: -stepsOfRange(1),
            [Qt.Key_End]: stepsOfRange(1)
        }[event.key] ?? 0;
        event.accepted = steps !== 0;
        if (steps !== 0)
            moveBySteps(steps);
    }

    function handleWheel(eighthsOfDegree: real) {
        const notch = 120;
        hand.wheelRest += eighthsOfDegree;
        const steps = Math.trunc(hand.wheelRest / notch);
        hand.wheelRest -= steps * notch;
        if (steps !== 0)
            moveBySteps(steps);
    }

    implicitWidth: horizontal ? 200 : 24
    implicitHeight: horizontal ? 24 : 200
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    wheelEnabled: false
    snapMode: snapToStep ? T.Slider.SnapAlways : T.Slider.NoSnap
    opacity: enabled ? 1 : VxTheme.disabledOpacity

    Accessible.role: Accessible.Slider
    Accessible.name: name
    Accessible.description: valueText

    background: Item {
        Rectangle {
            objectName: "groove"
            anchors.centerIn: parent
            width: slider.horizontal ? slider.availableWidth : 4
            height: slider.horizontal ? 4 : slider.availableHeight
            radius: VxTheme.radiusBar
            color: slider.backgroundColor
            opacity: slider.backgroundOpacity
        }
        Rectangle {
            objectName: "fill"
            x: slider.horizontal ? slider.leftPadding : (parent.width - width) / 2
            y: slider.horizontal ? (parent.height - height) / 2 : slider.handle.y + slider.handle.height / 2
            width: slider.horizontal ? slider.handle.x + slider.handle.width / 2 - slider.leftPadding : 4
            height: slider.horizontal ? 4 : slider.topPadding + slider.availableHeight - y
            radius: VxTheme.radiusBar
            color: VxTheme.accent
        }
    }
    handle: VxIcon {
        x: slider.leftPadding + (slider.horizontal ? slider.visualPosition * (slider.availableWidth - width) : (slider.availableWidth - width) / 2)
        y: slider.topPadding + (slider.horizontal ? (slider.availableHeight - height) / 2 : slider.visualPosition * (slider.availableHeight - height))
        size: slider.horizontal ? 14 : 18
        source: "icons/dot.svg"
        scale: slider.pressed ? 1.2 : slider.hovered && slider.enabled ? 1.1 : 1

        Behavior on scale {
            NumberAnimation {
                duration: VxTheme.hoverMs
            }
        }

        FocusRing {
            inner: parent.width / 2
            visible: slider.visualFocus
        }

        VxToolTip {
            objectName: "tooltip"
            visible: slider.showTooltip && hand.tooltipShown
            text: slider.valueText
        }
    }

    // Passes on a turn of the wheel that is not the slider's: the page below scrolls.
    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.NoButton
        onWheel: event => {
            event.accepted = event.angleDelta.y !== 0 && WheelTurn.belongsTo(slider);
            if (event.accepted)
                slider.handleWheel(event.angleDelta.y);
        }
    }

    Timer {
        id: tooltipTimer

        objectName: "tooltipTimer"
        interval: 500
        onTriggered: {
            hand.tooltipShown = false;
            slider.changeComplete(slider.value);
            hand.on = false;
        }
    }

    Accessible.onIncreaseAction: moveBySteps(1)
    Accessible.onDecreaseAction: moveBySteps(-1)
    Keys.onPressed: event => handleKey(event)
    onPressedChanged: {
        if (pressed)
            takeHand();
        else
            tooltipTimer.restart();
    }
    onValueChanged: {
        const before = hand.lastValue;
        hand.lastValue = value;
        if (pressed)
            takeHand();
        else if (!hand.ownChange)
            takeAssistedValue(before);
    }
    onFromChanged: keepWithinRange()
    onToChanged: keepWithinRange()
    Component.onCompleted: {
        hand.lastValue = value;
        hand.ownChange = false;
    }
}
