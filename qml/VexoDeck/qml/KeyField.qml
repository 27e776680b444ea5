import QtQuick
import MediaControls
import "HotkeyText.js" as HotkeyText

/*
    The keys that the device's button presses. A click, Return, Enter or Space starts the recording, which takes every
    key and ends with the focus. One that the keyboard has started ends when a key goes up again, so that the
    keyboard also gets away from the field. Before and after it Tab and Escape do what they do elsewhere.
    To leave the keys as they are, a second click ends it, and so does a time without a key.
*/
HotkeyField {
    id: keyField

    readonly property alias recording: recorder.on
    // How long a recording waits for a key.
    property int patienceMs: 10000

    QtObject {
        id: recorder

        property bool on: false
        // At the last press of the mouse.
        property bool onBefore: false
        property bool byKeyboard: false
        // Something has been recorded since the recording began.
        property bool done: false
        // The text comes from the program.
        property bool writing: false
        readonly property Timer patience: Timer {
            interval: keyField.patienceMs
            onTriggered: keyField.endRecording()
        }
    }

    function startRecording(byKeyboard: bool) {
        recorder.on = true;
        recorder.byKeyboard = byKeyboard;
        recorder.done = false;
        recorder.patience.restart();
    }

    // What has come into the field in another way, as by a paste, goes.
    function endRecording() {
        if (!recording)
            return;
        recorder.on = false;
        recorder.patience.stop();
        showStored();
    }

    function showStored() {
        put(String(ConfigMgr.getValue(ConfigMgr.keys.general_hotkey_value_key)));
    }

    function put(keys: string) {
        recorder.writing = true;
        text = keys;
        recorder.writing = false;
    }

    function record(event: var) {
        recorder.patience.restart();
        const keys = event.isAutoRepeat ? "" : HotkeyText.textOf(event.key, event.modifiers, VxConfig.platformName === "osx");
        if (keys === "")
            return;
        put(keys);
        recorder.done = true;
        ConfigMgr.setValue(ConfigMgr.keys.general_hotkey_value_key, keys);
        console.log("捕获到的快捷键:", keys);
    }

    function handlePress(event: var) {
        const starts = !recording && [Qt.Key_Return, Qt.Key_Enter, Qt.Key_Space].includes(event.key);
        event.accepted = recording || starts;
        if (recording)
            record(event);
        else if (starts && !event.isAutoRepeat)
            startRecording(true);
    }

    function handleRelease(event: var) {
        event.accepted = recording;
        if (recorder.byKeyboard && recorder.done && !event.isAutoRepeat)
            endRecording();
    }

    // Of a text that was not recorded, as of an input method, only what may be keys stays.
    function checkForeignText() {
        if (/[\u4E00-\u9FFF]/.test(text) || (text !== "" && !text.includes("+")))
            put("");
    }

    placeholderText: qsTr("请输入键位")
    readOnly: !recording
    lineColor: recording ? VxTheme.accent : VxTheme.fieldLine
    Accessible.description: recording ? qsTr("正在录制按键") : text

    Keys.onShortcutOverride: event => event.accepted = recording
    Keys.onPressed: event => handlePress(event)
    Keys.onReleased: event => handleRelease(event)
    onPressed: {
        recorder.onBefore = recording;
        if (!recording)
            startRecording(false);
    }
    onActiveFocusChanged: {
        if (!activeFocus)
            endRecording();
    }
    onTextChanged: {
        if (!recorder.writing)
            checkForeignText();
    }
    // The second click of a double click is none of its own.
    TapHandler {
        onTapped: {
            if (recorder.onBefore && tapCount === 1)
                keyField.endRecording();
        }
    }

    Component.onCompleted: showStored()

    Accessible.onPressAction: {
        forceActiveFocus();
        if (recording)
            endRecording();
        else
            startRecording(true);
    }
}
