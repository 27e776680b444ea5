import QtQuick
import MediaControls
import VexoDeck
import VexoDeckTest
import VexoDeckTracker

/* The events that the strips of the mixer store for what the user does. */
MixerTestCase {
    id: testCase

    name: "MixerEvents"

    readonly property var store: DataTrackerManager

    function openStrips(apps) {
        ConfigMgr.setValue("share_data", true);
        openMixer(apps);
        empty();
    }

    function empty() {
        while (store.countEvents() > 0)
            store.deleteByIds(Array.from(store.queryEvents(0)).map(row => row.id));
    }

    function events() {
        return Array.from(store.queryEvents(0)).sort((a, b) => a.id - b.id).map(row => [row.featureModule, row.featureItem, row.eventType, row.eventValue, row.source].join());
    }

    function test_the_buttons_of_each_strip_are_events_data() {
        return [["liveOutput", "直播输出"], ["monitorOutput", "监听输出"], ["deviceStrip", "声卡通道"], ["strip0", "Music"]].map(([strip, item]) => ({
                    tag: item,
                    strip: strip,
                    item: item
                }));
    }

    function test_the_buttons_of_each_strip_are_events(row) {
        openStrips([music]);
        const strip = child(row.strip);
        const expected = [];
        for (const [button, type] of [["soloButton", "solo只听"], ["monitorMute", "监听静音"], ["liveMute", "直播静音"]]) {
            if (!part(strip, button).visible)
                continue;
            mouseClick(part(strip, button));
            expected.push(`首页,${row.item},${type},true,software`);
        }
        verify(expected.length >= 2);
        compare(events(), expected);
    }

    function test_the_end_of_a_gesture_on_a_fader_is_an_event_data() {
        return [["liveOutput", "直播输出", []], ["monitorOutput", "监听输出", ["监听,监听,监听音量"]], ["deviceStrip", "声卡通道", ["话筒,XLR输入,增益"]], ["strip0", "Music", []]].map(([strip, item, further]) => ({
                    tag: item,
                    strip: strip,
                    item: item,
                    further: further
                }));
    }

    function test_the_end_of_a_gesture_on_a_fader_is_an_event(row) {
        openStrips([music]);
        part(child(row.strip), "fader").changeComplete();
        const position = part(child(row.strip), "fader").position;
        compare(events(), ["首页," + row.item + ",声音音量"].concat(row.further).map(words => `${words},${position},software`));
    }

    function test_a_removed_strip_is_an_event_and_the_count_one_more() {
        openStrips([music, game]);
        mouseClick(part(child("strip0"), "deleteButton"));
        compare(events(), ["首页,Music,删除,1,software", "首页,虚拟通道,数量,1,software"]);
    }

    function test_a_chosen_source_tells_the_count() {
        openStrips([music]);
        child("plusButton").clickApp(game);
        compare(events(), ["首页,虚拟通道,数量,2,software"]);
    }
}
