import QtQuick

/* A square icon of the family, drawn sharp at any density. It is a picture of its control, not a thing of its own. */
Image {
    property int size: 16

    width: size
    height: size
    sourceSize: Qt.size(size, size)
    fillMode: Image.PreserveAspectFit
    Accessible.ignored: true
}
