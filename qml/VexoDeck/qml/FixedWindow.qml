import QtQuick

/* A window of one size that holds back all others while it is shown. Hidden until show() or VxConfig.createWindow(). */
WindowFrame {
    id: fixedWindow

    required property size fixedSize

    width: fixedSize.width
    height: fixedSize.height
    minimumWidth: fixedSize.width
    minimumHeight: fixedSize.height
    maximumWidth: fixedSize.width
    maximumHeight: fixedSize.height
    modality: Qt.ApplicationModal
    visible: false
}
