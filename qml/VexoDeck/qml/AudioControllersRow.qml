pragma ComponentBehavior: Bound

import QtQuick
import MediaControls
// Registered by the program when it starts, so that no description lies on the disk for the linter.
import VexoDeckSystemBridge // qmllint disable import
import "AudioConfigRecords.js" as Records

/*
    The row of sources: a strip for each entry of appList. It hands the state of all strips to the routing engine and
    passes the engine's level reports on, each under the id of its strip.
*/
Row {
    id: audioControllersRow

    // The entries in strip order, as chosen or stored: a process that came back under another id is followed only
    // after the user has picked it again.
    property var audioControlles: []
    readonly property int maxAudioControllers: 8
    // The processID of a level report, as text, to the id that its strip listens to.
    property var processIDMap: Object.create(null)
    property real stripWidth: 104

    readonly property var bridge: SystemBridge // qmllint disable unqualified

    // The strip that had the keyboard's focus has gone.
    signal focusLeft

    QtObject {
        id: state

        // The device whose input was added.
        property string deviceInput: ""
        property bool complete: false
    }

    // One element a strip, so that the others stay as they are when one comes or goes.
    ListModel {
        id: strips
    }

    // Once, when the fixed strips stand too.
    function start() {
        getAudioControlles();
        state.deviceInput = deviceName();
        if (state.deviceInput !== "")
            bridge.AddInputDevice(state.deviceInput, 0);
        state.complete = true;
        sendAudioConfig();
    }

    function deviceName(): string {
        return String(HIDDeviceMgr.getDeviceName()).replace("N/A", "");
    }

    // Texts of appList that are no entries, and what is more than the mixer holds, are taken out: the places in the
    // list and in the row are the same.
    function getAudioControlles() {
        const stored = ConfigMgr.getStringList(ConfigMgr.keys.appList);
        const kept = stored.filter(text => AppInventory.parsed(text)).slice(0, maxAudioControllers);
        if (kept.length < stored.length) {
            console.log("Entries of appList that are broken or too many, removed:", stored.length - kept.length);
            ConfigMgr.setStringList(ConfigMgr.keys.appList, kept);
        }
        kept.forEach(text => addEntry(AppInventory.parsed(text)));
    }

    // The engine hears of a new entry with the next sendAudioConfig().
    function addEntry(app: var) {
        addInput(app, audioControlles.length + 1);
        audioControlles = audioControlles.concat([app]);
        strips.append({
            entryText: JSON.stringify(app)
        });
    }

    // Gives an input its stream and opens it.
    function addInput(app: var, streamID: int) {
        if (!app.isInput)
            return;
        app.streamID = streamID;
        bridge.AddInputDevice(app.name, streamID);
    }

    function removeEntry(index: int) {
        const app = audioControlles[index];
        const hadFocus = (sources.itemAt(index) as AudioController)?.deleteFocused ?? false;
        if (app.isInput)
            bridge.RemoveInputDevice(app.name);
        audioControlles = audioControlles.filter((other, place) => place !== index);
        ConfigMgr.removeStringListIndex(ConfigMgr.keys.appList, index);
        strips.remove(index);
        sendAudioConfig();
        if (hadFocus)
            focusLeft();
    }

    function replaceEntry(index: int, app: var) {
        audioControlles = audioControlles.map((other, place) => place === index ? app : other);
    }

    // A fresh copy of the same application, by its name, is none of the row's business. An input keeps the stream of
    // the one before it: that is what the strip's meter listens to.
    function handleAppChanged(index: int, app: var) {
        const old = audioControlles[index];
        if (!old || !app || old.name === app.name)
            return;
        if (old.isInput)
            bridge.RemoveInputDevice(old.name);
        addInput(app, old.isInput ? old.streamID : index + 1);
        replaceEntry(index, app);
        sendAudioConfig();
    }

    // The user has picked the application that the strip already has: its process may be another by now.
    function handleAppPicked(index: int, app: var) {
        const old = audioControlles[index];
        if (old.name === app.name)
            replaceEntry(index, Object.assign({}, app, {
                streamID: old.streamID
            }));
    }

    function sendAudioConfig() {
        for (const entry of audioControlles)
            processIDMap[String(Records.processIdOf(entry))] = Records.topicOf(entry);
        bridge.setAudioConfig(Records.records(audioControlles, {
            listen: ConfigMgr.getValue(ConfigMgr.keys.listen),
            deviceName: deviceName(),
            minimum: ConfigMgr.auto_app_min,
            maximum: ConfigMgr.auto_app_max,
            defaultVolume: ConfigMgr.defaults.auto_app,
            read: (key, fallback) => ConfigMgr.getValue(key, fallback),
            // A strip that has read the key before left it without a value.
            muted: key => ConfigMgr.getValue(key, false) ?? false
        }));
    }

    // Undefined for a process that no strip has.
    function topicOf(processID: var): var {
        const fixed = Records.fixedStrips.find(strip => strip.processID === processID);
        return fixed ? fixed.topic : processIDMap[String(processID)];
    }

    function publishLevels(levels: var) {
        for (const report of levels) {
            const topic = topicOf(report?.processID);
            if (topic !== undefined)
                MessageBus.publish(topic, report);
        }
    }

    spacing: 6

    Repeater {
        id: sources

        model: strips

        AudioController {
            id: strip

            required property int index
            required property string entryText

            objectName: "strip" + index
            width: audioControllersRow.stripWidth
            height: audioControllersRow.height
            showType: StripKind.Source
            appIndex: index
            currentApp: JSON.parse(entryText)
            onCurrentAppChanged: audioControllersRow.handleAppChanged(index, currentApp)
            onAppPicked: app => audioControllersRow.handleAppPicked(index, app)
            onVolumeChanged: audioControllersRow.sendAudioConfig()
            // The strip goes with its entry: its own handler ends first.
            onDeleteApp: audioControllersRow.removeEntry(index)
        }
    }

    Connections {
        target: audioControllersRow.bridge
        enabled: state.complete

        function onAudioInputLevelChanged(levels: var) {
            audioControllersRow.publishLevels(levels);
        }
    }

    Component.onDestruction: {
        if (state.deviceInput !== "")
            bridge.RemoveInputDevice(state.deviceInput);
    }
}
