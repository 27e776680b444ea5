pragma Singleton

import QtQml
// The program registers this module when it starts: qmllint finds no description of it.
import VexoDeckSystemBridge // qmllint disable import

/*
    The streams of the inputs that have a strip: each gets the lowest free number and keeps it until its strip goes or
    shows something else, also while no mixer is on the screen, since the capture service keeps its inputs, too. The
    service refuses an input whose removal it has yet to finish: such a one is added again until it is taken.
*/
QtObject {
    id: inputStreams

    readonly property var bridge: SystemBridge // qmllint disable unqualified

    // Name of an input to its stream, from 1.
    property var streams: Object.create(null)
    // Names of those that the service has yet to take.
    property var refused: []

    // Between two tries.
    readonly property int shortestMs: 100
    readonly property int longestMs: 12800

    readonly property Timer again: Timer {
        interval: inputStreams.shortestMs
        onTriggered: inputStreams.addRefused()
    }

    function lowestFree(): int {
        const taken = Object.values(streams);
        let stream = 1;
        while (taken.includes(stream))
            stream++;
        return stream;
    }

    // Opens an input and returns its stream: the one that it has, else the wanted one, else the lowest free one.
    function open(name: string, wanted: int): int {
        const isHeld = name in streams && !refused.includes(name);
        if (!(name in streams))
            streams[name] = wanted > 0 ? wanted : lowestFree();
        if (!bridge.AddInputDevice(name, streams[name]) && !isHeld)
            refuse(name);
        return streams[name];
    }

    function close(name: string) {
        delete streams[name];
        refused = refused.filter(other => other !== name);
        bridge.RemoveInputDevice(name);
        // The service removes every input whose name holds the given one, or is held by it.
        Object.keys(streams).filter(other => isAlike(other, name)).forEach(other => refuse(other));
    }

    function isAlike(name: string, other: string): bool {
        const [first, second] = [name.toLowerCase(), other.toLowerCase()];
        return first.includes(second) || second.includes(first);
    }

    function refuse(name: string) {
        if (refused.includes(name))
            return;
        console.log("The input is not taken yet and is added again:", name);
        refused = refused.concat([name]);
        again.interval = shortestMs;
        again.restart();
    }

    // Waits twice as long for the next try, since what was refused twice takes long.
    function addRefused() {
        refused = refused.filter(name => !bridge.AddInputDevice(name, streams[name]));
        again.interval = Math.min(longestMs, 2 * again.interval);
        if (refused.length > 0)
            again.start();
    }
}
