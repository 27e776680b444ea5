import QtQml

/* Ends the installation on a microphone that says nothing any more: nothing else limits its time. */
QtObject {
    id: watch

    // The longest time without a report, and after the loss of the device: its verdict may still be on the way.
    property int silenceMs: 30000
    property int lossMs: 5000

    readonly property Timer timer: Timer {
        onTriggered: watch.stalled()
    }

    signal stalled

    function begin() {
        timer.interval = silenceMs;
        timer.restart();
    }

    function noteReport() {
        if (timer.running)
            begin();
    }

    // Only the first loss counts: a device that comes back reports itself in parts.
    function noteLoss() {
        if (!timer.running || timer.interval === lossMs)
            return;
        timer.interval = lossMs;
        timer.restart();
    }

    function end() {
        timer.stop();
    }
}
