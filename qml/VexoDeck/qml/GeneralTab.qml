import QtQuick

/* The page "通用" of the device drawer. */
SettingsPage {
    objectName: "generalTab"
}
