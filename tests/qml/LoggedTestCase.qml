import QtQuick
import QtTest
import VexoDeckTest

/* A test case that fails on warnings and errors in the log that the test has not announced with TestLog.expect(). */
TestCase {
    id: loggedTestCase

    when: windowShown

    // The expected movement, beside the one under test.
    property real referenceValue: 0

    NumberAnimation {
        id: reference

        target: loggedTestCase
        property: "referenceValue"
    }

    // Whether the time of startReferenceTime() is over.
    property bool referenceTimeOver: false

    Timer {
        id: referenceTimer

        onTriggered: loggedTestCase.referenceTimeOver = true
    }

    // Starts a time beside the one under test, before it: timers of one length end in the order of their starts. Their
    // clock stands still within a frame, so that a busy machine's wall clock measures less than a timer waited.
    function startReferenceTime(durationMs) {
        referenceTimeOver = false;
        referenceTimer.interval = durationMs;
        referenceTimer.restart();
    }

    // Verifies that a change animates a property from one value to another: at each step the property has the value of
    // this duration and easing, however slow the machine is. `find` returns the object after the change. Returns the
    // number of steps on the way; a busy machine makes few.
    function verifyMovement(change, find, property, from, to, durationMs, easingType) {
        const misses = [];
        let stepsOnTheWay = 0;
        reference.from = from;
        reference.to = to;
        reference.duration = durationMs;
        reference.easing.type = easingType;
        reference.start();
        change();
        const object = find();
        const changed = object[property + "Changed"];
        const record = () => {
            misses.push(Math.abs(object[property] - referenceValue) / Math.abs(to - from));
            if (object[property] !== from && object[property] !== to)
                stepsOnTheWay++;
        };
        changed.connect(record);
        tryVerify(() => !reference.running && object[property] === to);
        changed.disconnect(record);
        verify(misses.every(miss => miss < 0.02), `${property} missed its way by ${misses}`);
        return stepsOnTheWay;
    }

    // What the keyboard reaches of a control: the control, or a part of it.
    function keyboardPart(control) {
        return control.activeFocusOnTab ? control : control.nextItemInFocusChain();
    }

    function reach(control) {
        const reached = keyboardPart(control);
        reached.forceActiveFocus(Qt.TabFocusReason);
        return reached;
    }

    function init() {
        TestLog.begin();
    }

    function cleanup() {
        compare(TestLog.takeFaults(), []);
    }

    // The lines that contain a text.
    function linesWith(text) {
        return TestLog.lines.filter(line => line.includes(text));
    }
}
