import QtQuick
import MediaControls

/* The slider of a device's value, under its name and the value as text. */
Column {
    id: block

    required property string text
    property string tips: ""
    required property DeviceValue deviceValue
    // Module, item and type of the event of a movement that is over.
    required property list<string> event
    required property int from
    required property int to
    // function (step) that returns the text of a step
    required property var valueTextOf
    // What the device reports moves the slider.
    property bool follows: !isManually
    readonly property alias step: slider.step
    readonly property alias isManually: slider.isManually
    property string sliderName: "slider"

    // The user's hand has moved the slider.
    signal moved
    // The user's hand let go 500 ms ago.
    signal changeComplete

    function writeValue() {
        slider.writeValue();
    }

    width: parent?.width ?? 0

    SettingRow {
        minimumHeight: 36
        text: block.text
        tips: block.tips

        VxText {
            objectName: "value"
            anchors.verticalCenter: parent.verticalCenter
            text: slider.valueText
            color: VxTheme.textSecondary
        }
    }

    StepSlider {
        id: slider

        objectName: block.sliderName
        width: parent.width
        height: 32
        deviceValue: block.deviceValue
        from: block.from
        to: block.to
        name: block.text
        formatedValueFunc: value => {
            const textOf = block.valueTextOf;
            return textOf(Math.round(value));
        }
        onMoved: block.moved()
        onChangeComplete: {
            block.changeComplete();
            DataTrackerMgr.storeAction(block.event, step);
        }
    }

    // What was reported while the user's hand was on the slider.
    onFollowsChanged: {
        if (follows)
            slider.readValue();
    }

    MessageListener {
        messageTypes: [block.deviceValue.topic]
        onMessage: () => {
            if (block.follows)
                slider.readValue();
        }
    }
}
