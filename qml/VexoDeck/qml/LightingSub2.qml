import QtQuick
import MediaControls
import "LightColors.js" as LightColors

/* The breathing background light: one colour, or up to seven in turn. */
Column {
    id: sub

    function send(colors: var) {
        Lights.send(HIDDeviceMgr.attrs.background_breath_effect, LightColors.padded(colors));
    }

    function takeLoop(colors: var) {
        const key = ConfigMgr.keys.color_bg_bln_cyc_color;
        if (JSON.stringify(ConfigMgr.getStringList(key)) === JSON.stringify(colors))
            return;
        send(colors);
        ConfigMgr.setStringList(key, colors);
    }

    objectName: "lightingSub2"
    width: parent?.width ?? 0
    spacing: 12

    LightTypes {
        id: types

        objectName: "breathingType"
        name: qsTr("颜色")
        key: ConfigMgr.keys.color_bg_bln_type
        words: ["单色", "循环"]
        tiles: [
            {
                text: qsTr("单色")
            },
            {
                text: qsTr("循环")
            }
        ]
        onChosen: index => sub.send(index === 0 ? [Lights.storedColor(single.key)] : loop.colorList)
    }

    ColorRow {
        id: single

        objectName: "breathingColor"
        visible: types.selectIndex === 0
        text: qsTr("颜色")
        key: ConfigMgr.keys.color_bg_bln_single_color
        event: ["灯光", "背景", "颜色-单色"]
        // Not that of the key.
        defaultColor: VxTheme.accent
        onPicked: color => sub.send([color])
    }

    Column {
        width: parent.width
        spacing: 10
        visible: types.selectIndex === 1

        VxText {
            width: parent.width
            text: qsTr("循环顺序")
            wrapMode: Text.Wrap
        }
        CustomCycColorSelect {
            id: loop

            objectName: "loop"
            onColorsChanged: colors => sub.takeLoop(colors)
            onChangeComplete: (colors, isReset) => DataTrackerMgr.storeAction(["灯光", "背景", "颜色-循环"], isReset ? "重置" : JSON.stringify(colors))
        }
    }

    Component.onCompleted: loop.colorList = Lights.storedColors(ConfigMgr.keys.color_bg_bln_cyc_color, 1, loop.maxColors)
}
