import QtQuick
import QtQuick.Templates as T

/* The base of a list box: a closed box with its current text, and a list that opens below it. */
T.ComboBox {
    id: listBox

    property int arrowSize: 16
    // From the right edge.
    property real arrowInset: 10
    readonly property color restColor: hovered && enabled ? VxTheme.popupHover : VxTheme.popup
    // While pressed or open.
    property color downColor: restColor
    // For a screen reader.
    property string name: ""
    property real listWidth: width
    property real listMargins: 4
    // How long the list fades in and the arrow turns, in ms.
    property int openMs: VxTheme.hoverMs

    signal aboutToOpen

    // For boxes whose choice acts at once: a closed box opens on the arrow keys, Return and Enter, and no other key
    // changes the choice.
    function handlePickerKey(event: var) {
        const withMeta = (event.modifiers & Qt.MetaModifier) !== 0;
        const jumps = !popup.visible && [Qt.Key_Home, Qt.Key_End].includes(event.key);
        const opens = !withMeta && !popup.visible && [Qt.Key_Up, Qt.Key_Down, Qt.Key_Return, Qt.Key_Enter].includes(event.key);
        const typed = event.text !== "" && ![Qt.Key_Space, Qt.Key_Tab, Qt.Key_Backtab, Qt.Key_Escape, Qt.Key_Return, Qt.Key_Enter].includes(event.key);
        event.accepted = opens || jumps || typed || withMeta;
        if (opens)
            popup.open();
    }

    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    font.family: VxTheme.fontFamily
    font.pixelSize: VxTheme.fontSmall
    opacity: enabled ? 1 : VxTheme.disabledOpacity

    Accessible.role: Accessible.ComboBox
    Accessible.name: name === "" ? displayText : name
    // The value: a list box has no other place for it.
    Accessible.description: displayText

    contentItem: VxText {
        text: listBox.displayText
        font: listBox.font
        elide: Text.ElideRight
    }
    indicator: VxIcon {
        x: listBox.width - width - listBox.arrowInset
        y: (listBox.height - height) / 2
        size: listBox.arrowSize
        source: "icons/down.svg"
        rotation: listBox.popup.visible ? 180 : 0

        Behavior on rotation {
            NumberAnimation {
                duration: listBox.openMs
            }
        }
    }
    background: Rectangle {
        radius: VxTheme.radiusSmall
        color: listBox.down ? listBox.downColor : listBox.restColor
        border.width: 1
        border.color: listBox.popup.visible ? VxTheme.accent : VxTheme.outline

        FocusRing {
            visible: listBox.visualFocus && !listBox.popup.visible
        }
    }
    popup: T.Popup {
        id: listPopup

        y: listBox.height + 4
        width: listBox.listWidth
        implicitHeight: Math.min(list.contentHeight + topPadding + bottomPadding, 300)
        padding: 4
        margins: listBox.listMargins

        contentItem: ScrollList {
            id: list

            implicitHeight: contentHeight
            model: listBox.delegateModel
            currentIndex: listBox.highlightedIndex
            highlightMoveDuration: 0
            Accessible.role: Accessible.List
            Accessible.name: listBox.Accessible.name
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
                duration: listBox.openMs
            }
        }

        PopupName {
            owner: listPopup
            name: listBox.Accessible.name
        }

        onAboutToShow: listBox.aboutToOpen()
    }

    Accessible.onPressAction: {
        if (!enabled)
            return;
        // The keys are the list's, as after a click.
        forceActiveFocus(Qt.TabFocusReason);
        popup.open();
    }
}
