import QtQuick
import MediaControls

/* A gradient of the lights, which is kept in the settings: which one is selected, and its colours. */
CustomMultColorSelect {
    id: gradientPicker

    required property string indexKey
    required property string colorsKey

    width: parent?.width ?? 0

    onGradientChanged: (index, data) => {
        ConfigMgr.setValue(indexKey, index);
        ConfigMgr.setStringList(colorsKey, data);
    }
    Component.onCompleted: {
        selectedPresetIndex = Lights.storedIndex(indexKey, ownIndex + 1);
        selectedGradient = Lights.storedColors(colorsKey, 3, 3);
    }
}
