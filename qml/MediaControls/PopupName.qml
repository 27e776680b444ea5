import QtQml
import QtQuick
import QtQuick.Templates as T

/* The name of a popup for a screen reader: Accessible cannot be attached to the popup itself. */
Binding {
    required property T.Popup owner
    required property string name

    target: owner.contentItem.parent.Accessible // qmllint disable missing-property
    property: "name"
    value: name
}
