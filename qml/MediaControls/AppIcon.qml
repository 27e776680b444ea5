import QtQuick

/* The icon of an application, or a general one where the file is missing or no picture. */
Item {
    id: appIcon

    // A file's address.
    property string iconFilePath: ""
    property int size: 22

    implicitWidth: size
    implicitHeight: size
    Accessible.ignored: true

    Image {
        id: picture

        objectName: "picture"
        anchors.fill: parent
        visible: status === Image.Ready
        asynchronous: true
        sourceSize: Qt.size(appIcon.size * 2, appIcon.size * 2)
        fillMode: Image.PreserveAspectFit
        mipmap: true
        // A new address each time, since the file may have changed.
        source: appIcon.iconFilePath.startsWith("file:") ? appIcon.iconFilePath + "?cache=" + Date.now() : ""
    }

    VxIcon {
        objectName: "fallback"
        size: appIcon.size
        visible: !picture.visible
        source: "icons/audio.svg"
    }
}
