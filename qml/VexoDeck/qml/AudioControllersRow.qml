pragma ComponentBehavior: Bound

import QtQuick
import MediaControls
// The program registers this module when it starts: qmllint finds no description of it.
import VexoDeckSystemBridge // qmllint disable import
import "AudioConfigRecords.js" as Records

/*
    The row of sources: a strip for each entry of appList. It hands the state of all strips to the routing engine and
    passes the engine's level reports on, each under the id of its strip.
*/
Row {
    id: audioControllersRow

    // The entries in strip order, as chosen or stored, with the streams of inputs. A process that returns with another
    // id is followed only after the user has picked it again.
    property var audioControlles: []
    readonly property int maxAudioControllers: 8
    // Maps the processID of a level report, as text, to the topic of its strip.
    property var processIDMap: Object.create(null)
    property real stripWidth: 104

    readonly property var bridge: SystemBridge // qmllint disable unqualified

    // The strip that had the keyboard's focus was removed.
    signal focusLeft

    QtObject {
        id: state

        // The device whose input was added.
        property string deviceInput: ""
        property bool complete: false
    }

    // One element for each strip, so that the other strips stay when one is added or removed.
    ListModel {
        id: strips
    }

    // Called once, when the fixed strips are complete.
    function start() {
        getAudioControlles();
        state.deviceInput = deviceName();
        if (state.deviceInput !== "")
            bridge.AddInputDevice(state.deviceInput, 0);
        state.complete = true;
        bringSoloBack();
        sendAudioConfig();
    }

    // Solo that no strip holds, as after an entry was removed, is the monitor output's: nothing else would be heard.
    function bringSoloBack() {
        const holders = Records.fixedStrips.concat(audioControlles).map(strip => strip.identifier ?? strip.bundleIdentifier);
        if (holders.includes(ConfigMgr.getValue(ConfigMgr.keys.listen)))
            return;
        ConfigMgr.setValue(ConfigMgr.keys.listen, Records.monitorOutput.identifier);
        MessageBus.publishListenModeChanged(Records.monitorOutput.identifier);
    }

    function deviceName(): string {
        return String(HIDDeviceMgr.getDeviceName()).replace("N/A", "");
    }

    // Removes texts of appList that are no entries or more than the mixer holds, so that places in the list and in the
    // row are the same.
    function getAudioControlles() {
        const stored = ConfigMgr.getStringList(ConfigMgr.keys.appList);
        const kept = stored.filter(text => AppInventory.parsed(text)).slice(0, maxAudioControllers);
        if (kept.length < stored.length) {
            console.log("Entries of appList that are broken or too many, removed:", stored.length - kept.length);
            ConfigMgr.setStringList(ConfigMgr.keys.appList, kept);
        }
        kept.forEach(text => addEntry(AppInventory.parsed(text)));
    }

    // The engine gets a new entry with the next sendAudioConfig().
    function addEntry(app: var) {
        addInput(app, 0);
        audioControlles = audioControlles.concat([app]);
        strips.append({
            entryText: JSON.stringify(app)
        });
    }

    // Opens an input, on the wanted stream if there is one.
    function addInput(app: var, wantedStream: int) {
        if (app.isInput)
            app.streamID = InputStreams.open(app.name, wantedStream);
    }

    // Closes the input of an entry, unless another entry has the same one; the stream that is free then, 0 for none.
    function closeInput(index: int): int {
        const app = audioControlles[index];
        const isAlone = !audioControlles.some((other, place) => place !== index && other.isInput && other.name === app.name);
        if (!app.isInput || !isAlone)
            return 0;
        InputStreams.close(app.name);
        return app.streamID;
    }

    function storeCount() {
        DataTrackerMgr.storeAction(["首页", "虚拟通道", "数量"], audioControlles.length);
    }

    // The user has chosen a further source.
    function addChosen(app: var) {
        addEntry(app);
        storeCount();
    }

    function removeEntry(index: int) {
        const name = audioControlles[index].name;
        const hadFocus = (sources.itemAt(index) as AudioController)?.deleteFocused ?? false;
        closeInput(index);
        audioControlles = audioControlles.filter((other, place) => place !== index);
        ConfigMgr.removeStringListIndex(ConfigMgr.keys.appList, index);
        strips.remove(index);
        sendAudioConfig();
        DataTrackerMgr.storeAction(["首页", name, "删除"], 1);
        storeCount();
        if (hadFocus)
            focusLeft();
    }

    function replaceEntry(index: int, app: var) {
        audioControlles = audioControlles.map((other, place) => place === index ? app : other);
    }

    // Ignores a fresh copy of the same application, which has the same name. A new input takes over the stream of the
    // one before it.
    function handleAppChanged(index: int, app: var) {
        const old = audioControlles[index];
        if (!old || !app || (old.name === app.name && old.bundleIdentifier === app.bundleIdentifier))
            return;
        addInput(app, closeInput(index));
        replaceEntry(index, app);
        sendAudioConfig();
    }

    // The user has picked the strip's own application again: its process may have changed.
    function handleAppPicked(index: int, app: var) {
        const old = audioControlles[index];
        if (old.name !== app.name || old.bundleIdentifier !== app.bundleIdentifier)
            return;
        replaceEntry(index, Object.assign({}, app, {
            streamID: old.streamID
        }));
        sendAudioConfig();
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
            // A strip may have cached the key without a value.
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
            playedApp: audioControllersRow.audioControlles[index] ?? currentApp
            onCurrentAppChanged: audioControllersRow.handleAppChanged(index, currentApp)
            onAppPicked: app => audioControllersRow.handleAppPicked(index, app)
            onVolumeChanged: audioControllersRow.sendAudioConfig()
            // The strip is destroyed with its entry, after its own handler has returned.
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
