import QtQuick
import MediaControls

/* A row with the direction of a moving light, which is kept in the settings. The device takes 1 for the first one. */
SettingRow {
    id: directionRow

    required property string key
    required property int attribute
    // Module, item and type of the event of a choice.
    required property list<string> event
    // What moves, for a screen reader.
    required property string name

    function choose(index: int) {
        tiles.selectIndex = index;
        ConfigMgr.setValue(key, index);
        HIDDeviceMgr.sendMessage(attribute, [index === 0 ? 1 : 0]);
        DataTrackerMgr.storeAction(event, index);
    }

    text: qsTr("方向")

    TileRow {
        id: tiles

        objectName: "directions"
        width: 120
        tileHeight: 32
        iconsOnly: true
        name: directionRow.name + " " + directionRow.text
        tiles: [
            {
                text: directionRow.name + " " + qsTr("向左"),
                icon: VxConfig.iconUrl("icons/left_aw.svg", "")
            },
            {
                text: directionRow.name + " " + qsTr("向右"),
                icon: VxConfig.iconUrl("icons/right_aw.svg", "")
            }
        ]
        onChosen: index => directionRow.choose(index)
    }

    Component.onCompleted: tiles.selectIndex = Lights.storedIndex(key, 2)
}
