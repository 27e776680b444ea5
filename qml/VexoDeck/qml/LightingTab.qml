import QtQuick

/* The page "灯光" of the device drawer: the colours of the device's lights, which only the settings remember. */
SettingsPage {
    objectName: "lightingTab"

    LightingBackground {}
    LightingInput {}
    LightingIndicators {}
    LightingOther {}
}
