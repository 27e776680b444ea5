import QtQuick
import MediaControls

/* The two kinds of colours of a background effect, which are kept in the settings. */
TileRow {
    id: types

    required property string key

    tileHeight: 36

    onChosen: index => {
        selectIndex = index;
        ConfigMgr.setValue(key, index);
    }
    Component.onCompleted: selectIndex = Lights.storedIndex(key, 2)
}
