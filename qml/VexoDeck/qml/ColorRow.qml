import QtQuick
import MediaControls
import "LightColors.js" as LightColors

/* A row with one colour of the lights, which is kept in the settings. */
SettingRow {
    id: colorRow

    required property string key
    property color defaultColor: ConfigMgr.defaults[key]
    // Module, item and type of the event of a choice; none without them.
    property list<string> event: []

    // The user has picked another colour than the stored one, as "#rrggbb".
    signal picked(color: string)

    function pick(newColor: color) {
        const text = String(newColor);
        if (LightColors.same(text, ConfigMgr.getValue(key)))
            return;
        picked(text);
        ConfigMgr.setValue(key, text);
    }

    function storeChoice(newColor: color, isReset: bool) {
        if (event.length > 0)
            DataTrackerMgr.storeAction(event, isReset ? "重置" : newColor);
    }

    CustomColorSelect {
        id: select

        objectName: "select"
        anchors.verticalCenter: parent.verticalCenter
        name: colorRow.text
        defaultColor: colorRow.defaultColor
        onColorChanged: newColor => colorRow.pick(newColor)
        onChangeComplete: (newColor, isReset) => colorRow.storeChoice(newColor, isReset)
    }

    Component.onCompleted: select.selectedColor = Lights.storedColor(key)
}
