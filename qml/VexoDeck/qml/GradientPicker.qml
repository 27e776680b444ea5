import QtQuick
import MediaControls

/* A gradient of the lights, which is kept in the settings: which one is selected, and its colours. */
CustomMultColorSelect {
    id: gradientPicker

    required property string indexKey
    required property string colorsKey
    // Module, item and type of the event of a choice.
    required property list<string> event

    width: parent?.width ?? 0

    onGradientChanged: (index, data) => {
        ConfigMgr.setValue(indexKey, index);
        ConfigMgr.setStringList(colorsKey, data);
    }
    onChangeComplete: (index, data, isReset) => DataTrackerMgr.storeAction(event, isReset ? "重置" : JSON.stringify(data))
    Component.onCompleted: {
        selectedPresetIndex = Lights.storedIndex(indexKey, ownIndex + 1);
        selectedGradient = Lights.storedColors(colorsKey, 3, 3);
    }
}
