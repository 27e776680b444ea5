pragma Singleton

import QtQml
import QtQuick

/*
    Whose a turn of the mouse wheel is: that of the slider or page where it began, whatever comes under the pointer on
    its way. So scrolling changes no value. A pause ends a turn.
*/
QtObject {
    id: wheelTurn

    // Without a further event for so long a turn is over. The time of day would not do: the user can set it back.
    readonly property Timer pause: Timer {
        interval: 500
    }

    property Item owner: null
    property bool scrolls: false

    function isRunning(): bool {
        return owner !== null && pause.running;
    }

    // Called by a slider at each event over it. One with the focus need not wait for the end of another slider's turn.
    function belongsTo(slider: Item): bool {
        if (!isRunning() || (slider.activeFocus && !scrolls))
            begin(slider, false);
        pause.restart();
        return owner === slider;
    }

    // Called by a page at each event that reaches it.
    function scrollOn(page: Item) {
        if (!isRunning())
            begin(page, true);
        pause.restart();
    }

    function begin(item: Item, scrolling: bool) {
        owner = item;
        scrolls = scrolling;
    }
}
