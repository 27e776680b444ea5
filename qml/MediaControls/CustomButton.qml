pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Effects
import QtQuick.Templates as T

/* A bare icon to press. Its text is not shown: it names the button for a screen reader and in the tooltip. */
Pressable {
    id: button

    // Degrees, of the icon alone.
    property real iconRotation: 0

    implicitWidth: icon.width + leftPadding + rightPadding
    implicitHeight: icon.height + topPadding + bottomPadding
    padding: 4
    flat: true
    display: T.AbstractButton.IconOnly
    icon.width: 24
    icon.height: 24
    ringGap: 1

    contentItem: Item {
        // Only while held down: a layer costs a frame buffer.
        Loader {
            objectName: "shadow"
            anchors.fill: picture
            active: button.down
            opacity: 0.5
            sourceComponent: MultiEffect {
                source: picture
                blurEnabled: true
                blur: 1
                blurMax: 16
                brightness: 0.2
            }
        }
        Image {
            id: picture

            anchors.centerIn: parent
            width: button.icon.width
            height: button.icon.height
            sourceSize: Qt.size(width, height)
            source: button.icon.source
            fillMode: Image.PreserveAspectFit
            rotation: button.iconRotation
            Accessible.ignored: true
        }
    }
    background: Rectangle {
        radius: VxTheme.radiusSmall
        color: button.down ? VxTheme.veilPressed : button.hovered && button.enabled ? VxTheme.veilHover : "transparent"
    }

    VxToolTip {
        visible: button.hovered && button.text !== ""
        delay: VxTheme.toolTipDelayMs
        text: button.text
    }
}
