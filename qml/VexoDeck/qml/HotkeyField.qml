import QtQuick
import QtQuick.Templates as T
import MediaControls

/* A field with the data of an action of the device's button. Its hint shows while it has neither focus nor text. */
T.TextField {
    id: hotkeyField

    // For a screen reader.
    required property string name
    property color lineColor: VxTheme.fieldLine

    implicitHeight: 30
    leftPadding: 10
    rightPadding: 10
    verticalAlignment: TextInput.AlignVCenter
    selectByMouse: true
    // More than any browser takes, and laid out within a frame.
    maximumLength: 16384
    color: VxTheme.text
    selectionColor: VxTheme.accent
    selectedTextColor: VxTheme.text
    font.family: VxTheme.fontFamily
    font.pixelSize: VxTheme.fontCaption
    inputMethodHints: Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase
    background: Rectangle {
        radius: VxTheme.radiusSmall
        color: VxTheme.field
        border.width: 1
        border.color: hotkeyField.lineColor

        FocusRing {
            visible: hotkeyField.activeFocus && [Qt.TabFocusReason, Qt.BacktabFocusReason].includes(hotkeyField.focusReason)
        }
    }
    Accessible.role: Accessible.EditableText
    Accessible.name: name

    VxText {
        objectName: "hint"
        anchors.fill: parent
        leftPadding: hotkeyField.leftPadding
        rightPadding: hotkeyField.rightPadding
        visible: !hotkeyField.activeFocus && hotkeyField.text === ""
        text: hotkeyField.placeholderText
        color: VxTheme.textSecondary
        font: hotkeyField.font
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: VxTheme.fontSmallest
        elide: Text.ElideRight
    }
}
