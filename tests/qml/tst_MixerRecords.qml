import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug
import VexoDeckSystemBridge
import VexoDeckTest

/* The list of records for the routing engine, compared with its table. */
MixerTestCase {
    id: testCase

    name: "MixerRecords"

    // The records by the table, from what each strip is set to.
    function expectedList(state) {
        const channel = (volume, muted) => ({
                    enabled: true,
                    volume: volume,
                    muted: muted
                });
        const deviceName = "VEXO Mixdesk R2";
        return [
            {
                processID: "4001",
                solo: state.listen === "file:///opt/music",
                input1: channel(0.3, state.monitor.includes("file:///opt/music")),
                input2: channel(0.3, state.mix.includes("file:///opt/music")),
                bundleID: "file:///opt/music",
                streamID: 0,
                deviceName: deviceName
            },
            {
                processID: 1,
                solo: state.listen === "Second Mic",
                input1: channel(0.3, state.monitor.includes("Second Mic")),
                input2: channel(0.3, state.mix.includes("Second Mic")),
                bundleID: 1,
                streamID: 1,
                deviceName: deviceName
            },
            {
                processID: 0xFFFFFFFE,
                solo: state.listen === "mix",
                input2: channel(0.3, state.mix.includes("mix")),
                bundleID: "__input2_device__",
                deviceName: deviceName
            },
            {
                processID: 0xFFFFFFFF,
                solo: state.listen === "listen",
                input1: channel(1, state.monitor.includes("listen")),
                bundleID: "__input1_device__",
                deviceName: deviceName
            },
            {
                processID: 0,
                solo: state.listen === "device",
                input1: channel(1, state.monitor.includes("device")),
                input2: channel(1, state.mix.includes("device")),
                bundleID: "0",
                streamID: 0,
                deviceName: deviceName
            }
        ];
    }

    function test_the_list_is_that_of_the_table_data() {
        const ids = ["mix", "listen", "device", "file:///opt/music", "Second Mic"];
        const rows = [];
        for (const listen of ids) {
            for (const muted of ids) {
                for (const suffixes of [[], ["monitor"], ["mix"], ["monitor", "mix"]])
                    rows.push({
                        tag: `solo ${listen}, ${muted} muted on ${suffixes.join(" and ") || "nothing"}`,
                        listen: listen,
                        monitor: suffixes.includes("monitor") ? [muted] : [],
                        mix: suffixes.includes("mix") ? [muted] : []
                    });
            }
        }
        return rows;
    }

    function test_the_list_is_that_of_the_table(data) {
        ConfigMgr.setValue("listen", data.listen);
        data.monitor.forEach(id => ConfigMgr.setValue(id + "_monitor", true));
        data.mix.forEach(id => ConfigMgr.setValue(id + "_mix", true));
        openMixer([music, secondMic]);
        compare(lists().length, 1);
        compareData(lastList(), expectedList(data));
        // The same by the buttons: all off and on again.
        for (const suffix of ["Monitor", "Live"]) {
            for (const strip of [child("liveOutput"), child("monitorOutput"), child("deviceStrip"), ...strips()]) {
                const button = findChild(strip, suffix === "Monitor" ? "monitorMute" : "liveMute");
                if (button.visible && button.isActive) {
                    mouseClick(button);
                    mouseClick(button);
                }
            }
        }
        compareData(lastList(), expectedList(data));
    }

    function test_the_list_is_that_of_the_table_with_every_choice_of_mutes_at_once_data() {
        return ["mix", "listen", "device", "file:///opt/music", "Second Mic"].map(id => ({
                    tag: "solo " + id,
                    listen: id
                }));
    }

    function test_the_list_is_that_of_the_table_with_every_choice_of_mutes_at_once(data) {
        const sources = ["device", "file:///opt/music", "Second Mic"];
        const onMonitor = ["listen", ...sources];
        const onLive = ["mix", ...sources];
        ConfigMgr.setValue("listen", data.listen);
        openMixer([music, secondMic]);
        for (let choice = 0; choice < 1 << (onMonitor.length + onLive.length); choice++) {
            const monitor = onMonitor.filter((id, place) => choice & (1 << place));
            const mix = onLive.filter((id, place) => choice & (1 << (place + onMonitor.length)));
            onMonitor.forEach(id => ConfigMgr.setValue(id + "_monitor", monitor.includes(id)));
            onLive.forEach(id => ConfigMgr.setValue(id + "_mix", mix.includes(id)));
            forget();
            row().sendAudioConfig();
            compareData(lastList(), expectedList({
                listen: data.listen,
                monitor: monitor,
                mix: mix
            }), `monitor ${monitor}, live ${mix}`);
        }
    }

    function test_a_volume_is_linear_and_held_within_0_and_1_data() {
        return [[0, 0], [0.5, 0.5], [1, 1], [1.7, 1], [-3, 0]].map(([stored, sent]) => ({
                    tag: String(stored),
                    stored: stored,
                    sent: sent
                }));
    }

    function test_a_volume_is_linear_and_held_within_0_and_1(data) {
        ConfigMgr.setValue("file:///opt/music_dB", data.stored);
        ConfigMgr.setValue("mix_dB", data.stored);
        openMixer([music]);
        compare(recordOf("file:///opt/music").input1.volume, data.sent);
        compare(recordOf("file:///opt/music").input2.volume, data.sent);
        compare(recordOf("__input2_device__").input2.volume, data.sent);
    }

    function test_a_volume_that_is_no_number_is_the_default() {
        startWith(["file%3A%2F%2F%2Fopt%2Fmusic_dB=loud", "mix_dB=nan"], "windows");
        openMixer([music]);
        compare(recordOf("file:///opt/music").input1.volume, 0.3);
        compare(recordOf("__input2_device__").input2.volume, 0.3);
        compare(slider(child("liveOutput")).value, 0.3);
    }

    function test_a_missing_process_id_is_0() {
        openMixer([Object.assign({}, music, {
                processIdentifier: undefined
            })]);
        compare(lastList()[0].processID, 0);
    }

    function test_a_process_id_that_is_no_applications_is_missing_data() {
        return ["0", "1", "2", "9", 2, "-1", "2.5", "music", "", "4294967294", "4294967295"].map(id => ({
                    tag: JSON.stringify(id),
                    id: id
                }));
    }

    // Such an id would take the place of the microphone, which is 1, of the device or of a bus.
    function test_a_process_id_that_is_no_applications_is_missing(data) {
        openMixer([Object.assign({}, music, {
                processIdentifier: data.id
            }), secondMic]);
        compare(recordOf("file:///opt/music").processID, 0);
        compare(recordOf("1").processID, 1);
        compare(row().processIDMap["1"], 1);
    }

    function test_the_list_without_a_device_name() {
        connectDevice({});
        openMixer([]);
        compare(lastList().map(record => record.deviceName), ["", "", ""]);
        compare(inputs("AddInputDevice"), []);
    }

    // The strips read the mutes first and without a default: a stored mute shows as off and still mutes.
    function test_on_windows_a_stored_mute_is_sent_and_shows_as_off() {
        startWith(["listen_monitor=true", "device_mix=true"], "windows");
        openMixer([]);
        compare(recordOf("__input1_device__").input1.muted, "true");
        compare(recordOf("0").input2.muted, "true");
        compare(part(child("monitorOutput"), "monitorMute").isActive, false);
        compare(part(child("deviceStrip"), "liveMute").isActive, false);
        // A click stores a real boolean.
        mouseClick(part(child("monitorOutput"), "monitorMute"));
        compare(recordOf("__input1_device__").input1.muted, true);
    }

    function test_elsewhere_a_stored_mute_is_sent_and_shows_as_on() {
        ConfigMgr.setValue("listen_monitor", true);
        startOn("linux");
        openMixer([]);
        compare(recordOf("__input1_device__").input1.muted, true);
        compare(part(child("monitorOutput"), "monitorMute").isActive, true);
    }

    function test_the_process_ids_lead_to_the_topics_of_the_strips() {
        openMixer([music, secondMic]);
        compareData(row().processIDMap, {
            "4001": "file:///opt/music",
            "1": 1
        });
    }

    function test_the_mixer_opens_the_inputs_at_its_start_and_closes_the_devices_at_its_end() {
        openMixer([secondMic, music, Object.assign({}, secondMic, {
                name: "Third Mic",
                bundleIdentifier: "Third Mic"
            })]);
        compare(inputs("AddInputDevice"), ["Second Mic 1", "Third Mic 2", "VEXO Mixdesk R2 0"]);
        compare(SystemBridge.calls[SystemBridge.calls.length - 1].name, "setAudioConfig");
        forget();
        closeMixer();
        compare(inputs("RemoveInputDevice"), ["VEXO Mixdesk R2"]);
        SystemBridge.audioInputLevelChanged([
            {
                processID: 0,
                levelLeft: 1,
                levelRight: 1
            }
        ]);
        compare(payloadsOf("device"), []);
    }
}
