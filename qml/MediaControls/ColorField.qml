import QtQuick
import QtQuick.Templates as T

/* A short text field behind its label. It shows the given value whenever it has no focus. */
Row {
    id: field

    required property string label
    // Shown while the field has no focus.
    required property string value
    property bool frozen: false
    property alias text: input.text
    property alias pattern: validator.regularExpression

    // The text at each change by the user, and when it is finished.
    signal edited(string text)
    signal finished(string text)

    function refresh() {
        if (!input.activeFocus && !frozen)
            input.text = value;
    }

    function replace(newText: string) {
        input.text = newText;
    }

    function focusOut() {
        input.focus = false;
    }

    spacing: 5

    VxText {
        id: caption

        anchors.verticalCenter: parent.verticalCenter
        text: field.label
        color: VxTheme.textSecondary
        font.pixelSize: VxTheme.fontCaption
    }

    T.TextField {
        id: input

        objectName: "field" + field.label
        width: field.width - caption.width - field.spacing
        height: 28
        leftPadding: 6
        rightPadding: 6
        verticalAlignment: TextInput.AlignVCenter
        selectByMouse: true
        color: VxTheme.text
        selectionColor: VxTheme.accent
        selectedTextColor: VxTheme.text
        font.family: VxTheme.fontFamily
        font.pixelSize: VxTheme.fontCaption
        inputMethodHints: Qt.ImhNoPredictiveText
        validator: RegularExpressionValidator {
            id: validator
        }
        background: Rectangle {
            radius: VxTheme.radiusField
            color: VxTheme.field
            border.width: 1
            border.color: input.activeFocus ? VxTheme.accent : input.hovered ? VxTheme.outlineHover : VxTheme.outline
        }
        Accessible.name: field.label

        onTextEdited: field.edited(text)
        onEditingFinished: field.finished(text)
        onActiveFocusChanged: {
            if (activeFocus)
                selectAll();
            else
                field.refresh();
        }
    }

    onValueChanged: refresh()
    onFrozenChanged: refresh()
    Component.onCompleted: refresh()
}
