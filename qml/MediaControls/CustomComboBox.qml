pragma ComponentBehavior: Bound

import QtQuick

/* A list box of plain texts. Every change of the current index to a valid row emits itemSelected, whoever made it. */
ListBox {
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
    downColor: VxTheme.surface

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

        Accessible.onPressAction: click()
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
