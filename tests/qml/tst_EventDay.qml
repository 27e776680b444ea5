import QtQuick
import MediaControls
import VexoDeckNetwork
import VexoDeckTest
import VexoDeckTracker

/*
    A day of 10,000 events on a line that fails at random: the real store, and a service that takes, refuses, is silent
    about what it took, or cannot be reached.
*/
ConfigTestCase {
    id: testCase

    name: "EventDay"

    readonly property int eventCount: 10000
    readonly property string eventPath: NetworkMgr.base_url + "/vexo/pc/save/operation"
    // The calls that the service has yet to answer.
    property var open: []
    // What the service took: each event's record, by the row's number.
    property var taken: ({})
    property int calls: 0
    property int seed: 20250801

    function random(): real {
        seed = (Math.imul(seed, 1103515245) + 12345) & 0x7fffffff;
        return seed / 0x80000000;
    }

    function note(call) {
        if (call.url === eventPath)
            open.push(call);
    }

    function take(call) {
        for (const event of Object.values(call.data)) {
            const text = JSON.stringify(event);
            compare(taken[event.id] ?? text, text, "an event that comes twice is the same");
            taken[event.id] = text;
        }
    }

    // One call is answered, or its line is lost before or behind the service.
    function end(call, luck) {
        ++calls;
        if (luck < 0.75)
            take(call);
        if (luck < 0.6) {
            NetworkManager.requestCompleted(call.id, true, {
                code: 0
            });
        } else if (luck < 0.9) {
            NetworkManager.requestError(call.id, 2, "closed");
            NetworkManager.requestCompleted(call.id, false, {});
        } else {
            NetworkManager.requestCompleted(call.id, true, {
                code: luck < 0.95 ? 1 : undefined
            });
        }
    }

    function init() {
        initConfig();
        NetworkManager.holds = true;
        ConfigMgr.setValue("share_data", true);
        ConfigMgr.setValue("trackId", "77");
        empty();
        NetworkManager.requested.connect(note);
    }

    function cleanup() {
        NetworkManager.requested.disconnect(note);
        NetworkManager.holds = false;
        empty();
        compare(TestLog.takeFaults(), []);
    }

    function rows() {
        return Array.from(DataTrackerManager.queryEvents(0));
    }

    function empty() {
        while (DataTrackerManager.countEvents() > 0)
            DataTrackerManager.deleteByIds(rows().map(row => row.id));
    }

    function test_the_service_has_in_the_end_what_the_store_does_not_keep() {
        console.log("seed", seed);
        for (let number = 0; number < eventCount; ++number) {
            DataTrackerMgr.storeEventNow("m", "i", "t", number, "software");
            // An answer comes at once, or with later ones.
            while (open.length > 0 && random() < 0.7)
                end(open.shift(), random());
            if (number % 10 === 0) {
                wait(0);
                NetworkManager.clearCalls();
            }
        }
        // The line is good again.
        for (let quiet = 0; quiet < 3; ++quiet) {
            for (; open.length > 0; quiet = 0)
                end(open.shift(), 0);
            wait(0);
        }
        const kept = rows().map(row => row.eventValue);
        verify(kept.length < 50, kept.length);
        const got = Object.values(taken).map(text => JSON.parse(text));
        const numbers = new Set(got.map(event => event.eventValue).concat(kept));
        compare(numbers.size, eventCount, "each event is with the service, or kept");
        compare(got.filter(event => event.trackId !== "77" || event.productSn !== "N/A").length, 0);
        console.log("calls:", calls);
    }
}
