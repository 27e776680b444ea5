import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug
import VexoDeckSystemBridge
import VexoDeckTest

/* The way of the engine's level reports to the meters. */
MixerTestCase {
    id: testCase

    name: "MixerLevels"

    function report(processID, levelLeft, levelRight) {
        return {
            processID: processID,
            levelLeft: levelLeft,
            levelRight: levelRight
        };
    }

    function levelsOf(strip) {
        return [part(strip, "left").level, part(strip, "right").level];
    }

    function test_each_report_reaches_its_strip_alone_data() {
        return [["deviceStrip", 0], ["monitorOutput", 0xFFFFFFFF], ["liveOutput", 0xFFFFFFFE], ["strip0", 4001], ["strip1", 1]].map(row => ({
                    tag: row[0],
                    processID: row[1]
                }));
    }

    function test_each_report_reaches_its_strip_alone(data) {
        openMixer([music, secondMic]);
        SystemBridge.audioInputLevelChanged([report(data.processID, 0.25, 0.5)]);
        for (const name of ["deviceStrip", "monitorOutput", "liveOutput", "strip0", "strip1"])
            compareData(levelsOf(child(name)), name === data.tag ? [0.25, 0.5] : [0, 0], name);
    }

    function test_a_screen_reader_hears_whose_level_it_is_and_how_high() {
        openMixer([music]);
        SystemBridge.audioInputLevelChanged([report(4001, 0.254, 1.3)]);
        const texts = strip => ["left", "right"].map(name => [part(strip, name).Accessible.name, part(strip, name).Accessible.description]);
        compareData(texts(child("strip0")), [["L", "Music 25%"], ["R", "Music 100%"]]);
        compareData(texts(child("monitorOutput")), [["L", "监听 0%"], ["R", "监听 0%"]]);
        tryCompare(part(child("strip0"), "left").Accessible, "description", "Music 0%");
    }

    function test_a_report_is_published_as_it_is() {
        openMixer([music]);
        published = [];
        SystemBridge.audioInputLevelChanged([report(0, 0.1, 0.2), report(4001, 0.3, 0.4)]);
        compareData(payloadsOf("device"), [report(0, 0.1, 0.2)]);
        compareData(payloadsOf("file:///opt/music"), [report(4001, 0.3, 0.4)]);
    }

    function test_a_report_for_an_unknown_process_is_dropped_without_a_word() {
        openMixer([music]);
        published = [];
        TestLog.begin();
        SystemBridge.audioInputLevelChanged([report(77, 1, 1), report(undefined, 1, 1), null, "nonsense", report(4001, 0.5, 0.5)]);
        compare(published.length, 1);
        compareData(levelsOf(child("strip0")), [0.5, 0.5]);
        compare(TestLog.lines.length, 0);
    }

    function test_levels_that_are_no_numbers_leave_the_meters_as_they_are() {
        openMixer([music]);
        SystemBridge.audioInputLevelChanged([report(4001, 0.5, 0.25)]);
        SystemBridge.audioInputLevelChanged([report(4001, NaN, NaN), report(0, "loud", undefined), report(0xFFFFFFFF, Infinity, -Infinity)]);
        compareData(levelsOf(child("strip0")), [0.5, 0.25]);
        compareData(levelsOf(child("deviceStrip")), [0, 0]);
        compareData(levelsOf(child("monitorOutput")), [1, 0]);
        tryCompare(part(child("strip0"), "left"), "level", 0);
    }

    function test_a_bus_over_1_lights_the_clip_mark_and_fills_the_bar() {
        openMixer([]);
        SystemBridge.audioInputLevelChanged([report(0xFFFFFFFE, 1.7, 0.99)]);
        compareData(levelsOf(child("liveOutput")), [1, 0.99]);
        compare(part(child("liveOutput"), "left").clipping, true);
        compare(part(child("liveOutput"), "right").clipping, false);
        compare(part(child("liveOutput"), "left").clippingDuration, 10000);
    }

    function test_a_meter_without_reports_falls() {
        openMixer([music]);
        SystemBridge.audioInputLevelChanged([report(4001, 0.5, 0.5)]);
        tryCompare(part(child("strip0"), "left"), "level", 0);
        tryCompare(part(child("strip0"), "left"), "drawnLevel", 0);
    }

    function test_a_deleted_strip_hears_nothing() {
        openMixer([music]);
        mouseClick(part(child("strip0"), "deleteButton"));
        tryVerify(() => MessageBus.subscribers["file:///opt/music"].length === 1);
        SystemBridge.audioInputLevelChanged([report(4001, 0.5, 0.5)]);
    }

    function test_an_input_listens_to_its_stream() {
        openMixer([secondMic]);
        MessageBus.publish("1", report(1, 0.6, 0.7));
        compareData(levelsOf(child("strip0")), [0.6, 0.7]);
    }
}
