import QtQuick

/* The page "通用" of the device drawer. */
Item {
    objectName: "generalTab"
}
