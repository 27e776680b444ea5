import QtQuick
import MediaControls
import VexoDeckNetwork
import VexoDeckTest
import VexoDeckTracker

/* Events from their storing, in a real database, to the service's confirmation. */
ConfigTestCase {
    id: testCase

    name: "DataTrackerMgr"

    readonly property string eventPath: NetworkMgr.base_url + "/vexo/pc/save/operation"
    readonly property string recordPath: NetworkMgr.base_url + "/vexo/pc/save/connectTime"
    readonly property var store: DataTrackerManager
    // What the signals told.
    property var uploads: []
    property var errors: []

    function noteUpload(count, success, response) {
        uploads.push([count, success, response]);
    }

    function noteError(error) {
        errors.push(error);
    }

    function init() {
        initConfig();
        NetworkManager.holds = true;
        empty();
        ConfigMgr.setValue("share_data", true);
        ConfigMgr.setValue("trackId", "77");
        uploads = [];
        errors = [];
        DataTrackerMgr.dataUploaded.connect(noteUpload);
        DataTrackerMgr.errorOccurred.connect(noteError);
        NetworkManager.clearCalls();
        TestLog.begin();
    }

    function cleanup() {
        DataTrackerMgr.dataUploaded.disconnect(noteUpload);
        DataTrackerMgr.errorOccurred.disconnect(noteError);
        NetworkManager.holds = false;
        empty();
        compare(TestLog.takeFaults(), []);
    }

    function empty() {
        while (store.countEvents() > 0)
            store.deleteByIds(Array.from(store.queryEvents(0)).map(row => row.id));
    }

    // Stores events of one second each, the first at midnight, without a look at their count.
    function fill(count) {
        for (let number = 0; number < count; ++number)
            store.storeEvent("m", "i", "t", String(number), timeOf(number), "software", "SN");
    }

    // After the events of fill().
    function fillRecords(count) {
        for (let number = 0; number < count; ++number)
            store.storeEvent("", "", "", JSON.stringify(record(number)), timeOf(5000 + number), "connected", "SN");
    }

    function record(number) {
        return {
            trackId: "77",
            duration: number
        };
    }

    function timeOf(number) {
        return Qt.formatDateTime(new Date(2025, 0, 1, 0, 0, number), "yyyy-MM-dd hh:mm:ss");
    }

    // One more event, which starts an upload.
    function nudge() {
        DataTrackerMgr.storeEventNow("m", "i", "t", "nudge", "software");
    }

    function calls(path) {
        return Array.from(NetworkManager.calls).filter(call => call.url === path);
    }

    function eventCalls() {
        return calls(eventPath);
    }

    function lastBatch() {
        return eventCalls()[eventCalls().length - 1];
    }

    function sent(call) {
        return Object.values(call.data);
    }

    function answer(call, response, ok) {
        NetworkManager.requestCompleted(call.id, ok ?? true, response);
        wait(0);
    }

    function confirm(call) {
        answer(call, {
            code: 0
        });
    }

    function test_there_is_no_store_before_the_user_agrees() {
        DataTrackerMgr.store = null;
        ConfigMgr.setValue("share_data", false);
        DataTrackerMgr.storeEventNow("m", "i", "t", 1, "software");
        DataTrackerMgr.uploadPendingData();
        compare(DataTrackerMgr.store, null);
        ConfigMgr.setValue("share_data", true);
        DataTrackerMgr.storeEventNow("m", "i", "t", 1, "software");
        compare(DataTrackerMgr.store, store);
        compare(store.countEvents(), 1);
    }

    function test_an_event_has_the_words_the_time_and_the_device() {
        connectDevice(mixdeskR2);
        const before = new Date();
        DataTrackerMgr.storeEventNow("话筒", "XLR输入", "静音", true, "software");
        const row = store.queryEvents(0)[0];
        compare([row.featureModule, row.featureItem, row.eventType, row.eventValue, row.source, row.productSn], ["话筒", "XLR输入", "静音", "true", "software", "VX24A0117"]);
        const times = [before, new Date()].map(time => Qt.formatDateTime(time, "yyyy-MM-dd HH:mm:ss"));
        verify(row.eventTime >= times[0] && row.eventTime <= times[1], row.eventTime);
        compare(eventCalls(), []);
    }

    function test_values_are_texts_data() {
        return [[true, "true"], [false, "false"], [42, "42"], [0.25, "0.25"], ["", ""], ["重置", "重置"]].map(([value, text]) => ({
                    tag: text || "empty",
                    value: value,
                    text: text
                }));
    }

    function test_values_are_texts(row) {
        DataTrackerMgr.storeEventNow("m", "i", "t", row.value, "software");
        compare(store.queryEvents(0)[0].eventValue, row.text);
    }

    function test_without_a_device_the_serial_number_is_not_known() {
        nudge();
        compare(store.queryEvents(0)[0].productSn, "N/A");
    }

    function test_without_consent_an_event_does_not_exist() {
        ConfigMgr.setValue("share_data", false);
        fill(60);
        nudge();
        compare(store.countEvents(), 60);
        compare(eventCalls(), []);
        // What was stored before waits for the consent to come back.
        ConfigMgr.setValue("share_data", true);
        nudge();
        compare(eventCalls().length, 1);
    }

    function test_a_consent_that_is_withdrawn_ends_the_chain_of_batches() {
        fill(119);
        nudge();
        ConfigMgr.setValue("share_data", false);
        confirm(lastBatch());
        compare(eventCalls().length, 1);
        compare(store.countEvents(), 70);
        DataTrackerMgr.uploadPendingData();
        compare(eventCalls().length, 1);
    }

    function test_the_49th_event_waits_and_the_50th_starts_the_upload() {
        fill(48);
        nudge();
        compare(store.countEvents(), 49);
        compare(eventCalls(), []);
        nudge();
        compare(eventCalls().length, 1);
        verify(DataTrackerMgr.isUp);
        compare(sent(lastBatch()).length, 50);
        confirm(lastBatch());
        compare(store.countEvents(), 0);
        compare(eventCalls().length, 1);
        compare(uploads, [[50, true, '{"code":0}']]);
    }

    function test_of_51_the_oldest_waits() {
        fill(50);
        nudge();
        confirm(lastBatch());
        compare(Array.from(store.queryEvents(0)).map(row => row.eventValue), ["0"]);
    }

    function test_of_120_two_batches_go_and_the_20_oldest_wait() {
        fill(120);
        DataTrackerMgr.uploadPendingData();
        confirm(lastBatch());
        confirm(lastBatch());
        const values = eventCalls().map(call => sent(call).map(row => Number(row.eventValue)).sort((a, b) => a - b));
        compare(values.map(list => [list.length, list[0], list[49]].join()), ["50,70,119", "50,20,69"]);
        compare(store.countEvents(), 20);
    }

    function test_an_event_goes_with_all_its_members() {
        fill(50);
        DataTrackerMgr.uploadPendingData();
        const row = sent(lastBatch()).find(event => event.eventValue === "7");
        compare(Object.keys(row).sort(), ["eventTime", "eventType", "eventValue", "featureItem", "featureModule", "id", "productSn", "source", "trackId"]);
        compare([row.featureModule, row.featureItem, row.eventType, row.eventTime, row.source, row.productSn, row.trackId], ["m", "i", "t", "2025-01-01 00:00:07", "software", "SN", "77"]);
        compare(Array.from(store.queryEvents(0)).find(event => event.eventValue === "7").id, row.id);
    }

    function test_of_1000_with_failures_nothing_is_lost_and_nothing_deleted_unconfirmed() {
        fill(1000);
        const confirmed = new Set();
        for (let batch = 1; store.countEvents() >= 50; ++batch) {
            if (batch === 1 || batch === 4 || batch === 8)
                nudge();
            const call = lastBatch();
            const count = store.countEvents();
            if (batch === 3) {
                answer(call, {
                    code: 5
                });
            } else if (batch === 7) {
                NetworkManager.requestError(call.id, 2, "closed");
                answer(call, {}, false);
            } else {
                sent(call).forEach(row => confirmed.add(row.eventValue + row.id));
                confirm(call);
                compare(store.countEvents(), count - 50);
                continue;
            }
            compare(store.countEvents(), count);
        }
        const left = Array.from(store.queryEvents(0)).map(row => row.eventValue + row.id);
        verify(left.every(row => !confirmed.has(row)));
        compare(confirmed.size + left.length, 1003);
    }

    function test_rows_stay_without_a_confirmation_data() {
        return [["an error status", false, '{"error":"x","error_code":401}'], ["another code", true, '{"code":1}'], ["no code", true, "{}"], ["a text as code", true, '{"code":"0"}'], ["a failure with code 0", false, '{"code":0}'], ["no json", true, '{"error":"JSON parse error: x","raw_data":"<"}']].map(([tag, ok, response]) => ({
                    tag: tag,
                    ok: ok,
                    response: response
                }));
    }

    function test_rows_stay_without_a_confirmation(row) {
        fill(50);
        DataTrackerMgr.uploadPendingData();
        answer(lastBatch(), JSON.parse(row.response), row.ok);
        compare(store.countEvents(), 50);
        compare(eventCalls().length, 1);
        compare(uploads.map(([count, success]) => [count, success].join()), ["50,false"]);
        compare(errors.length, 1);
        verify(errors[0].startsWith("Failed to upload tracking data: {"), errors[0]);
        compare(linesWith("Upload failed, keeping local records").length, 1);
        nudge();
        compare(eventCalls().length, 2);
    }

    function test_a_line_that_is_lost_leaves_the_rows_without_a_word() {
        fill(50);
        DataTrackerMgr.uploadPendingData();
        NetworkManager.requestError(lastBatch().id, 1, "refused");
        answer(lastBatch(), {}, false);
        compare(store.countEvents(), 50);
        compare(uploads, []);
        compare(errors, []);
        compare(linesWith("Upload failed").length, 0);
    }

    function test_50_records_of_connections_send_an_empty_list_of_events() {
        fillRecords(50);
        DataTrackerMgr.uploadPendingData();
        compare(calls(recordPath).length, 1);
        const durations = sent(calls(recordPath)[0]).map(sentRecord => sentRecord.duration).sort((a, b) => a - b);
        compare(durations.length, 50);
        compare([durations[0], durations[49]], [0, 49]);
        compare(Object.keys(sent(calls(recordPath)[0])[0]).sort(), ["duration", "trackId"]);
        compare(sent(lastBatch()), []);
        confirm(calls(recordPath)[0]);
        compare(store.countEvents(), 50);
        confirm(lastBatch());
        compare(store.countEvents(), 0);
    }

    function test_records_and_events_go_apart_and_the_events_decide() {
        fill(45);
        fillRecords(5);
        DataTrackerMgr.uploadPendingData();
        compare(sent(calls(recordPath)[0]).length, 5);
        compare(sent(lastBatch()).length, 45);
        verify(sent(lastBatch()).every(row => row.source === "software"));
        answer(calls(recordPath)[0], {
            code: 9
        });
        confirm(lastBatch());
        compare(store.countEvents(), 0);
    }

    function test_records_are_sent_again_where_the_events_failed() {
        fill(45);
        fillRecords(5);
        DataTrackerMgr.uploadPendingData();
        confirm(calls(recordPath)[0]);
        answer(lastBatch(), {
            code: 9
        });
        compare(store.countEvents(), 50);
        DataTrackerMgr.uploadPendingData();
        compare(calls(recordPath).length, 2);
    }

    function test_a_record_that_is_no_json_ends_its_batch() {
        fill(49);
        store.storeEvent("", "", "", "{", timeOf(6000), "connected", "SN");
        verify(errorOf(() => DataTrackerMgr.uploadPendingData()).includes("SyntaxError"));
        compare(eventCalls(), []);
        compare(calls(recordPath), []);
        compare(store.countEvents(), 50);
    }

    function test_uploads_that_overlap_send_twice_and_lose_nothing() {
        fill(49);
        nudge();
        nudge();
        nudge();
        compare(eventCalls().length, 3);
        eventCalls().forEach(confirm);
        // Each batch was 50 of the same 52.
        verify(store.countEvents() <= 2);
        compare(errors, []);
        compare(uploads.length, 3);
    }

    function test_an_empty_store_sends_nothing() {
        DataTrackerMgr.uploadDataBatch();
        compare(eventCalls(), []);
        compare(linesWith("No events to upload").length, 1);
    }

    function test_errors_of_the_store_are_told_on() {
        store.errorOccurred("Failed to insert event: x");
        compare(errors, ["Failed to insert event: x"]);
    }

    function test_errors_are_events_too() {
        DataTrackerMgr.trackError("type", "message", "");
        DataTrackerMgr.trackError("type", "message", "part", "SN");
        const rows = Array.from(store.queryEvents(0)).map(row => [row.featureModule, row.featureItem, row.eventType, row.eventValue, row.source].join());
        compare(rows.sort(), ["Error,Unknown,type,message,System", "Error,part,type,message,System"]);
    }

    function test_pages_of_events() {
        fill(120);
        compare(DataTrackerMgr.getTotalPages(), 3);
        compare(DataTrackerMgr.getTotalPages(100), 2);
        compare(DataTrackerMgr.getPageEvents(2).length, 20);
        compare(DataTrackerMgr.getPageEvents().length, 50);
        compare(DataTrackerMgr.queryEvents()[0].eventValue, "119");
        compare(DataTrackerMgr.getPageEvents(1, 100)[0].eventValue, "19");
    }
}
