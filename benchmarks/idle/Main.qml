import QtQuick.Controls

ApplicationWindow {
    width: 1300
    height: 800
    visible: true
    title: "Empty window"
    color: "#1e1e1e"
}
