import QtQml
import MediaControls

/* Looks every ten seconds whether the application of a mixer strip still runs, and so can be swapped. */
QtObject {
    id: presence

    // The strip's entry of AppInventory; null for a strip that has none.
    required property var currentApp
    property bool found: false

    readonly property Timer timer: Timer {
        interval: 10000
        repeat: true
        running: presence.currentApp !== null
        onTriggered: presence.check()
    }

    // The application runs, and did not the time before: its entry, with its process of now.
    signal came(app: var)

    function check() {
        const own = currentApp;
        if (!own)
            return;
        const running = AppInventory.runningThisTurn();
        const app = running.find(other => own.bundleIdentifier !== "" && other.bundleIdentifier === own.bundleIdentifier) ?? running.find(other => own.processIdentifier && other.processIdentifier === own.processIdentifier);
        const isNew = app !== undefined && !found;
        found = app !== undefined;
        if (isNew)
            came(Object.assign({}, app, {
                streamID: own.streamID
            }));
    }

    Component.onCompleted: check()
}
