import QtQuick

/* A square icon, sharp at any density. Screen readers skip it: its control has the name. */
Image {
    property int size: 16

    width: size
    height: size
    sourceSize: Qt.size(size, size)
    fillMode: Image.PreserveAspectFit
    Accessible.ignored: true
}
