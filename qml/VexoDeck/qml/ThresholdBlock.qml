pragma ComponentBehavior: Bound

import QtQuick
import MediaControls

/* A switch with a threshold in dB. The slider is visible while the switch is on. */
Column {
    id: block

    required property string text
    required property string tips
    // Of the switch.
    required property DeviceValue deviceValue
    required property DeviceValue threshold
    // Module, item and type of the events of both.
    required property list<string> switchEvent
    required property list<string> thresholdEvent
    required property int from
    property string sliderName: "slider"
    property alias checked: switchRow.checked

    signal toggled(checked: bool)
    // The user's hand has moved the threshold.
    signal moved(dB: int)

    function show(dB: int) {
        slider.show(dB);
    }

    width: parent?.width ?? 0

    SwitchRow {
        id: switchRow

        objectName: "switchRow"
        text: block.text
        tips: block.tips
        deviceValue: block.deviceValue
        event: block.switchEvent
        valueText: checked ? slider.valueText : ""
        onToggled: checked => block.toggled(checked)
    }

    StepSlider {
        id: slider

        objectName: block.sliderName
        width: parent.width
        height: 28
        visible: block.checked
        deviceValue: block.threshold
        from: block.from
        to: 0
        name: block.text
        formatedValueFunc: value => Math.round(value) + "dB"
        onMoved: {
            if (isManually)
                block.moved(step);
        }
        onChangeComplete: {
            writeValue();
            DataTrackerMgr.storeAction(block.thresholdEvent, step);
        }
    }

    Row {
        objectName: "levels"
        width: parent.width
        bottomPadding: 10
        visible: block.checked

        Repeater {
            id: levels

            model: [qsTr("低"), qsTr("中"), qsTr("高")]

            VxText {
                required property string modelData
                required property int index

                width: block.width / 3
                text: modelData
                color: VxTheme.textSecondary
                font.pixelSize: VxTheme.fontCaption
                elide: Text.ElideRight
                horizontalAlignment: [Text.AlignLeft, Text.AlignHCenter, Text.AlignRight][index]
                Accessible.ignored: false
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }
    }
}
