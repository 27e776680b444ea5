import QtQuick

/* Text inside a control. */
Text {
    color: VxTheme.text
    font.family: VxTheme.fontFamily
    font.pixelSize: VxTheme.fontSmall
    textFormat: Text.PlainText
    verticalAlignment: Text.AlignVCenter
    Accessible.ignored: true
}
