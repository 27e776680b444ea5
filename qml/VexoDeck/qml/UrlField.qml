import QtQuick
import MediaControls

/*
    The address that the device's button opens. A text that does not begin with a scheme of the web is replaced by the
    scheme alone, after which the user goes on; blanks are removed.
*/
HotkeyField {
    id: urlField

    // A stored address may be none.
    readonly property bool isValidUrl: text === "" || hasScheme(text)
    // The text comes from the program.
    property bool isUpdating: false

    readonly property string scheme: "http://"

    function hasScheme(address: string): bool {
        return /^https?:\/\//i.test(address);
    }

    function put(address: string, cursor: int) {
        isUpdating = true;
        text = address;
        cursorPosition = Math.max(0, Math.min(text.length, cursor));
        isUpdating = false;
    }

    function take() {
        const typed = text;
        const withoutBlanks = typed.replace(/\s/g, "");
        const complete = typed === "" || hasScheme(withoutBlanks);
        const address = complete ? withoutBlanks : scheme;
        if (address !== typed)
            put(address, cursorPosition + (complete ? withoutBlanks.length - typed.length : scheme.length));
        ConfigMgr.setValue(ConfigMgr.keys.general_hotkey_value_url, address);
    }

    placeholderText: qsTr("请输入URL")
    lineColor: isValidUrl ? VxTheme.fieldLine : VxTheme.invalid

    onTextChanged: {
        if (!isUpdating)
            take();
    }
    Component.onCompleted: put(String(ConfigMgr.getValue(ConfigMgr.keys.general_hotkey_value_url)), 0)
}
