import QtQuick

/* The page "灯光" of the device drawer. */
Item {
    objectName: "lightingTab"
}
