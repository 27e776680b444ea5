import QtQuick

/* A horizontal meter of one channel. It shows each level at once and does not fall by itself. */
LevelMeter {
    id: meter

    implicitWidth: 240
    implicitHeight: 9

    Rectangle {
        id: bar

        objectName: "bar"
        width: parent.width - clipMark.width - 5
        height: parent.height
        gradient: Gradient {
            orientation: Gradient.Horizontal

            GradientStop {
                position: 0
                color: VxTheme.meterLow
            }
            GradientStop {
                position: 0.7
                color: VxTheme.meterMiddle
            }
            GradientStop {
                position: 1
                color: VxTheme.meterHigh
            }
        }

        Rectangle {
            objectName: "cover"
            anchors.right: parent.right
            width: parent.width * (1 - meter.level)
            height: parent.height
            color: VxTheme.clippingOff
        }
    }

    Rectangle {
        id: clipMark

        objectName: "clipMark"
        anchors.right: parent.right
        width: 9
        height: parent.height
        color: meter.clipping ? VxTheme.clipping : VxTheme.clippingOff
        border.width: meter.clipping ? 0 : 1
        border.color: VxTheme.meterLine
    }

    Rectangle {
        objectName: "frame"
        anchors.fill: bar
        anchors.margins: -1
        color: "transparent"
        border.width: 1
        border.color: VxTheme.meterLine
    }

    Component.onCompleted: console.log("AudioChannelIndicatorSingle:", channelName)
}
