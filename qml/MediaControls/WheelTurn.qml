pragma Singleton

import QtQml
import QtQuick

/*
    Whose a turn of the mouse wheel is: that of the slider or page where it began, whatever comes under the pointer on
    its way. So scrolling changes no value. A pause ends a turn.
*/
QtObject {
    id: wheelTurn

    // Without a further event for so long, in ms, a turn is over.
    readonly property int pauseMs: 500

    property Item owner: null
    property bool scrolls: false
    property real lastMs: 0

    function isRunning(): bool {
        return owner !== null && Date.now() - lastMs < pauseMs;
    }

    // Called by a slider at each event over it. One with the focus need not wait for the end of another slider's turn.
    function belongsTo(slider: Item): bool {
        if (!isRunning() || (slider.activeFocus && !scrolls))
            begin(slider, false);
        lastMs = Date.now();
        return owner === slider;
    }

    // Called by a page at each event that reaches it.
    function scrollOn(page: Item) {
        if (!isRunning())
            begin(page, true);
        lastMs = Date.now();
    }

    function begin(item: Item, scrolling: bool) {
        owner = item;
        scrolls = scrolling;
    }
}
