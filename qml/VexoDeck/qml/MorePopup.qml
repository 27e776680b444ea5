pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import MediaControls

/* The main window's menu, under its button. A row without an action cannot be chosen. */
T.Popup {
    id: morePopup

    // The button stands at the right on macOS, else at the left.
    property bool macStyle: false
    // text, icon and action (a function or null) of each row.
    property list<var> rows: []

    // A row has been chosen: the menu fades out.
    property bool done: false

    // Room for the longest row of each language.
    function widthFor(languageCode: string): int {
        switch (languageCode) {
        case "ja_JP":
            return 150;
        case "it_IT":
        case "fr_FR":
        case "de_DE":
        case "en_US":
            return 180;
        case "es_ES":
            return 190;
        case "ru_RU":
            return 220;
        default:
            return 110;
        }
    }

    // The rows are there until the menu has faded: the second click of two chooses nothing.
    function choose(entry: var) {
        if (done)
            return;
        done = true;
        close();
        entry.action();
    }

    // Focuses the next enabled row, starting at an index, in steps of 1 or -1.
    function focusRow(from: int, step: int) {
        for (let count = 0; count < repeater.count; count++) {
            const row = repeater.itemAt((from + count * step + repeater.count) % repeater.count);
            if (row.enabled) {
                row.forceActiveFocus(step > 0 ? Qt.TabFocusReason : Qt.BacktabFocusReason);
                return;
            }
        }
    }

    objectName: "morePopup"
    x: macStyle ? 30 - width : 0
    y: 30
    width: widthFor(UiLanguage.code)
    implicitHeight: contentHeight + topPadding + bottomPadding
    padding: 5
    modal: false
    focus: true
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutsideParent

    background: Rectangle {
        radius: VxTheme.radiusPanel
        color: VxTheme.popup
        border.width: 1
        border.color: VxTheme.unselected
    }
    contentItem: Column {
        spacing: 2
        Accessible.role: Accessible.PopupMenu
        Accessible.name: qsTr("更多")

        Repeater {
            id: repeater

            // A number: texts that change leave the rows, and the focus in them, where they are.
            model: morePopup.rows.length

            MorePopupRow {
                required property int index
                readonly property var entry: morePopup.rows[index]

                objectName: "morePopupRow" + index
                width: morePopup.availableWidth
                text: entry?.text ?? ""
                icon.source: entry?.icon ?? ""
                enabled: Boolean(entry?.action)
                onClicked: morePopup.choose(entry)
                Keys.onDownPressed: morePopup.focusRow(index + 1, 1)
                Keys.onUpPressed: morePopup.focusRow(index - 1, -1)
            }
        }
    }

    PopupName {
        owner: morePopup
        name: morePopup.contentItem.Accessible.name
    }

    onAboutToShow: done = false
    enter: Transition {
        NumberAnimation {
            property: "opacity"
            from: 0
            to: 1
            duration: VxTheme.hoverMs
            easing.type: VxTheme.easing
        }
    }
    exit: Transition {
        NumberAnimation {
            property: "opacity"
            to: 0
            duration: VxTheme.hoverMs
            easing.type: VxTheme.easing
        }
    }
}
