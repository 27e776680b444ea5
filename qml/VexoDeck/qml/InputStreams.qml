pragma Singleton

import QtQml
// The program registers this module when it starts: qmllint finds no description of it.
import VexoDeckSystemBridge // qmllint disable import

/*
    The streams of the inputs that have a strip: each gets the lowest free number and keeps it until its strip goes or
    shows something else, also while no mixer is on the screen, since the capture service keeps its inputs, too. The
    service removes every input whose name holds the given one, or is held by it, and it does so later, after it has
    added what is new. So an input with a like name waits until the removed one has gone; one that the service refuses
    is added again until it is taken.
*/
QtObject {
    id: inputStreams

    readonly property var bridge: SystemBridge // qmllint disable unqualified

    // Name of an input to its stream, from 1.
    property var streams: Object.create(null)
    // Names of those that the service has yet to take.
    property var refused: []
    // Names of those that the service has yet to remove.
    property var closing: []

    // Between two tries. An input that went with another one is silent meanwhile.
    readonly property int shortestMs: 10
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
        if (!add(name) && !isHeld)
            refuse(name);
        return streams[name];
    }

    function close(name: string) {
        delete streams[name];
        refused = refused.filter(other => other !== name);
        if (bridge.RemoveInputDevice(name))
            closing = closing.concat([name]);
        Object.keys(streams).filter(other => isAlike(other, name)).forEach(other => refuse(other));
    }

    function add(name: string): bool {
        if (closing.length > 0) {
            const configured = bridge.GetInputDevices().map(input => input.name);
            closing = closing.filter(other => configured.includes(other));
        }
        return !closing.some(other => isAlike(other, name)) && bridge.AddInputDevice(name, streams[name]);
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
        refused = refused.filter(name => !add(name));
        again.interval = Math.min(longestMs, 2 * again.interval);
        if (refused.length > 0)
            again.start();
    }
}
