import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug
import VexoDeckSystemBridge
import VexoDeckTest

/* The buttons and faders of the strips. */
MixerTestCase {
    id: testCase

    name: "MixerStrips"

    SignalSpy {
        id: eventSpy

        signalName: "eventsChanged"
    }

    function spyOn(strip) {
        eventSpy.target = strip;
        eventSpy.clear();
    }

    function events() {
        return eventSpy.signalArguments.map(call => [call[0], call[1]]);
    }

    function all() {
        return [child("liveOutput"), child("monitorOutput"), child("deviceStrip"), ...strips()];
    }

    function litSolos() {
        return all().filter(strip => part(strip, "soloButton").isActive).map(strip => strip.bundleIdentifier);
    }

    function clickSolo(strip) {
        mouseClick(part(strip, "soloButton"));
    }

    function test_each_kind_of_strip_has_its_buttons_data() {
        return [["liveOutput", "直播", false, true, ""], ["monitorOutput", "监听", true, false, ""], ["deviceStrip", "Mixdesk R2", true, true, "deviceSettingsButton"], ["strip0", "Music", true, true, "deleteButton"]].map(row => ({
                    tag: row[0],
                    title: row[1],
                    monitorMute: row[2],
                    liveMute: row[3],
                    corner: row[4]
                }));
    }

    function test_each_kind_of_strip_has_its_buttons(data) {
        openMixer([music]);
        const strip = child(data.tag);
        compare(strip.title, data.title);
        compare(part(strip, "soloButton").visible, true);
        compare(part(strip, "monitorMute").visible, data.monitorMute);
        compare(part(strip, "liveMute").visible, data.liveMute);
        for (const corner of ["deviceSettingsButton", "deleteButton"])
            compare(findChild(strip, corner)?.visible ?? false, corner === data.corner);
    }

    function test_the_strips_and_buttons_stand_in_line() {
        openMixer([music, game]);
        for (const name of ["slider", "value", "soloButton", "monitorMute", "meter"]) {
            const places = all().filter(strip => part(strip, name).visible).map(strip => part(strip, name).mapToItem(mixer, 0, 0).y);
            compare(new Set(places).size, 1, `${name} at ${places}`);
        }
    }

    function test_the_buttons_have_their_colours() {
        openMixer([music]);
        const strip = child("strip0");
        compare(part(strip, "soloButton").getColor("#000000"), "#000000");
        for (const name of ["soloButton", "monitorMute", "liveMute"])
            mouseClick(part(strip, name));
        compare(part(strip, "soloButton").getColor("#000000"), "#0075ff");
        compare(part(strip, "monitorMute").getColor("#000000"), "#991010");
        compare(part(strip, "liveMute").getColor("#000000"), "#991010");
    }

    function test_solo_is_on_the_monitor_output_at_first() {
        openMixer([music]);
        compare(litSolos(), ["listen"]);
    }

    function test_solo_moves_from_strip_to_strip_and_never_switches_off() {
        openMixer([music]);
        for (const strip of all()) {
            forget();
            spyOn(strip);
            clickSolo(strip);
            compare(ConfigMgr.getValue("listen"), strip.bundleIdentifier);
            compare(litSolos(), [strip.bundleIdentifier]);
            compareData(payloadsOf("listen_mode_changed"), [strip.bundleIdentifier]);
            compare(lists().length, 1);
            compareData(events(), [[1, true]]);
            clickSolo(strip);
            compare(ConfigMgr.getValue("listen"), strip.bundleIdentifier);
            compare(litSolos(), [strip.bundleIdentifier]);
            compare(lists().length, 2);
        }
    }

    function test_a_source_with_both_mutes_on_that_holds_solo_is_sent_as_such() {
        openMixer([music]);
        const strip = child("strip0");
        for (const name of ["monitorMute", "liveMute", "soloButton"])
            mouseClick(part(strip, name));
        const record = recordOf("file:///opt/music");
        compare([record.solo, record.input1.muted, record.input2.muted], [true, true, true]);
    }

    function test_a_mute_is_stored_and_sent() {
        openMixer([music]);
        for (const [button, key, type] of [["monitorMute", "file:///opt/music_monitor", 2], ["liveMute", "file:///opt/music_mix", 3]]) {
            spyOn(child("strip0"));
            forget();
            mouseClick(part(child("strip0"), button));
            compare(ConfigMgr.getValue(key), true);
            mouseClick(part(child("strip0"), button));
            compare(ConfigMgr.getValue(key), false);
            compare(lists().length, 2);
            compareData(events(), [[type, true], [type, false]]);
        }
    }

    function test_the_range_of_each_fader_data() {
        return [["Mixdesk R2", mixdeskR2, [1, 30], [1, 30]], ["Voxmic M40", voxmicM40, [0, 13], [0, 18]], ["Voxmic T40", voxmicT40, [0, 13], [0, 18]]].map(row => ({
                    tag: row[0],
                    info: row[1],
                    monitor: row[2],
                    gain: row[3]
                }));
    }

    function test_the_range_of_each_fader(data) {
        connectDevice(data.info);
        openMixer([music]);
        const ranges = all().map(strip => [slider(strip).from, slider(strip).to, slider(strip).stepSize]);
        compareData(ranges, [[0, 1, 0.01], [...data.monitor, 1], [...data.gain, 1], [0, 1, 0.01]]);
    }

    function test_the_shown_values_data() {
        return [["liveOutput", mixdeskR2, 0.305, "31%"], ["monitorOutput", mixdeskR2, 1, "0%"], ["monitorOutput", mixdeskR2, 22, "72%"], ["monitorOutput", mixdeskR2, 30, "100%"], ["deviceStrip", mixdeskR2, 1, "1%"], ["deviceStrip", mixdeskR2, 30, "100%"], ["deviceStrip", voxmicM40, 0, "1%"], ["deviceStrip", voxmicM40, 18, "100%"], ["monitorOutput", voxmicM40, 13, "100%"], ["strip0", mixdeskR2, 0.5, "50%"]].map(row => ({
                    tag: row.slice(0, 1) + " " + row[1].name + " " + row[2],
                    strip: row[0],
                    info: row[1],
                    value: row[2],
                    text: row[3]
                }));
    }

    function test_the_shown_values(data) {
        connectDevice(data.info);
        openMixer([music]);
        const strip = child(data.strip);
        slider(strip).show(data.value);
        compare(part(strip, "value").text, data.text);
    }

    function test_a_source_sends_the_list_at_every_step_of_a_drag() {
        openMixer([music]);
        const fader = slider(child("strip0"));
        forget();
        press(fader);
        let steps = 0;
        fader.moved.connect(() => steps++);
        for (const value of [0.4, 0.5, 0.6])
            moveTo(fader, value);
        compare(lists().length, steps);
        verify(steps >= 3);
        release(fader);
        compare(ConfigMgr.getValue("file:///opt/music_dB"), 0.6);
        compare(recordOf("file:///opt/music").input1.volume, 0.6);
    }

    function test_the_end_of_a_drag_tells_the_event_once() {
        openMixer([music]);
        spyOn(child("strip0"));
        drag(slider(child("strip0")), 0.7);
        tryCompare(eventSpy, "count", 1);
        compareData(events(), [[0, 0.7]]);
    }

    function test_a_hardware_fader_steers_the_device_and_not_the_engine_data() {
        return [
            {
                tag: "device",
                strip: "deviceStrip",
                key: "auto_gain",
                topic: "update_mic_gain_level",
                attribute: "mic_gain"
            },
            {
                tag: "monitor output",
                strip: "monitorOutput",
                key: "device_dB",
                topic: "listen_volume_level",
                attribute: "listen_volume"
            }
        ];
    }

    function test_a_hardware_fader_steers_the_device_and_not_the_engine(data) {
        openMixer([music]);
        forget();
        const fader = slider(child(data.strip));
        drag(fader, 10);
        compare(ConfigMgr.getValue(data.key), 10);
        compare(payloadsOf(data.topic).pop(), 10);
        compareData(HIDDeviceMgr.messageCache[HIDDeviceMgr.attrs[data.attribute]], [10]);
        compare(lists().length, 0);
    }

    function test_a_report_of_the_device_moves_its_fader_unless_the_hand_is_on_it_data() {
        return test_a_hardware_fader_steers_the_device_and_not_the_engine_data();
    }

    function test_a_report_of_the_device_moves_its_fader_unless_the_hand_is_on_it(data) {
        openMixer([]);
        forget();
        const fader = slider(child(data.strip));
        HIDHotplugManager.messageReceived(HIDDeviceMgr.attrs[data.attribute], [5]);
        compare(fader.value, 5);
        compareData(HIDDeviceMgr.messageCache, {});
        press(fader);
        HIDHotplugManager.messageReceived(HIDDeviceMgr.attrs[data.attribute], [20]);
        compare(fader.value, 5);
        release(fader);
        HIDHotplugManager.messageReceived(HIDDeviceMgr.attrs[data.attribute], [21]);
        compare(fader.value, 5);
        tryCompare(fader, "isManually", false);
        HIDHotplugManager.messageReceived(HIDDeviceMgr.attrs[data.attribute], [22]);
        compare(fader.value, 22);
    }

    function test_the_wheel_is_a_press_a_step_and_a_release() {
        openMixer([music]);
        spyOn(child("strip0"));
        forget();
        const fader = slider(child("strip0"));
        mouseWheel(fader, fader.width / 2, 50, 0, 120);
        compare(ConfigMgr.getValue("file:///opt/music_dB"), 0.31);
        compare(lists().length, 1);
        compare(fader.isManually, true);
        tryCompare(eventSpy, "count", 1);
        compare(fader.isManually, false);
    }

    function test_a_double_click_puts_a_fader_back_to_its_default_data() {
        return [["liveOutput", 0.3], ["monitorOutput", 22], ["deviceStrip", 15], ["strip0", 0.3]].map(row => ({
                    tag: row[0],
                    value: row[1]
                }));
    }

    function test_a_double_click_puts_a_fader_back_to_its_default(data) {
        openMixer([music]);
        const strip = child(data.tag);
        const fader = slider(strip);
        drag(fader, fader.to);
        forget();
        const place = placeOf(fader, fader.value);
        Mouse.clicks(fader, place.x, place.y, 2, Application.styleHints.mouseDoubleClickInterval - 1);
        tryVerify(() => part(strip, "fader").position === data.value);
        if (data.tag === "strip0")
            compare(recordOf("file:///opt/music").input1.volume, 0.3);
    }

    // A busy program gets them together.
    function test_two_slow_clicks_are_no_double_click_however_late_they_are_handled() {
        openMixer([music]);
        const fader = slider(child("strip0"));
        drag(fader, fader.to);
        const place = placeOf(fader, fader.value);
        Mouse.clicks(fader, place.x, place.y, 2, Application.styleHints.mouseDoubleClickInterval);
        // A reset would follow in the next turn of the event loop.
        wait(0);
        compare(fader.value, fader.to);
    }

    function test_two_quick_clicks_on_the_track_are_two_values() {
        openMixer([music]);
        const strip = child("strip0");
        const fader = slider(strip);
        for (const [first, second] of [[0.9, 0.1], [0.5, 0.8], [0.7, 0.7]]) {
            for (const value of [first, second]) {
                const place = placeOf(fader, value);
                mouseClick(fader, place.x, place.y);
            }
            // Comes after what the second click may have put off.
            let later = false;
            Qt.callLater(() => later = true);
            tryVerify(() => later);
            compare(part(strip, "fader").position, second);
        }
    }

    function test_the_value_stands_at_the_handle_while_it_moves() {
        openMixer([music]);
        const fader = slider(child("strip0"));
        const bubble = Array.from(fader.handle.data).find(object => object.objectName === "tooltip");
        compare(bubble.visible, false);
        press(fader);
        moveTo(fader, 0.5);
        compare(bubble.visible, true);
        compare(bubble.text, "50%");
        release(fader);
        tryCompare(bubble, "visible", false);
    }

    // The tool tip of a mute covers the button above it.
    function test_a_tooltip_takes_no_press_from_what_it_covers() {
        openMixer([music]);
        const strip = child("strip0");
        const mute = part(strip, "monitorMute");
        const bubble = Array.from(mute.data).find(object => object.text === "监听静音");
        verify(bubble);
        mouseMove(mute, mute.width / 2, mute.height / 2);
        tryCompare(bubble, "opened", true);
        const solo = part(strip, "soloButton");
        mouseClick(solo, mute.width / 2, solo.height - 4);
        compare(ConfigMgr.getValue("listen"), "file:///opt/music");
    }

    function test_the_strips_of_both_columns_stand_in_line_also_where_one_scrolls() {
        openMixer([music]);
        mixer.width = 500;
        tryVerify(() => child("liveOutput").height === child("strip0").height);
        verify(child("strip0").height > 300);
    }

    function test_the_device_strip_goes_by_the_devices_name_without_the_maker_in_front_data() {
        return [["VEXO Mixdesk R2", "Mixdesk R2"], ["Mixdesk VEXO R2", "Mixdesk VEXO R2"], ["VEXOR 1", "VEXOR 1"]].map(([device, title]) => ({
                    tag: device,
                    device: device,
                    title: title
                }));
    }

    function test_the_device_strip_goes_by_the_devices_name_without_the_maker_in_front(data) {
        connectDevice(Object.assign({}, mixdeskR2, {
            name: data.device
        }));
        openMixer([]);
        compare(child("deviceStrip").title, data.title);
    }

    function test_the_device_strips_settings_are_asked_for() {
        openMixer([]);
        let asked = 0;
        mixer.deviceSettingsRequested.connect(() => asked++);
        mouseClick(part(child("deviceStrip"), "deviceSettingsButton"));
        compare(asked, 1);
    }

    function test_everything_is_reached_by_the_keyboard_and_has_a_name() {
        openMixer([music]);
        const seen = [];
        part(child("liveOutput"), "slider").forceActiveFocus(Qt.TabFocusReason);
        for (let step = 0; step < 40; step++) {
            const item = Window.window.activeFocusItem;
            if (seen.includes(item))
                break;
            verify(item.Accessible.name !== "", String(item));
            seen.push(item);
            keyClick(Qt.Key_Tab);
        }
        const wanted = [];
        for (const strip of all()) {
            for (const name of ["slider", "soloButton", "monitorMute", "liveMute", "deleteButton", "deviceSettingsButton", "appBox"]) {
                const item = findChild(strip, name);
                if (item?.visible)
                    wanted.push(item);
            }
        }
        wanted.push(child("plusButton"));
        compare(wanted.filter(item => !seen.includes(keyboardPart(item))).map(String), []);
    }

    // Assistive technology writes the property, and nothing else.
    function test_a_fader_takes_a_value_from_assistive_technology() {
        openMixer([music]);
        slider(child("strip0")).value = 0.62;
        tryVerify(() => ConfigMgr.getValue("file:///opt/music_dB") === 0.62);
        compare(recordOf("file:///opt/music").input1.volume, 0.62);
        slider(child("deviceStrip")).value = 21;
        tryVerify(() => ConfigMgr.getValue("auto_gain") === 21);
        compareData(HIDDeviceMgr.messageCache[HIDDeviceMgr.attrs.mic_gain], [21]);
    }

    function test_a_fader_moves_by_the_arrow_keys_and_tells_its_value() {
        openMixer([music]);
        const fader = slider(child("strip0"));
        fader.forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Up);
        keyClick(Qt.Key_Up);
        compare(ConfigMgr.getValue("file:///opt/music_dB"), 0.32);
        compare(fader.Accessible.role, Accessible.Slider);
        compare(fader.Accessible.name, "Music");
        compare(fader.Accessible.description, "32%");
        compare(child("strip0").Accessible.role, Accessible.Grouping);
        compare(child("strip0").Accessible.name, "Music");
    }
}
