pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T

/*
    The list box that swaps the application of a mixer strip. Each time it opens it lists what runs and has no strip
    yet, and the strip's own application. A choice replaces the entry in appList and then emits appSelected.
*/
T.ComboBox {
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

    // A closed box opens on the arrow keys and ignores letters, so that no stray key swaps the application.
    function handleKey(event: var) {
        const opens = [Qt.Key_Up, Qt.Key_Down, Qt.Key_Return, Qt.Key_Enter].includes(event.key);
        event.accepted = !popup.visible && (opens || (event.text !== "" && ![Qt.Key_Space, Qt.Key_Tab, Qt.Key_Backtab, Qt.Key_Escape].includes(event.key)));
        if (event.accepted && opens)
            popup.open();
    }

    implicitHeight: 28
    leftPadding: 8
    rightPadding: 20
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    model: []
    font.family: VxTheme.fontFamily
    font.pixelSize: VxTheme.fontCaption
    displayText: currentApp ? AppInventory.displayName(currentApp) : ""
    opacity: enabled ? 1 : VxTheme.disabledOpacity

    Accessible.role: Accessible.ComboBox
    Accessible.name: displayText

    contentItem: VxText {
        id: label

        text: comboBox.displayText
        font: comboBox.font
        elide: Text.ElideRight
    }
    indicator: VxIcon {
        x: comboBox.width - width - 5
        y: (comboBox.height - height) / 2
        size: 12
        source: "icons/down.svg"
        rotation: comboBox.popup.visible ? 180 : 0
    }
    background: Rectangle {
        radius: VxTheme.radiusSmall
        color: comboBox.hovered ? VxTheme.popupHover : VxTheme.popup
        border.width: 1
        border.color: comboBox.popup.visible ? VxTheme.accent : VxTheme.outline

        FocusRing {
            visible: comboBox.visualFocus && !comboBox.popup.visible
        }
    }
    delegate: AppRow {
        required property var modelData
        required property int index

        objectName: "app" + index
        width: ListView.view.width
        app: modelData
        current: comboBox.currentIndex === index
        highlighted: comboBox.highlightedIndex === index
    }
    popup: T.Popup {
        y: comboBox.height + 4
        width: 240
        implicitHeight: Math.min(list.contentHeight + topPadding + bottomPadding, 300)
        padding: 4
        margins: 8

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

        onAboutToShow: comboBox.refresh()
    }

    VxToolTip {
        visible: comboBox.hovered && label.truncated && !comboBox.popup.visible
        delay: VxTheme.toolTipDelayMs
        text: comboBox.displayText.slice(0, 300)
    }

    Keys.onPressed: event => handleKey(event)
    onActivated: index => choose(model[index])
}
