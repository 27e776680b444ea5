import QtQuick

/* A colour as text: HEX applies at its sixth digit, the numbers R, G and B when the entry is finished. */
Column {
    id: fields

    required property color shown
    // True while an entry is being applied.
    property bool frozen: false
    readonly property string hexText: String(shown).slice(1).toUpperCase()

    signal entered(color newColor)

    function focusOut() {
        for (const field of [hexField, redField, greenField, blueField])
            field.focusOut();
    }

    function enterHex(text: string) {
        const digits = text.replace("#", "");
        if (digits !== text)
            hexField.replace(digits);
        if (/^[0-9A-Fa-f]{6}$/.test(digits))
            entered("#" + digits);
    }

    // Applies the shown numbers, with one of them replaced.
    function enterNumber(field: ColorField, channel: int) {
        const number = /^[0-9]{1,3}$/.test(field.text) ? Number(field.text) : 256;
        const numbers = [redField, greenField, blueField].map(other => Number(other.value));
        if (number > 255) {
            field.replace(field.value);
        } else if (number !== numbers[channel]) {
            numbers[channel] = number;
            entered(Qt.rgba(numbers[0] / 255, numbers[1] / 255, numbers[2] / 255, 1));
        }
    }

    spacing: 8

    Row {
        width: parent.width
        spacing: 8

        ColorField {
            id: hexField

            width: parent.width - preview.width - parent.spacing
            label: "HEX"
            value: fields.hexText
            frozen: fields.frozen
            // Allows one leading #, for pasted texts.
            pattern: /^#?[0-9A-Fa-f]{0,6}$/
            onEdited: text => fields.enterHex(text)
        }
        Rectangle {
            id: preview

            objectName: "preview"
            width: 36
            height: 28
            radius: VxTheme.radiusField
            color: fields.shown
            border.width: 1
            border.color: VxTheme.outline
        }
    }

    Row {
        id: numberRow

        readonly property real fieldWidth: (width - 2 * spacing) / 3

        width: parent.width
        spacing: 8

        ColorField {
            id: redField

            width: numberRow.fieldWidth
            label: "R"
            value: String(Math.round(fields.shown.r * 255))
            frozen: fields.frozen
            pattern: /^[0-9]{0,3}$/
            onFinished: fields.enterNumber(redField, 0)
        }
        ColorField {
            id: greenField

            width: numberRow.fieldWidth
            label: "G"
            value: String(Math.round(fields.shown.g * 255))
            frozen: fields.frozen
            pattern: /^[0-9]{0,3}$/
            onFinished: fields.enterNumber(greenField, 1)
        }
        ColorField {
            id: blueField

            width: numberRow.fieldWidth
            label: "B"
            value: String(Math.round(fields.shown.b * 255))
            frozen: fields.frozen
            pattern: /^[0-9]{0,3}$/
            onFinished: fields.enterNumber(blueField, 2)
        }
    }
}
