pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T

/* A list box of plain texts. Every change of the current index to a valid row emits itemSelected, whoever made it. */
T.ComboBox {
    id: comboBox

    signal itemSelected(int index, string text)

    // Wide enough for every row.
    function widestText(): real {
        let widest = 0;
        for (let row = 0; row < count; row++)
            widest = Math.max(widest, metrics.advanceWidth(textAt(row)));
        return Math.ceil(widest);
    }

    implicitWidth: Math.max(140, widestText() + leftPadding + rightPadding)
    implicitHeight: 32
    leftPadding: 12
    rightPadding: 34
    spacing: 8
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    font.family: VxTheme.fontFamily
    font.pixelSize: VxTheme.fontSmall
    opacity: enabled ? 1 : VxTheme.disabledOpacity

    Accessible.role: Accessible.ComboBox

    contentItem: VxText {
        text: comboBox.displayText
        font: comboBox.font
        elide: Text.ElideRight
    }
    indicator: VxIcon {
        x: comboBox.width - width - 10
        y: (comboBox.height - height) / 2
        source: "icons/down.svg"
        rotation: comboBox.popup.visible ? 180 : 0

        Behavior on rotation {
            NumberAnimation {
                duration: VxTheme.hoverMs
            }
        }
    }
    background: Rectangle {
        radius: VxTheme.radiusSmall
        color: comboBox.down ? VxTheme.surface : comboBox.hovered && comboBox.enabled ? VxTheme.popupHover : VxTheme.popup
        border.width: 1
        border.color: comboBox.popup.visible ? VxTheme.accent : VxTheme.outline

        FocusRing {
            visible: comboBox.visualFocus && !comboBox.popup.visible
        }
    }
    delegate: Pressable {
        id: row

        required property var model
        required property int index
        readonly property bool current: comboBox.currentIndex === index

        width: ListView.view.width
        implicitHeight: 32
        leftPadding: 10
        rightPadding: 30
        focusPolicy: Qt.NoFocus
        highlighted: comboBox.highlightedIndex === index
        font: comboBox.font
        text: model[comboBox.textRole || "modelData"]
        Accessible.role: Accessible.ListItem
        Accessible.selected: current

        contentItem: VxText {
            text: row.text
            font: row.font
            elide: Text.ElideRight
        }
        background: Rectangle {
            radius: VxTheme.radiusField
            color: row.highlighted ? VxTheme.unselected : "transparent"

            VxIcon {
                objectName: "tick"
                anchors.right: parent.right
                anchors.rightMargin: 8
                anchors.verticalCenter: parent.verticalCenter
                source: "icons/right2.svg"
                visible: row.current
            }
        }
    }
    popup: T.Popup {
        y: comboBox.height + 4
        width: comboBox.width
        implicitHeight: Math.min(list.contentHeight + topPadding + bottomPadding, 300)
        padding: 4
        margins: 4

        contentItem: ScrollList {
            id: list

            implicitHeight: contentHeight
            model: comboBox.delegateModel
            currentIndex: comboBox.highlightedIndex
            highlightMoveDuration: 0
        }
        background: Rectangle {
            radius: VxTheme.radiusPanel
            color: VxTheme.popup
            border.width: 1
            border.color: VxTheme.outline
        }
        enter: Transition {
            NumberAnimation {
                property: "opacity"
                from: 0
                to: 1
                duration: VxTheme.hoverMs
            }
        }
    }

    FontMetrics {
        id: metrics

        font: comboBox.font
    }

    onCurrentIndexChanged: {
        if (currentIndex >= 0 && currentIndex < count)
            itemSelected(currentIndex, textAt(currentIndex));
    }
}
