import QtQuick

/* The page "灯光" of the device drawer. */
SettingsPage {
    objectName: "lightingTab"
}
