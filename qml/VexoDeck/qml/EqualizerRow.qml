import QtQuick
import QtQuick.Templates as T
import MediaControls

/* The way to the equaliser, with the name of what is in use. */
T.AbstractButton {
    id: equalizerRow

    required property string tips

    QtObject {
        id: equalizer

        property bool on: false
        property string name: ""
        property int index: 0
    }

    function readEqualizer() {
        equalizer.on = ConfigMgr.getValue(ConfigMgr.keys.device_equalizer);
        equalizer.name = nameOf(ConfigMgr.getValue(ConfigMgr.keys.device_equalizer_current));
        equalizer.index = ConfigMgr.getValue(ConfigMgr.keys.device_equalizer_current_index);
    }

    // A record that a damaged store made unreadable has no name.
    function nameOf(record: string): string {
        try {
            return String(JSON.parse(record).name ?? "");
        } catch (error) {
            return "";
        }
    }

    function formatName(): string {
        return equalizer.on ? EqualizerNames.displayName(equalizer.name, equalizer.index) : qsTr("关闭");
    }

    width: parent?.width ?? 0
    implicitHeight: Math.max(40, row.height)
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.description: formatName()

    contentItem: Item {
        SettingRow {
            id: row

            text: equalizerRow.text
            tips: equalizerRow.tips

            VxText {
                objectName: "equalizerName"
                anchors.verticalCenter: parent.verticalCenter
                width: Math.min(implicitWidth, row.width / 2)
                text: equalizerRow.formatName()
                color: VxTheme.textSecondary
                elide: Text.ElideRight
            }

            // The arrow ends where the switches above it do: its picture has a margin.
            Item {
                anchors.verticalCenter: parent.verticalCenter
                width: 6
                height: 16

                VxIcon {
                    anchors.centerIn: parent
                    source: VxConfig.iconUrl("icons/right.svg", "")
                    opacity: equalizerRow.hovered || equalizerRow.visualFocus ? 1 : 0.6
                }
            }
        }
    }
    background: Item {
        Rectangle {
            anchors.fill: parent
            anchors.leftMargin: -10
            anchors.rightMargin: -10
            radius: VxTheme.radiusSmall
            color: equalizerRow.down ? VxTheme.veilPressed : equalizerRow.hovered ? VxTheme.veilHover : "transparent"

            FocusRing {
                gap: 0
                visible: equalizerRow.visualFocus
            }
        }
    }

    MessageListener {
        messageTypes: [MessageBus.messageTypes.UPDATE_DEVICE_EQUALIZER_CURRENT, MessageBus.messageTypes.UPDATE_DEVICE_EQUALIZER_CURRENT_CHANGE_BY_TYPE]
        onMessage: () => equalizerRow.readEqualizer()
    }

    Keys.onReturnPressed: event => KeyPress.once(event, () => click())
    Keys.onEnterPressed: event => KeyPress.once(event, () => click())
    Component.onCompleted: readEqualizer()
}
