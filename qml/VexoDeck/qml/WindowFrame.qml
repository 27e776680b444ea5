import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material
import MediaControls
import VexoDeckSystemBridge // qmllint disable import

/*
    The frameless window on which every window of the program is built. It fades in when shown. Closing fades it out
    and keeps it hidden as the user left it, or destroys it with isDestroy; the main window's close ends the program. A
    window that show() finds while it fades out fades in again.
*/
ApplicationWindow {
    id: windowFrame

    // The body below the title bar.
    default property Component content
    // More content of the title bar. Only the main window has some, and is known by it.
    property Component rightView: null
    property bool isDestroy: false
    property color titleColor: VxTheme.text
    property bool macStyle: Qt.platform.os === "osx"
    // Fades out, to be hidden or destroyed.
    readonly property bool isClosing: closeTimer.running
    // The question before the end of the program, once it has been asked.
    property var quitQuestion: null

    // For windows that have something to do at the end of their completion.
    function loadView() {
    }

    function show() {
        closeTimer.stop();
        visible = true;
        opacity = 1;
    }

    // The main window asks before it cuts an installation.
    function askToQuit(): bool {
        if (!HIDDeviceMgr.installing)
            return false;
        if (!quitQuestion?.visible)
            quitQuestion = MessageDialogMgr.showCustomDialogNew(qsTr("正在安装固件，现在退出会中断升级。确定要退出吗？"), () => windowFrame.quitProgram(), null);
        // Without a question there is no answer to wait for.
        return Boolean(quitQuestion);
    }

    function quitProgram() {
        if (VxConfig.isWindowsPlatform())
            Qt.exit(0);
        else
            SystemBridge.quitApplication(); // qmllint disable unqualified
    }

    width: 1300
    height: 800
    minimumWidth: 800
    minimumHeight: 500
    flags: Qt.Window | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint
    color: VxTheme.background
    opacity: 0
    font.family: VxTheme.fontFamily
    // The style would else follow the desktop's theme.
    Material.theme: Material.Dark
    Material.accent: VxTheme.accent

    Behavior on opacity {
        NumberAnimation {
            duration: VxTheme.fadeMs
            easing.type: VxTheme.easing
        }
    }

    FocusScope {
        anchors.fill: parent
        focus: true

        TitleBar {
            id: titleBar

            anchors.left: parent.left
            anchors.right: parent.right
            z: 2
            window: windowFrame
            macStyle: windowFrame.macStyle
            titleColor: windowFrame.titleColor
            rightView: windowFrame.rightView
            edgeThickness: resizeEdges.visible ? resizeEdges.thickness : 0
            onCloseRequested: {
                if (!windowFrame.rightView)
                    windowFrame.close();
                else if (!windowFrame.askToQuit())
                    windowFrame.quitProgram();
            }
        }

        Loader {
            objectName: "body"
            anchors.fill: parent
            anchors.topMargin: titleBar.height
            sourceComponent: windowFrame.content
        }

        // Below the title bar, whose buttons reach to the window's edge and take the presses there.
        ResizeEdges {
            id: resizeEdges

            anchors.fill: parent
            z: 1
            window: windowFrame
            visible: titleBar.resizable && windowFrame.visibility === Window.Windowed
        }

        // As the close button does. The main window stays: its close ends the program.
        Keys.onEscapePressed: event => {
            event.accepted = !windowFrame.rightView;
            if (event.accepted)
                windowFrame.close();
        }
    }

    Timer {
        id: closeTimer

        objectName: "closeTimer"
        interval: VxTheme.fadeMs
        onTriggered: {
            windowFrame.visible = false;
            windowFrame.opacity = 0;
            if (windowFrame.isDestroy)
                windowFrame.destroy();
        }
    }

    onVisibleChanged: {
        if (visible)
            opacity = 1;
    }
    onClosing: close => {
        if (rightView && askToQuit()) {
            close.accepted = false;
            return;
        }
        close.accepted = rightView !== null;
        opacity = 0;
        closeTimer.start();
        // Qt would end the program only where no other window, hidden as it may be, refuses its close.
        if (rightView)
            quitProgram();
    }
    Component.onCompleted: {
        flags = Qt.Window | Qt.FramelessWindowHint;
        if (!macStyle)
            color = VxTheme.windowBackground;
        loadView();
    }
}
