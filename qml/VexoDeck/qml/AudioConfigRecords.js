.pragma library

/* The list of records for the routing engine: one for each source, then the two buses and the device. */

// The strips that every mixer has: the id that the engine knows each by, the identifier that begins its settings, and
// the topic of MessageBus under which its levels travel.
const liveOutput = { processID: 0xFFFFFFFE, identifier: "mix", topic: "__input2_device__" };
const monitorOutput = { processID: 0xFFFFFFFF, identifier: "listen", topic: "__input1_device__" };
const device = { processID: 0, identifier: "device", topic: "device" };
// By StripKind.
const fixedStrips = [liveOutput, monitorOutput, device];

// The settings of a strip.
function volumeKey(identifier) {
    return identifier + "_dB";
}

function monitorMuteKey(identifier) {
    return identifier + "_monitor";
}

function liveMuteKey(identifier) {
    return identifier + "_mix";
}

// Clamps to 0 to 1. The fallback replaces what is no number, as from a damaged store.
function withinUnit(value, fallback) {
    const number = Number(value);
    return Math.max(0, Math.min(1, Number.isFinite(number) ? number : fallback));
}

function input(volume, muted) {
    return {
        enabled: true,
        volume: volume,
        muted: muted
    };
}

// The id that names an entry in level reports.
function processIdOf(entry) {
    return entry.isInput ? entry.streamID : entry.processIdentifier ?? 0;
}

// The id under which the levels of an entry travel: only inputs have a stream.
function topicOf(entry) {
    return entry.streamID > 0 ? entry.streamID : entry.bundleIdentifier;
}

function recordOfEntry(entry, state) {
    const id = entry.bundleIdentifier;
    // A linear gain: the engine gets the slider's value unchanged.
    const volume = withinUnit(state.read(volumeKey(id), state.defaultVolume), state.defaultVolume);
    return {
        processID: processIdOf(entry),
        bundleID: topicOf(entry),
        streamID: entry.streamID,
        deviceName: state.deviceName,
        solo: state.listen === id,
        input1: input(volume, state.muted(monitorMuteKey(id))),
        input2: input(volume, state.muted(liveMuteKey(id)))
    };
}

// Only the live output's slider is a master in the engine: that of the monitor output, and that of the device, steer
// the hardware.
function fixedRecords(state) {
    const live = state.read(volumeKey(liveOutput.identifier), state.defaultVolume);
    const share = (live - state.minimum) / (state.maximum - state.minimum);
    const solo = strip => state.listen === strip.identifier;
    const monitorInput = strip => input(1, state.muted(monitorMuteKey(strip.identifier)));
    const liveInput = (strip, volume) => input(volume, state.muted(liveMuteKey(strip.identifier)));
    return [
        {
            processID: liveOutput.processID,
            bundleID: liveOutput.topic,
            deviceName: state.deviceName,
            solo: solo(liveOutput),
            input2: liveInput(liveOutput, withinUnit(share, state.defaultVolume))
        },
        {
            processID: monitorOutput.processID,
            bundleID: monitorOutput.topic,
            deviceName: state.deviceName,
            solo: solo(monitorOutput),
            input1: monitorInput(monitorOutput)
        },
        {
            processID: device.processID,
            bundleID: "0",
            streamID: 0,
            deviceName: state.deviceName,
            solo: solo(device),
            input1: monitorInput(device),
            input2: liveInput(device, 1)
        }
    ];
}

/*
    state: listen (the id that holds solo), deviceName, minimum, maximum and defaultVolume of a strip, and the functions
    read(key, fallback) and muted(key).
*/
function records(entries, state) {
    return entries.map(entry => recordOfEntry(entry, state)).concat(fixedRecords(state));
}
