pragma Singleton

import QtQml
// The program registers this module when it starts: qmllint finds no description of it.
import VexoDeckTracker // qmllint disable import

/*
    What the screens tell of the user's and the device's doings. An event is stored at once where the user has agreed, and
    stays stored until the service has confirmed it. Each stored event looks whether 50 are waiting; then they are sent, 50
    in a batch, the newest first. No timer sends fewer.

    Uploads may overlap and send an event twice; the service tells them apart by identity and id. While the user does not
    agree any more, nothing is sent; what is stored waits.
*/
QtObject {
    id: tracker

    readonly property int batchSize: 50

    // The store, which makes its file: not before the user has agreed, or somebody asks for its rows. Any object with the
    // same operations and signals will do.
    property var store: null
    // An upload has begun in this run.
    property bool isUp: false

    readonly property Connections storeConnections: Connections {
        target: tracker.store

        function onErrorOccurred(error: string) {
            tracker.errorOccurred(error);
        }
    }

    signal errorOccurred(string error)
    // The events of a batch, whether the service has taken them, and its answer as text.
    signal dataUploaded(int count, bool success, string response)

    // Stores an event of now. The three words are data for the service and are not translated. The value is stored as
    // text. `source` is "software" for the user's doings, "hardware" for the device's, "connected" for the record of a
    // connection, which is JSON.
    function storeEventNow(featureModule: string, featureItem: string, eventType: string, eventValue: var, source: string) {
        if (!mayReport())
            return;
        const time = Qt.formatDateTime(new Date(), "yyyy-MM-dd hh:mm:ss");
        storeEvent(featureModule, featureItem, eventType, eventValue, time, source, HIDDeviceMgr.getDeviceSN());
    }

    // What the user has done: `words` are module, item and type.
    function storeAction(words: list<string>, value: var) {
        storeEventNow(words[0], words[1], words[2], value, "software");
    }

    function storeEvent(featureModule: string, featureItem: string, eventType: string, eventValue: var, eventTime: string, source: string, productSn: string) {
        opened().storeEvent(featureModule, featureItem, eventType, String(eventValue), eventTime, source, productSn);
        uploadPendingData();
    }

    // Up to 50 rows, the newest first.
    function queryEvents(offset: var): var {
        return opened().queryEvents(offset ?? 0);
    }

    function countEvents(): int {
        return opened().countEvents();
    }

    function deleteByIds(ids: var) {
        opened().deleteByIds(ids);
    }

    // An error as an event. The serial number is that of storeEventNow().
    function trackError(errorType: string, errorMessage: string, component: var) {
        storeEventNow("Error", component || "Unknown", errorType, errorMessage, "System");
    }

    function getPageEvents(page: var, pageSize: var): var {
        return queryEvents((page ?? 0) * (pageSize ?? batchSize));
    }

    function getTotalPages(pageSize: var): int {
        return Math.ceil(countEvents() / (pageSize ?? batchSize));
    }

    function uploadPendingData() {
        if (!mayReport())
            return;
        const count = countEvents();
        console.log("Events waiting:", count);
        if (count >= batchSize)
            uploadDataBatch();
    }

    // Records of connections go to an endpoint of their own; the answer to the events decides about both.
    function uploadDataBatch() {
        isUp = true;
        const rows = Array.from(queryEvents(0)).slice(0, batchSize);
        if (rows.length === 0) {
            console.log("No events to upload");
            return;
        }
        const ids = rows.map(row => row.id);
        const identity = ConfigMgr.getValue(ConfigMgr.keys.trackId);
        const records = rows.filter(row => row.source === "connected").map(row => JSON.parse(row.eventValue));
        const events = rows.filter(row => row.source !== "connected").map(row => Object.assign({}, row, {
                trackId: identity
            }));
        if (records.length > 0)
            NetworkMgr.disconnectDevice(records, (ok, response) => console.log("Records of connections sent:", ok, response.code));
        NetworkMgr.trackData(events, (ok, response) => finishBatch(ids, ok, response));
    }

    function finishBatch(ids: var, ok: bool, response: var) {
        const text = JSON.stringify(response);
        if (ok && response.code === 0) {
            console.log("Events uploaded:", ids.length);
            deleteByIds(ids);
            dataUploaded(ids.length, true, text);
            uploadPendingData();
        } else {
            console.log("Upload failed, keeping local records");
            dataUploaded(ids.length, false, text);
            errorOccurred("Failed to upload tracking data: " + text);
        }
    }

    function opened(): var {
        if (!store)
            store = DataTrackerManager; // qmllint disable unqualified
        return store;
    }

    function mayReport(): bool {
        return ConfigMgr.getValue(ConfigMgr.keys.share_data) === true;
    }

    Component.onCompleted: {
        if (mayReport())
            opened();
    }
    Component.onDestruction: {
        if (!store)
            return;
        const count = countEvents();
        if (count > 0) {
            console.log("App shutting down, uploading", count);
            uploadPendingData();
        }
    }
}
