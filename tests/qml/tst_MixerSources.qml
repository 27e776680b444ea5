import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug
import VexoDeckSystemBridge
import VexoDeckTest

/* Strips of applications and inputs: how they are added, changed and removed. */
MixerTestCase {
    id: testCase

    name: "MixerSources"

    function many(count) {
        return Array.from({
            length: count
        }, (unused, index) => app("App" + index, 5000 + index));
    }

    function box(strip) {
        return part(strip, "appBox");
    }

    // Opens the list box of a strip and chooses a row by the keyboard.
    function swap(strip, name) {
        const appBox = box(strip);
        mouseClick(appBox);
        tryCompare(appBox.popup, "opened", true);
        const wanted = Array.from(appBox.model).findIndex(entry => entry.name === name);
        verify(wanted >= 0, name + " is offered");
        tryVerify(() => appBox.popup.contentItem.itemAtIndex(wanted));
        mouseClick(appBox.popup.contentItem.itemAtIndex(wanted));
        tryCompare(appBox.popup, "visible", false);
    }

    function namesIn(list) {
        return Array.from(list.model).map(entry => entry.name);
    }

    function test_an_empty_mixer_tells_what_to_do() {
        openMixer([]);
        verify(child("plusButton").hint !== "");
        SystemBridge.applications = [music];
        pick(0);
        compare(child("plusButton").hint, "");
        verify(child("plusButton").visible);
    }

    function test_the_picker_offers_what_has_no_strip() {
        SystemBridge.applications = [music, game, secondMic];
        openMixer([game]);
        compare(namesIn(openPicker()), ["Music", "Second Mic"]);
        compare(child("plusButton").Accessible.name, "添加应用");
        const popup = findChild(child("plusButton"), "popup");
        compare([popup.width, popup.height], [300, 400]);
    }

    function test_the_picker_tells_when_nothing_plays() {
        openMixer([]);
        openPicker();
        compare(findChild(child("plusButton"), "empty").visible, true);
    }

    function test_the_picker_works_by_the_keyboard_data() {
        return [
            {
                tag: "Return",
                key: Qt.Key_Return
            },
            {
                tag: "Enter",
                key: Qt.Key_Enter
            },
            {
                tag: "Space",
                key: Qt.Key_Space
            }
        ];
    }

    function test_the_picker_works_by_the_keyboard(row) {
        SystemBridge.applications = [music, game];
        openMixer([]);
        child("plusButton").forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Return);
        tryCompare(findChild(child("plusButton"), "popup"), "opened", true);
        keyClick(Qt.Key_Down);
        keyClick(row.key);
        tryCompare(findChild(child("plusButton"), "popup"), "visible", false);
        compare(storedApps().map(entry => entry.name), ["Game"]);
    }

    function test_a_strip_added_and_not_yet_touched_is_stored_but_not_sent() {
        SystemBridge.applications = [music];
        openMixer([]);
        forget();
        pick(0);
        compareData(storedApps(), [
            {
                name: "Music",
                iconFilePath: "",
                bundleIdentifier: "file:///opt/music",
                processIdentifier: "4001",
                isInput: false,
                streamID: 0
            }
        ]);
        compare(strips().length, 1);
        compare(lists().length, 0);
        mouseClick(part(child("liveOutput"), "liveMute"));
        compare(lists().length, 1);
        compare(lastList()[0].bundleID, "file:///opt/music");
    }

    function input(name) {
        return Object.assign({}, secondMic, {
            name: name,
            bundleIdentifier: name,
            processIdentifier: name
        });
    }

    function remove(stripName) {
        part(child(stripName), "deleteButton").clicked();
    }

    // As a choice in the picker does.
    function add(app) {
        row().addEntry(app);
        ConfigMgr.addStringList("appList", JSON.stringify(app));
    }

    function streams() {
        return row().audioControlles.map(entry => entry.streamID);
    }

    function test_an_added_input_gets_the_lowest_free_stream_and_is_opened() {
        SystemBridge.applications = [secondMic];
        openMixer([music]);
        forget();
        pick(0);
        compare(inputs("AddInputDevice"), ["Second Mic 1"]);
        compare(row().audioControlles[1].streamID, 1);
        compare(lists().length, 0);
    }

    function test_no_two_inputs_share_a_stream() {
        openMixer([input("A"), input("B")]);
        compare(streams(), [1, 2]);
        remove("strip0");
        add(input("C"));
        compare(row().audioControlles.map(entry => entry.name + entry.streamID), ["B2", "C1"]);
        remove("strip0");
        add(input("D"));
        add(input("E"));
        compare(row().audioControlles.map(entry => entry.name + entry.streamID), ["C1", "D2", "E3"]);
    }

    function test_an_input_keeps_its_stream_when_the_mixer_is_built_anew() {
        openMixer([input("A"), music, input("B")]);
        compare(streams(), [1, 0, 2]);
        remove("strip0");
        closeMixer();
        // As the engine does with what it has.
        SystemBridge.refusedInputs = ["B"];
        forget();
        openMixer();
        compare(streams(), [0, 2]);
        compare(lastList()[1].processID, 2);
        compare(InputStreams.refused, []);
        reportLevel(2, 0.5);
        compare(part(child("strip1"), "left").level, 0.5);
    }

    function test_an_input_that_is_refused_is_added_until_it_is_taken() {
        SystemBridge.refusedInputs = ["A"];
        openMixer([input("A")]);
        forget();
        tryVerify(() => inputs("AddInputDevice").length >= 2);
        compare(inputs("AddInputDevice").slice(0, 2), ["A 1", "A 1"]);
        SystemBridge.refusedInputs = [];
        tryVerify(() => InputStreams.refused.length === 0);
        forget();
        SystemBridge.refusedInputs = ["A"];
        remove("strip0");
        compare(inputs("AddInputDevice"), []);
        compare(InputStreams.again.running, false);
    }

    function test_an_input_whose_name_holds_that_of_a_removed_one_is_added_again() {
        openMixer([input("Desk Mic"), input("desk mic of the house"), input("Other")]);
        forget();
        remove("strip0");
        tryVerify(() => inputs("AddInputDevice").length > 0);
        compare(inputs("AddInputDevice"), ["desk mic of the house 2"]);
    }

    // The engine removes what is like the old name after it has added what is new.
    function test_a_new_input_with_a_like_name_waits_until_the_old_one_has_gone() {
        const longer = input("Desk Mic 2");
        SystemBridge.applications = [input("Desk Mic"), longer];
        openMixer([input("Desk Mic")]);
        SystemBridge.configuredInputs = ["Desk Mic"];
        forget();
        swap(child("strip0"), "Desk Mic 2");
        compare(inputs("RemoveInputDevice"), ["Desk Mic"]);
        tryVerify(() => InputStreams.again.interval > InputStreams.shortestMs);
        compare(inputs("AddInputDevice"), []);
        SystemBridge.configuredInputs = [];
        tryVerify(() => inputs("AddInputDevice").length > 0);
        compare(inputs("AddInputDevice"), ["Desk Mic 2 1"]);
        compare(InputStreams.refused, []);
    }

    function test_an_input_of_two_strips_is_removed_with_the_last_of_them() {
        openMixer([input("A"), input("A"), input("B")]);
        forget();
        remove("strip1");
        compare(inputs("RemoveInputDevice"), []);
        remove("strip0");
        compare(inputs("RemoveInputDevice"), ["A"]);
    }

    function test_a_second_click_waits_until_the_list_has_closed() {
        SystemBridge.applications = [music, game];
        openMixer([]);
        const list = openPicker();
        tryVerify(() => list.itemAtIndex(1));
        let added = 0;
        child("plusButton").clickApp.connect(() => {
            added++;
            child("plusButton").choose(game);
        });
        mouseClick(list.itemAtIndex(0));
        tryCompare(findChild(child("plusButton"), "popup"), "visible", false);
        compare(added, 1);
        compare(storedApps().length, 1);
    }

    function test_the_eighth_strip_hides_the_plus_button_and_deleting_one_brings_it_back() {
        SystemBridge.applications = many(8);
        openMixer(many(7));
        compare(child("plusButton").visible, true);
        pick(0);
        compare(strips().length, 8);
        compare(storedApps().length, 8);
        compare(child("plusButton").visible, false);
        mouseClick(part(child("strip3"), "deleteButton"));
        compare(child("plusButton").visible, true);
    }

    function test_deleting_a_strip_takes_it_out_by_its_place() {
        openMixer([music, game, talk]);
        forget();
        mouseClick(part(child("strip1"), "deleteButton"));
        compare(storedApps().map(entry => entry.name), ["Music", "Talk"]);
        compare(row().audioControlles.map(entry => entry.name), ["Music", "Talk"]);
        compare(lists().length, 1);
        compare(lastList().map(record => record.bundleID), ["file:///opt/music", "file:///opt/talk", "__input2_device__", "__input1_device__", "0"]);
        compare(inputs("RemoveInputDevice"), []);
        tryVerify(() => findChild(mixer, "strip1")?.title === "Talk");
    }

    function test_deleting_a_strip_by_the_keyboard_leaves_the_focus_on_the_plus_button() {
        openMixer(many(8));
        part(child("strip3"), "deleteButton").forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Space);
        compare(strips().length, 7);
        compare(child("plusButton").activeFocus, true);
        compare(child("plusButton").visualFocus, true);
    }

    function test_deleting_a_strip_by_the_mouse_leaves_the_plus_button_alone() {
        openMixer(many(2));
        mouseClick(part(child("strip1"), "deleteButton"));
        compare(strips().length, 1);
        compare(child("plusButton").activeFocus, false);
    }

    function test_deleting_an_input_closes_it() {
        openMixer([secondMic]);
        forget();
        mouseClick(part(child("strip0"), "deleteButton"));
        compare(inputs("RemoveInputDevice"), ["Second Mic"]);
    }

    function test_deleting_the_strip_that_holds_solo_puts_solo_on_the_monitor_output() {
        openMixer([music]);
        mouseClick(part(child("strip0"), "soloButton"));
        forget();
        mouseClick(part(child("strip0"), "deleteButton"));
        compare(ConfigMgr.getValue("listen"), "listen");
        compareData(payloadsOf("listen_mode_changed"), ["listen"]);
        compare(part(child("monitorOutput"), "soloButton").isActive, true);
        compare(recordOf("__input1_device__").solo, true);
    }

    function test_the_keys_of_a_deleted_application_are_kept() {
        openMixer([music]);
        mouseClick(part(child("strip0"), "liveMute"));
        mouseClick(part(child("strip0"), "deleteButton"));
        compare(ConfigMgr.getValue("file:///opt/music_mix"), true);
        SystemBridge.applications = [music];
        pick(0);
        compare(part(child("strip0"), "liveMute").isActive, true);
    }

    function test_the_strips_come_back_at_the_next_start() {
        openMixer([music, game]);
        drag(slider(child("strip1")), 0.8);
        mouseClick(part(child("strip0"), "monitorMute"));
        closeMixer();
        startOn("linux");
        openMixer();
        compare(strips().map(strip => strip.title), ["Music", "Game"]);
        compare(slider(child("strip1")).value, 0.8);
        compare(part(child("strip0"), "monitorMute").isActive, true);
    }

    function test_a_swapped_application_replaces_the_entry_and_the_strip_reads_its_settings() {
        SystemBridge.applications = [music, game, talk];
        ConfigMgr.setValue("file:///opt/talk_dB", 0.9);
        ConfigMgr.setValue("file:///opt/talk_mix", true);
        openMixer([music, game]);
        forget();
        swap(child("strip0"), "Talk");
        compare(storedApps().map(entry => entry.name), ["Talk", "Game"]);
        compare(row().audioControlles.map(entry => entry.name), ["Talk", "Game"]);
        compare(slider(child("strip0")).value, 0.9);
        compare(part(child("strip0"), "liveMute").isActive, true);
        compare(lists().length, 1);
        compare(recordOf("file:///opt/talk").input2.muted, true);
    }

    function test_a_swapped_strip_that_holds_solo_keeps_it() {
        SystemBridge.applications = [music, game, talk];
        openMixer([music, game]);
        mouseClick(part(child("strip0"), "soloButton"));
        forget();
        swap(child("strip0"), "Talk");
        compare(ConfigMgr.getValue("listen"), "file:///opt/talk");
        compareData(payloadsOf("listen_mode_changed"), ["file:///opt/talk"]);
        compare(part(child("strip0"), "soloButton").isActive, true);
        compare(lists().length, 1);
        compare(lastList().filter(record => record.solo).map(record => record.bundleID), ["file:///opt/talk"]);
        // Swapping another strip's application leaves solo where it is.
        swap(child("strip1"), "Music");
        compare(ConfigMgr.getValue("listen"), "file:///opt/talk");
    }

    function test_solo_goes_to_the_monitor_output_with_an_application_that_has_no_identifier() {
        SystemBridge.applications = [music, Object.assign({}, game, {
                bundleIdentifier: ""
            })];
        openMixer([music]);
        mouseClick(part(child("strip0"), "soloButton"));
        swap(child("strip0"), "Game");
        compare(ConfigMgr.getValue("listen"), "listen");
        compare(part(child("strip0"), "soloButton").isActive, false);
        compare(part(child("monitorOutput"), "soloButton").isActive, true);
        compare(lastList().filter(record => record.solo).map(record => record.bundleID), ["__input1_device__"]);
    }

    function test_a_strips_list_offers_its_own_application_and_those_without_a_strip() {
        SystemBridge.applications = [music, game, talk];
        openMixer([music, game]);
        mouseClick(box(child("strip0")));
        tryCompare(box(child("strip0")).popup, "opened", true);
        compare(namesIn(box(child("strip0"))), ["Music", "Talk"]);
        compare(box(child("strip0")).currentIndex, 0);
        // It reads the list each time it opens.
        box(child("strip0")).popup.close();
        SystemBridge.applications = [music, game];
        mouseClick(box(child("strip0")));
        compare(namesIn(box(child("strip0"))), ["Music"]);
    }

    function test_swapping_inputs_closes_the_old_and_opens_the_new_one() {
        const third = Object.assign({}, secondMic, {
            name: "Third Mic",
            bundleIdentifier: "Third Mic",
            processIdentifier: "Third Mic"
        });
        SystemBridge.applications = [secondMic, third, music];
        openMixer([game, secondMic]);
        forget();
        swap(child("strip1"), "Third Mic");
        compare([inputs("RemoveInputDevice"), inputs("AddInputDevice")], [["Second Mic"], ["Third Mic 1"]]);
        compare(lists().length, 1);
        forget();
        swap(child("strip1"), "Music");
        compare([inputs("RemoveInputDevice"), inputs("AddInputDevice")], [["Third Mic"], []]);
    }

    function test_a_swapped_input_keeps_its_stream_after_a_deletion_before_it() {
        const third = Object.assign({}, secondMic, {
            name: "Third Mic",
            bundleIdentifier: "Third Mic",
            processIdentifier: "Third Mic"
        });
        SystemBridge.applications = [secondMic, third];
        openMixer([game, secondMic]);
        mouseClick(part(child("strip0"), "deleteButton"));
        tryVerify(() => findChild(mixer, "strip0")?.title === "Second Mic");
        forget();
        swap(child("strip0"), "Third Mic");
        compare(inputs("AddInputDevice"), ["Third Mic 1"]);
        compare(lastList()[0].streamID, 1);
        reportLevel(1, 0.5);
        compare(part(child("strip0"), "left").level, 0.5);
    }

    function reportLevel(processID, level) {
        SystemBridge.audioInputLevelChanged([
            {
                processID: processID,
                levelLeft: level,
                levelRight: level
            }
        ]);
    }

    function test_the_meter_of_a_swapped_strip_shows_what_the_strip_plays() {
        SystemBridge.applications = [music, game, secondMic];
        openMixer([music]);
        const left = part(child("strip0"), "left");
        for (const [name, old, now] of [["Game", 4001, 4002], ["Second Mic", 4002, 1], ["Music", 1, 4001]]) {
            swap(child("strip0"), name);
            reportLevel(now, 0.5);
            compare(left.level, 0.5, name);
            reportLevel(old, 0.9);
            compare(left.level, 0.5, name);
            left.setLevel(0);
        }
    }

    function test_an_application_that_runs_shows_the_list_box_and_one_that_does_not_its_name() {
        SystemBridge.applications = [music];
        openMixer([music, game]);
        compare(box(child("strip0")).visible, true);
        compare(part(child("strip0"), "title").visible, false);
        compare(box(child("strip1")).visible, false);
        compare(part(child("strip1"), "title").visible, true);
        compare(part(child("strip1"), "title").text, "Game");
    }

    function timerOf(strip) {
        const presence = Array.from(strip.data).find(object => object.came !== undefined);
        verify(presence);
        return presence.timer;
    }

    function test_the_presence_check_runs_every_ten_seconds_for_sources_only() {
        openMixer([music]);
        compare([timerOf(child("strip0")).interval, timerOf(child("strip0")).running, timerOf(child("strip0")).repeat], [10000, true, true]);
        compare(timerOf(child("deviceStrip")).running, false);
    }

    function test_strips_that_check_together_ask_once() {
        SystemBridge.applications = many(8);
        openMixer(many(8));
        compare(callsNamed("getRunningApplications").length, 1);
        compare(strips().map(strip => box(strip).visible), many(8).map(() => true));
        forget();
        SystemBridge.applications = many(7);
        strips().forEach(strip => timerOf(strip).triggered());
        compare(callsNamed("getRunningApplications").length, 1);
        compare(box(child("strip0")).visible, true);
        compare(box(child("strip7")).visible, false);
    }

    function test_with_the_application_closed_the_strip_shows_the_name_and_the_capture_stays() {
        SystemBridge.applications = [music];
        openMixer([music]);
        forget();
        SystemBridge.applications = [];
        timerOf(child("strip0")).triggered();
        compare(box(child("strip0")).visible, false);
        compare(part(child("strip0"), "title").visible, true);
        compare(lists().length, 0);
        mouseClick(part(child("strip0"), "liveMute"));
        compare(recordOf("file:///opt/music").processID, "4001");
    }

    function test_a_restarted_application_is_shown_but_followed_only_when_it_is_picked_again() {
        openMixer([music]);
        SystemBridge.applications = [app("Music", 4999)];
        forget();
        timerOf(child("strip0")).triggered();
        compare(box(child("strip0")).visible, true);
        compare(child("strip0").currentApp.processIdentifier, "4999");
        compare(lists().length, 0);
        mouseClick(part(child("strip0"), "liveMute"));
        compare(recordOf("file:///opt/music").processID, "4001");
        swap(child("strip0"), "Music");
        compare(storedApps()[0].processIdentifier, "4999");
        compare(lists().length, 2);
        compare(recordOf("file:///opt/music").processID, "4999");
        reportLevel(4999, 0.5);
        compare(part(child("strip0"), "left").level, 0.5);
    }

    function test_solo_goes_with_a_strip_whose_process_belongs_to_another_program_now_data() {
        return [
            {
                tag: "of another name",
                other: app("Game", 4001)
            },
            {
                tag: "of the same name",
                other: Object.assign({}, music, {
                    bundleIdentifier: "file:///opt/new/music"
                })
            }
        ];
    }

    function test_solo_goes_with_a_strip_whose_process_belongs_to_another_program_now(data) {
        openMixer([music, talk]);
        mouseClick(part(child("strip0"), "soloButton"));
        SystemBridge.applications = [data.other];
        timerOf(child("strip0")).triggered();
        compare(child("strip0").bundleIdentifier, data.other.bundleIdentifier);
        compare(ConfigMgr.getValue("listen"), data.other.bundleIdentifier);
        compare(part(child("strip0"), "soloButton").isActive, true);
        compare(lastList().filter(record => record.solo).map(record => record.bundleID), [data.other.bundleIdentifier]);
    }

    function test_solo_of_a_strip_that_is_not_there_goes_to_the_monitor_output_data() {
        return [
            {
                tag: "a broken entry",
                texts: [JSON.stringify(game), "{\"bundleIdentifier\": \"file:///opt/music\""]
            },
            {
                tag: "one too many",
                texts: many(8).concat([music]).map(entry => JSON.stringify(entry))
            },
            {
                tag: "none",
                texts: []
            }
        ];
    }

    function test_solo_of_a_strip_that_is_not_there_goes_to_the_monitor_output(data) {
        ConfigMgr.setValue("listen", "file:///opt/music");
        ConfigMgr.setStringList("appList", data.texts);
        openMixer();
        compare(ConfigMgr.getValue("listen"), "listen");
        compare(part(child("monitorOutput"), "soloButton").isActive, true);
        compare(lastList().filter(record => record.solo).map(record => record.bundleID), ["__input1_device__"]);
    }

    function test_a_strip_that_was_found_before_gets_no_fresh_copy() {
        SystemBridge.applications = [music];
        openMixer([music]);
        SystemBridge.applications = [app("Music", 4999)];
        timerOf(child("strip0")).triggered();
        compare(child("strip0").currentApp.processIdentifier, "4001");
    }

    function test_an_application_is_also_found_by_its_process() {
        SystemBridge.applications = [Object.assign({}, music, {
                bundleIdentifier: "file:///opt/music-new"
            })];
        openMixer([music]);
        compare(box(child("strip0")).visible, true);
        compare(child("strip0").bundleIdentifier, "file:///opt/music-new");
    }

    function test_stray_keys_on_a_closed_list_box_do_not_swap() {
        SystemBridge.applications = [music, game];
        openMixer([music]);
        box(child("strip0")).forceActiveFocus(Qt.TabFocusReason);
        forget();
        keyClick("g");
        keyClick("7", Qt.MetaModifier);
        keyClick(Qt.Key_End);
        keyClick(Qt.Key_Home);
        compare(child("strip0").title, "Music");
        compare(box(child("strip0")).popup.visible, false);
        keyClick(Qt.Key_Down);
        tryCompare(box(child("strip0")).popup, "visible", true);
        compare(child("strip0").title, "Music");
        keyClick(Qt.Key_Down);
        keyClick(Qt.Key_Return);
        tryCompare(child("strip0"), "title", "Game");
        compare(lists().length, 1);
    }

    function test_applications_may_come_and_go_during_a_drag() {
        SystemBridge.applications = [music, game, talk];
        openMixer([music, game]);
        const fader = slider(child("strip1"));
        press(fader);
        moveTo(fader, 0.6);
        row().addEntry(Object.assign({}, talk, {
            isInput: false,
            streamID: 0
        }));
        ConfigMgr.addStringList("appList", JSON.stringify(talk));
        moveTo(fader, 0.7);
        row().removeEntry(0);
        moveTo(fader, 0.8);
        release(fader);
        compare(ConfigMgr.getValue("file:///opt/game_dB"), 0.8);
        compare(storedApps().map(entry => entry.name), ["Game", "Talk"]);
        compare(recordOf("file:///opt/game").input1.volume, 0.8);
    }

    function test_names_of_any_length_leave_the_strips_as_they_are() {
        const lengthy = app("L".repeat(300), 1);
        const none = app("", 2);
        none.bundleIdentifier = "file:///opt/nameless/player";
        const twin = app("Music", 3);
        twin.bundleIdentifier = "file:///opt/music-twin";
        SystemBridge.applications = [lengthy, none, music, twin];
        openMixer([lengthy, none, music, twin]);
        compare(strips().map(strip => strip.width), [104, 104, 104, 104]);
        compare(strips().map(strip => box(strip).displayText), ["L".repeat(300), "player", "Music", "Music"]);
        compare(part(child("strip2"), "slider").Accessible.name, "Music");
        mouseClick(part(child("strip3"), "liveMute"));
        compare(lastList().filter(record => record.input2?.muted).map(record => record.bundleID), ["file:///opt/music-twin"]);
    }

    function test_an_icon_that_is_no_picture_falls_back_to_that_of_sound_data() {
        return [
            {
                tag: "no picture in it",
                icon: String(Qt.resolvedUrl("tst_MixerSources.qml"))
            },
            {
                tag: "a picture that breaks off",
                icon: String(Qt.resolvedUrl("truncated.png"))
            }
        ];
    }

    function test_an_icon_that_is_no_picture_falls_back_to_that_of_sound(data) {
        TestLog.expect("QML Image");
        SystemBridge.applications = [];
        openMixer([Object.assign({}, music, {
                iconFilePath: data.icon
            }), game]);
        const icons = strips().map(strip => part(strip, "appIcon"));
        const picture = findChild(icons[0], "picture");
        verify(String(picture.source).startsWith(data.icon + "?cache="));
        tryVerify(() => picture.status === Image.Error);
        compare(picture.visible, false);
        compare(icons.map(icon => findChild(icon, "fallback").visible), [true, true]);
        mouseClick(part(child("strip0"), "liveMute"));
        compare(recordOf("file:///opt/music").input2.muted, true);
    }

    function test_an_icon_shows_as_soon_as_its_file_is_there() {
        SystemBridge.iconsThere = false;
        const icon = String(Qt.resolvedUrl("../../qml/MediaControls/icons/audio.svg"));
        openMixer([Object.assign({}, talk, {
                iconFilePath: icon
            })]);
        const picture = findChild(part(child("strip0"), "appIcon"), "picture");
        const fallback = findChild(part(child("strip0"), "appIcon"), "fallback");
        compare(String(picture.source), "");
        compare(fallback.visible, true);
        SystemBridge.iconsThere = true;
        tryVerify(() => String(picture.source).startsWith(icon + "?cache="));
        tryCompare(picture, "status", Image.Ready);
        compare(fallback.visible, false);
    }

    function test_an_icon_that_is_none_of_the_inventory_is_not_read() {
        SystemBridge.iconsThere = false;
        openMixer([Object.assign({}, talk, {
                iconFilePath: String(Qt.resolvedUrl("truncated.png"))
            })]);
        const icon = part(child("strip0"), "appIcon");
        compare(String(findChild(icon, "picture").source), "");
        compare(findChild(icon, "fallback").visible, true);
    }

    function test_nothing_is_fetched_from_elsewhere() {
        openMixer([Object.assign({}, talk, {
                iconFilePath: "http://localhost/icon.png"
            })]);
        const icon = part(child("strip0"), "appIcon");
        compare(String(findChild(icon, "picture").source), "");
        compare(findChild(icon, "fallback").visible, true);
    }

    function test_broken_and_foreign_entries_are_left_out() {
        const texts = ["", "{", "null", "[]", "3", "\"text\"", "{}", "{\"app\":{\"id\":7}}", "{\"name\":7}", "{\"bundleIdentifier\":[1]}", "undefined"];
        const broken = Array.from({
            length: 50
        }, (unused, index) => texts[index % texts.length]);
        broken[17] = JSON.stringify(music);
        broken[40] = JSON.stringify(game);
        ConfigMgr.setStringList("appList", broken);
        TestLog.begin();
        openMixer();
        compare(linesWith("Entries of appList that are broken or too many, removed: 48").length, 1);
        compare(strips().map(strip => strip.title), ["Music", "Game"]);
        compare(storedApps().map(entry => entry.name), ["Music", "Game"]);
        compare(lastList().length, 5);
        mouseClick(part(child("strip1"), "deleteButton"));
        compare(storedApps().map(entry => entry.name), ["Music"]);
    }

    function test_more_entries_than_the_mixer_holds_are_cut_off() {
        TestLog.begin();
        openMixer(many(50));
        compare(linesWith("Entries of appList that are broken or too many, removed: 42").length, 1);
        compare(strips().length, 8);
        compare(storedApps().length, 8);
        compare(lastList().length, 11);
    }

    function test_an_entry_without_an_identifier_reads_no_settings() {
        const entry = Object.assign({}, music, {
            bundleIdentifier: ""
        });
        openMixer([entry]);
        verify(!("_monitor" in ConfigMgr.config) || ConfigMgr.config["_monitor"] === false);
        compare(child("strip0").title, "Music");
    }
}
