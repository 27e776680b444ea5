import QtQuick
import QtQuick.Templates as T

/* A list that scrolls to its current row, with a bar. */
ListView {
    clip: true
    boundsBehavior: Flickable.StopAtBounds

    T.ScrollBar.vertical: VxScrollBar {}
}
