import QtQuick

/* What the meters share: the level of one channel and the mark that stays for a while after it clipped. */
Item {
    id: meter

    // 0 to 1.
    property real level: 0.0
    property bool clipping: false
    // A level at or over this lights the mark.
    property real clippingThreshold: 1
    // Milliseconds that the mark stays.
    property int clippingDuration: 10000
    property string channelName: "L"
    // Whose level it is, for a screen reader; empty where nothing else has a meter.
    property string owner: ""
    readonly property string levelText: Math.round(100 * level) + "%"

    // What is no number is no report.
    function setLevel(value: real) {
        if (isNaN(value))
            return;
        level = Math.max(0, Math.min(1, value));
        if (level >= clippingThreshold && !clipping) {
            clipping = true;
            clippingTimer.restart();
        }
    }

    function clearClipping() {
        clippingTimer.stop();
        clipping = false;
    }

    Accessible.role: Accessible.Indicator
    Accessible.name: channelName
    Accessible.description: owner === "" ? levelText : owner + " " + levelText

    Timer {
        id: clippingTimer

        objectName: "clippingTimer"
        interval: meter.clippingDuration
        onTriggered: meter.clearClipping()
    }

    Component.onDestruction: clearClipping()
}
