pragma ComponentBehavior: Bound

import QtQuick

/* The list box of the program that the device's button starts: the system's browser and what is installed. */
ListBox {
    id: comboBox

    // Records of the inventory. One whole record is the value of the setting.
    property var records: []
    property bool filled: false
    readonly property string browserName: "系统浏览器"

    // The program that is chosen is the one of the same name, of several the same one.
    function fill() {
        records = AppInventory.installed();
        model = records;
        currentIndex = indexOf(AppInventory.recordIn(ConfigMgr.getValue(ConfigMgr.keys.general_hotkey_value_app)));
        filled = true;
        store();
    }

    function indexOf(chosen: var): int {
        const namesakes = records.filter(record => chosen && record.name === chosen.name);
        const same = namesakes.find(record => record.executablePath === chosen.executablePath) ?? namesakes[0];
        return records.indexOf(same);
    }

    function labelOf(record: var): string {
        return record.name === browserName ? qsTr("系统浏览器") : AppInventory.displayName(AppInventory.reduced(record));
    }

    // A record that has changed since it was stored is stored anew.
    function store() {
        const key = ConfigMgr.keys.general_hotkey_value_app;
        const record = records[currentIndex];
        const text = record ? JSON.stringify(record) : "";
        if (filled && record && text !== ConfigMgr.getValue(key))
            ConfigMgr.setValue(key, text);
    }

    implicitHeight: 30
    leftPadding: 10
    rightPadding: 30
    listWidth: Math.max(240, width)
    listMargins: 8
    model: []
    font.pixelSize: VxTheme.fontCaption
    displayText: currentIndex >= 0 ? labelOf(records[currentIndex]) : ""

    contentItem: Item {
        AppIcon {
            id: icon

            objectName: "currentIcon"
            anchors.verticalCenter: parent.verticalCenter
            visible: comboBox.currentIndex >= 0
            size: 18
            fallback: "icons/vexologo.svg"
            iconFilePath: AppInventory.reduced(comboBox.records[comboBox.currentIndex]).iconFilePath
        }
        VxText {
            id: label

            objectName: "label"
            anchors.left: icon.visible ? icon.right : parent.left
            anchors.leftMargin: icon.visible ? 8 : 0
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: comboBox.displayText
            font: comboBox.font
            elide: Text.ElideRight
            maximumLineCount: 1
        }
        VxText {
            objectName: "hint"
            anchors.fill: parent
            visible: comboBox.currentIndex < 0
            text: qsTr("请选择应用")
            font: comboBox.font
            fontSizeMode: Text.HorizontalFit
            minimumPixelSize: VxTheme.fontSmallest
            color: VxTheme.textSecondary
            elide: Text.ElideRight
        }
    }
    delegate: AppRow {
        required property var modelData
        required property int index

        objectName: "app" + index
        width: ListView.view.width
        app: AppInventory.reduced(modelData)
        text: comboBox.labelOf(modelData)
        fallbackIcon: "icons/vexologo.svg"
        current: comboBox.currentIndex === index
        highlighted: comboBox.highlightedIndex === index
    }

    VxToolTip {
        visible: comboBox.hovered && label.truncated && !comboBox.popup.visible
        delay: VxTheme.toolTipDelayMs
        text: comboBox.displayText.slice(0, 300)
    }

    Keys.onPressed: event => handlePickerKey(event)
    onCurrentIndexChanged: store()
    Component.onCompleted: fill()
}
