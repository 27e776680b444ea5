pragma ComponentBehavior: Bound

import QtQuick
import MediaControls
import "AudioConfigRecords.js" as Records

/*
    A strip of the mixer: meters, fader, only listen, mutes. Its state is the settings under its identifier.
    volumeChanged notifies that the engine needs a new list of records.
*/
Rectangle {
    id: audioController

    // A StripKind.
    required property int showType
    // A source's entry of AppInventory, and its place in appList.
    property var currentApp: null
    // The entry that the engine plays: it has the stream of an input, and may have an older process.
    property var playedApp: currentApp
    property int appIndex: -1
    readonly property var fixedStrip: Records.fixedStrips[showType] ?? null
    property string bundleIdentifier: fixedStrip?.identifier ?? currentApp?.bundleIdentifier ?? ""
    property string title: currentApp ? AppInventory.displayName(currentApp) : ""
    property url imageSource
    readonly property bool isSource: showType === StripKind.Source
    // Names the strip in events: data, as the service knows it.
    readonly property string eventItem: ["直播输出", "监听输出", "声卡通道"][showType] ?? currentApp?.name ?? ""
    readonly property alias deleteFocused: head.deleteFocused

    readonly property bool hasMonitorMute: showType !== StripKind.LiveOutput
    readonly property bool hasLiveMute: showType !== StripKind.MonitorOutput

    // The user has chosen an application in the list box. Emitted before it becomes currentApp.
    signal appPicked(app: var)
    signal deleteApp
    signal volumeChanged
    // 0 volume, 1 solo, 2 monitor mute, 3 live mute
    signal eventsChanged(type: int, value: var)
    signal settingsRequested

    readonly property string levelTopic: fixedStrip?.topic ?? String(playedApp ? Records.topicOf(playedApp) : bundleIdentifier)

    // Reads the mutes without a default: where the store returns text, a stored mute shows as off.
    function refreshAppControls() {
        if (bundleIdentifier === "")
            return;
        readSolo();
        monitorMute.setActive(ConfigMgr.getValue(Records.monitorMuteKey(bundleIdentifier)) === true);
        liveMute.setActive(ConfigMgr.getValue(Records.liveMuteKey(bundleIdentifier)) === true);
        volume.read(bundleIdentifier);
    }

    function readSolo() {
        soloButton.setActive(ConfigMgr.getValue(ConfigMgr.keys.listen) === bundleIdentifier);
    }

    // Solo moves and never switches off: the message lights the button again on a strip that already has it.
    function listenOnly() {
        ConfigMgr.setValue(ConfigMgr.keys.listen, bundleIdentifier);
        MessageBus.publishListenModeChanged(bundleIdentifier);
        volumeChanged();
        eventsChanged(1, soloButton.isActive);
    }

    function storeMute(key: string, muted: bool, eventType: int) {
        ConfigMgr.setValue(key, muted);
        volumeChanged();
        eventsChanged(eventType, muted);
    }

    // To the strip with this identifier, or to the monitor output where it is empty.
    function passSolo(identifier: string) {
        if (ConfigMgr.getValue(ConfigMgr.keys.listen) !== bundleIdentifier || identifier === bundleIdentifier)
            return;
        const heir = identifier === "" ? Records.monitorOutput.identifier : identifier;
        ConfigMgr.setValue(ConfigMgr.keys.listen, heir);
        MessageBus.publishListenModeChanged(heir);
    }

    function removeStrip() {
        passSolo("");
        deleteApp();
    }

    // A strip that holds solo keeps it under its new application's identifier.
    function showApp(app: var) {
        passSolo(app.bundleIdentifier);
        currentApp = app;
    }

    function pickApp(app: var) {
        appPicked(app);
        showApp(app);
    }

    function handleMessage(topic: string, data: var) {
        if (topic === MessageBus.messageTypes.LISTEN_MODE_CHANGED)
            readSolo();
        else if (topic === volume.topic)
            volume.follow();
        else if (data)
            fader.setLevels(data.levelLeft, data.levelRight);
    }

    function storeChange(type: int, value: var) {
        const types = ["声音音量", "solo只听", "监听静音", "直播静音"];
        DataTrackerMgr.storeAction(["首页", eventItem, types[type]], value);
    }

    // The end of a gesture on the fader.
    function handleFaderComplete() {
        eventsChanged(0, fader.position);
        if (showType === StripKind.Device)
            DataTrackerMgr.storeAction(["话筒", "XLR输入", "增益"], fader.position);
        else if (showType === StripKind.MonitorOutput)
            DataTrackerMgr.storeAction(["监听", "监听", "监听音量"], fader.position);
    }

    onEventsChanged: (type, value) => storeChange(type, value)

    implicitWidth: 104
    implicitHeight: 420
    radius: VxTheme.radiusPanel
    color: VxTheme.card
    border.width: 1
    border.color: soloButton.isActive ? VxTheme.accent : "transparent"

    Accessible.role: Accessible.Grouping
    Accessible.name: title

    StripVolume {
        id: volume

        showType: audioController.showType
        bundleIdentifier: audioController.bundleIdentifier
        fader: fader
        onVolumeChanged: audioController.volumeChanged()
    }

    StripHead {
        id: head

        objectName: "head"
        anchors.top: parent.top
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: 8
        showType: audioController.showType
        title: audioController.title
        imageSource: audioController.imageSource
        currentApp: audioController.currentApp
        appIndex: audioController.appIndex
        appShown: presence.found
        onAppSelected: app => audioController.pickApp(app)
        onDeleteClicked: audioController.removeStrip()
        onSettingsClicked: audioController.settingsRequested()
    }

    StripFader {
        id: fader

        objectName: "fader"
        anchors.top: head.bottom
        anchors.bottom: buttons.top
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: 8
        anchors.topMargin: 12
        anchors.bottomMargin: 10
        name: audioController.title
        from: volume.from
        to: volume.to
        stepSize: volume.stepSize
        defaultValue: volume.defaultValue
        textOf: value => volume.textOf(value)
        onMoved: volume.handleMoved()
        onChangeComplete: audioController.handleFaderComplete()
    }

    Column {
        id: buttons

        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: 8
        spacing: 6

        CustomButtonRect {
            id: soloButton

            objectName: "soloButton"
            width: parent.width
            src: VxConfig.iconUrl("icons/jt_btn.svg", "")
            name: qsTr("只听")
            description: audioController.title
            onClick: audioController.listenOnly()
        }

        Row {
            id: mutes

            readonly property real buttonWidth: audioController.hasMonitorMute && audioController.hasLiveMute ? (width - spacing) / 2 : width

            width: parent.width
            spacing: 6

            CustomButtonRect {
                id: monitorMute

                objectName: "monitorMute"
                width: mutes.buttonWidth
                visible: audioController.hasMonitorMute
                isWorn: true
                src: VxConfig.iconUrl("icons/zt_btn.svg", "")
                name: qsTr("监听静音")
                description: audioController.title
                onClick: audioController.storeMute(Records.monitorMuteKey(audioController.bundleIdentifier), isActive, 2)
            }
            CustomButtonRect {
                id: liveMute

                objectName: "liveMute"
                width: mutes.buttonWidth
                visible: audioController.hasLiveMute
                isWorn: true
                src: VxConfig.iconUrl("icons/zb_btn.svg", "")
                name: qsTr("直播静音")
                description: audioController.title
                onClick: audioController.storeMute(Records.liveMuteKey(audioController.bundleIdentifier), isActive, 3)
            }
        }
    }

    StripPresence {
        id: presence

        currentApp: audioController.currentApp
        onCame: app => audioController.showApp(app)
    }

    MessageListener {
        messageTypes: [MessageBus.messageTypes.LISTEN_MODE_CHANGED].concat(volume.topic === "" ? [] : [volume.topic])
        onMessage: (topic, data) => audioController.handleMessage(topic, data)
    }

    // Made anew with each topic, since a listener keeps the topics of its creation.
    Repeater {
        model: [audioController.levelTopic]

        MessageListener {
            required property string modelData

            messageTypes: [modelData]
            onMessage: (topic, data) => audioController.handleMessage(topic, data)
        }
    }

    onBundleIdentifierChanged: refreshAppControls()
    Component.onCompleted: refreshAppControls()
}
