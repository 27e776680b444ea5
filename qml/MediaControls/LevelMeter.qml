import QtQuick

/* The base of the meters: the level of one channel, and a mark that stays on for a while after clipping. */
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
    // Whose level it is, for a screen reader. Empty where there is only one meter.
    property string owner: ""
    readonly property string levelText: Math.round(100 * level) + "%"

    // Ignores what is no number.
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
