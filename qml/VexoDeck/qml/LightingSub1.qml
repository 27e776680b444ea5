import QtQuick
import MediaControls
import "LightColors.js" as LightColors

/* The static background light: one colour, or a gradient. */
Column {
    id: sub

    readonly property int attribute: HIDDeviceMgr.attrs.background_static_effect

    function sendGradient() {
        Lights.send(attribute, gradient.getCurrentGradientXColors(Lights.backgroundCount()));
    }

    objectName: "lightingSub1"
    width: parent?.width ?? 0
    spacing: 12

    LightTypes {
        id: types

        objectName: "staticType"
        name: qsTr("颜色")
        key: ConfigMgr.keys.color_bg_static_type
        words: ["单色", "幻彩"]
        tiles: [
            {
                text: qsTr("单色")
            },
            {
                text: qsTr("幻彩")
            }
        ]
        onChosen: index => {
            if (index === 0)
                Lights.send(sub.attribute, LightColors.copies(Lights.storedColor(single.key), Lights.backgroundCount()));
            else
                sub.sendGradient();
        }
    }

    ColorRow {
        id: single

        objectName: "staticColor"
        visible: types.selectIndex === 0
        text: qsTr("颜色")
        key: ConfigMgr.keys.color_bg_static_single_color
        event: ["灯光", "背景", "颜色-单色"]
        // As many for each model.
        onPicked: color => Lights.send(sub.attribute, LightColors.copies(color, 30))
    }

    GradientPicker {
        id: gradient

        objectName: "staticGradient"
        visible: types.selectIndex === 1
        name: qsTr("幻彩")
        indexKey: ConfigMgr.keys.color_bg_static_illusory_color_index
        colorsKey: ConfigMgr.keys.color_bg_static_illusory_color
        event: ["灯光", "背景", "颜色-幻彩"]
        onGradientChanged: sub.sendGradient()
    }
}
