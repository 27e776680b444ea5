.pragma library

/* The list of records that the routing engine takes: one for each strip, then the two buses and the device. */

const liveBus = 0xFFFFFFFE;
const monitorBus = 0xFFFFFFFF;
const device = 0;

// The topics of MessageBus under which the levels of the fixed strips travel.
const liveBusTopic = "__input2_device__";
const monitorBusTopic = "__input1_device__";
const deviceTopic = "device";

// 0 to 1. What is no number, from a damaged store, becomes the fallback.
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

// What a level report of an entry names.
function processIdOf(entry) {
    return entry.isInput ? entry.streamID : entry.processIdentifier ?? 0;
}

// The id under which the levels of an entry travel.
function topicOf(entry) {
    return entry.isInput ? entry.streamID : entry.bundleIdentifier;
}

function recordOfEntry(entry, state) {
    const id = entry.bundleIdentifier;
    // Linear: the slider's value goes into the engine as it stands.
    const volume = withinUnit(state.read(id + "_dB", state.defaultVolume), state.defaultVolume);
    return {
        processID: processIdOf(entry),
        bundleID: topicOf(entry),
        streamID: entry.streamID,
        deviceName: state.deviceName,
        solo: state.listen === id,
        input1: input(volume, state.muted(id + "_monitor")),
        input2: input(volume, state.muted(id + "_mix"))
    };
}

// Only the live output's slider is a master in the engine: that of the monitor output, and that of the device, steer
// the hardware.
function fixedRecords(state) {
    const live = state.read("mix_dB", state.defaultVolume);
    const share = (live - state.minimum) / (state.maximum - state.minimum);
    return [
        {
            processID: liveBus,
            bundleID: liveBusTopic,
            deviceName: state.deviceName,
            solo: state.listen === "mix",
            input2: input(withinUnit(share, state.defaultVolume), state.muted("mix_mix"))
        },
        {
            processID: monitorBus,
            bundleID: monitorBusTopic,
            deviceName: state.deviceName,
            solo: state.listen === "listen",
            input1: input(1, state.muted("listen_monitor"))
        },
        {
            processID: device,
            bundleID: "0",
            streamID: 0,
            deviceName: state.deviceName,
            solo: state.listen === "device",
            input1: input(1, state.muted("device_monitor")),
            input2: input(1, state.muted("device_mix"))
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
