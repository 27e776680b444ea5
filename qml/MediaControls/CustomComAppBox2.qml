pragma ComponentBehavior: Bound

import QtQuick

/*
    The list box that swaps the application of a mixer strip. Each time it opens it lists what runs and has no strip
    yet, and the strip's own application. A choice replaces the entry in appList and then emits appSelected.
*/
ListBox {
    id: comboBox

    // The strip's entry, and its place in appList.
    property var currentApp: null
    property int appIndex: -1

    signal appSelected(app: var)

    function refresh() {
        const apps = AppInventory.available(currentApp?.bundleIdentifier ?? "");
        model = apps;
        currentIndex = apps.findIndex(app => app.bundleIdentifier === currentApp?.bundleIdentifier);
    }

    function choose(app: var) {
        if (!app)
            return;
        ConfigMgr.replaceStringListIndex(ConfigMgr.keys.appList, appIndex, JSON.stringify(app));
        appSelected(app);
    }

    implicitHeight: 28
    leftPadding: 8
    rightPadding: 20
    arrowSize: 12
    arrowInset: 5
    listWidth: 240
    listMargins: 8
    openMs: 0
    model: []
    font.pixelSize: VxTheme.fontCaption
    displayText: currentApp ? AppInventory.displayName(currentApp) : ""

    delegate: AppRow {
        required property var modelData
        required property int index

        objectName: "app" + index
        width: ListView.view.width
        app: modelData
        current: comboBox.currentIndex === index
        highlighted: comboBox.highlightedIndex === index
    }
    VxToolTip {
        visible: comboBox.hovered && (comboBox.contentItem as VxText).truncated && !comboBox.popup.visible
        delay: VxTheme.toolTipDelayMs
        text: comboBox.displayText.slice(0, 300)
    }

    Keys.onPressed: event => handlePickerKey(event)
    onAboutToOpen: refresh()
    onActivated: index => choose(model[index])
}
