import QtQuick
import MediaControls

/* The background light: its effect, and below that the effect's own page. Opening a page sends no colours. */
SettingsSection {
    id: background

    // Reports of the device that will only echo the user's own clicks.
    property int isClickedIndex: 0
    readonly property int off: 3

    function selectEffect(index: int) {
        const attribute = HIDDeviceMgr.attrs.background_light_off;
        effects.selectIndex = index;
        // Of several clicks within a round of writes only the last one leaves, and is echoed.
        if (!HIDDeviceMgr.isPending(attribute))
            isClickedIndex++;
        echoLimit.restart();
        ConfigMgr.setValue(ConfigMgr.keys.color_bg_effect, index);
        HIDDeviceMgr.sendMessage(attribute, [index === off ? 0 : index + 1]);
        DataTrackerMgr.storeAction(["灯光", "背景", "效果"], ["静态", "呼吸", "波浪", "关闭"][index]);
    }

    // Shows what was chosen at the device. The user's own choice stays in the settings.
    function handleMode(mode: int) {
        if (isClickedIndex > 0)
            isClickedIndex--;
        else
            effects.selectIndex = mode === 0 ? off : mode - 1;
    }

    // Longer than a write waits for its round and is repeated. What the device tells later is its own.
    Timer {
        id: echoLimit

        objectName: "echoLimit"
        interval: 6000
        onTriggered: background.isClickedIndex = 0
    }

    objectName: "background"
    title: qsTr("背景")
    hint: qsTr("声卡接电时显示背景灯光")
    rowSpacing: 12

    TileRow {
        id: effects

        objectName: "effects"
        name: qsTr("效果")
        tileHeight: 36
        tiles: [
            {
                text: qsTr("静态")
            },
            {
                text: qsTr("呼吸")
            },
            {
                text: qsTr("波浪")
            },
            {
                text: qsTr("关闭")
            }
        ]
        onChosen: index => background.selectEffect(index)
    }

    LightingSub1 {
        visible: effects.selectIndex === 0
    }
    LightingSub2 {
        visible: effects.selectIndex === 1
    }
    LightingSub3 {
        visible: effects.selectIndex === 2
    }

    MessageListener {
        messageTypes: [MessageBus.messageTypes.BACKGROUND_LIGHT_MODE]
        onMessage: (topic, mode) => background.handleMode(mode)
    }

    // A new connection, of which only the product is known: echoes of the one before will not come.
    Connections {
        target: HIDDeviceMgr

        function onDeviceConnected(info: var, connected: bool) {
            if (!connected || HIDDeviceMgr.getDeviceName() === "N/A")
                background.isClickedIndex = 0;
        }
    }

    Component.onCompleted: effects.selectIndex = Lights.storedIndex(ConfigMgr.keys.color_bg_effect, 4)
}
