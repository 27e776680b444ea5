import QtQuick

/*
    The icon of an application, or another one where there is none. The inventory names an icon's file before it has
    written it: the icon shows as soon as the file is there.
*/
Item {
    id: appIcon

    // Of an entry of AppInventory.
    property string iconFilePath: ""
    property int size: 22
    // Shown where there is no icon.
    property url fallback: "icons/audio.svg"

    QtObject {
        id: wait

        readonly property int shortestMs: 100
        readonly property int longestMs: 12800
    }

    // Shows the file, or looks again after a time that doubles.
    function look() {
        const file = AppInventory.iconSource(iconFilePath);
        // A new address each time, since the file may have changed.
        picture.source = file === "" ? "" : file + "?cache=" + Date.now();
        if (file === "" && iconFilePath !== "" && again.interval <= wait.longestMs)
            again.start();
    }

    function lookAnew() {
        again.stop();
        again.interval = wait.shortestMs;
        look();
    }

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
    }

    VxIcon {
        objectName: "fallback"
        size: appIcon.size
        visible: !picture.visible
        source: appIcon.fallback
    }

    Timer {
        id: again

        onTriggered: {
            interval *= 2;
            appIcon.look();
        }
    }

    onIconFilePathChanged: lookAnew()
}
