import QtQuick

/*
    A vertical meter of one channel. The drawn level follows the level smoothly, faster up than down. A level that is
    not renewed within autoResetTimeout falls to 0, since silence is not reported.
*/
LevelMeter {
    id: meter

    // Milliseconds.
    property int autoResetTimeout: 100
    readonly property alias drawnLevel: view.drawn

    QtObject {
        id: view

        property real drawn: 0
        property real last: 0
    }

    function follow() {
        const rising = level > view.last;
        if (rising) {
            const far = level - view.drawn > 0.05;
            animation.duration = far ? 60 : 100;
            animation.easing.type = far ? Easing.OutQuart : Easing.OutQuad;
        } else {
            const low = level < 0.1;
            animation.duration = low ? 1200 : 600;
            animation.easing.type = low ? Easing.OutQuart : Easing.OutQuad;
        }
        animation.to = level;
        animation.restart();
        // A change within 0.001 leaves the timer as it is.
        if (level <= 0)
            resetTimer.stop();
        else if (Math.abs(level - view.last) > 0.001)
            resetTimer.restart();
        view.last = level;
    }

    implicitWidth: 9
    implicitHeight: 160

    Rectangle {
        id: clipMark

        objectName: "clipMark"
        width: parent.width
        height: 5
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

    // A cover that moves over a fixed gradient is cheap. A canvas would be repainted at each step.
    Rectangle {
        id: bar

        objectName: "bar"
        anchors.top: clipMark.bottom
        anchors.topMargin: 5
        anchors.bottom: parent.bottom
        width: parent.width
        gradient: Gradient {
            GradientStop {
                position: 0
                color: VxTheme.meterHigh
            }
            GradientStop {
                position: 0.3
                color: VxTheme.meterMiddle
            }
            GradientStop {
                position: 1
                color: VxTheme.meterLow
            }
        }

        Rectangle {
            objectName: "cover"
            width: parent.width
            // In whole pixels, so that an invisible change causes no repaint.
            height: Math.round(parent.height * (1 - view.drawn))
            color: VxTheme.meterGround
        }
    }

    NumberAnimation {
        id: animation

        objectName: "animation"
        target: view
        property: "drawn"
    }

    Timer {
        id: resetTimer

        objectName: "resetTimer"
        interval: meter.autoResetTimeout
        onTriggered: meter.level = 0
    }

    onLevelChanged: follow()
}
