import QtQuick
import MediaControls

/* The two kinds of colours of a background effect, which are kept in the settings. */
TileRow {
    id: types

    required property string key
    // The kinds in events: data, as the service knows them.
    required property list<string> words

    function storeChoice(index: int) {
        DataTrackerMgr.storeAction(["灯光", "背景", "颜色"], words[index]);
    }

    tileHeight: 36

    onChosen: index => {
        selectIndex = index;
        ConfigMgr.setValue(key, index);
        storeChoice(index);
    }
    Component.onCompleted: selectIndex = Lights.storedIndex(key, 2)
}
