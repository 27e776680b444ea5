import QtQuick
import MediaControls

/* Opens the equaliser, and shows the name of the preset in use. */
Pressable {
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

    // An unreadable record, as from a damaged store, has no name.
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
    leftInset: -10
    rightInset: -10
    ringGap: 0

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

            // Narrower than its picture, which has a margin, so that the arrow ends where the switches above it do.
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
    background: Rectangle {
        radius: VxTheme.radiusSmall
        color: equalizerRow.down ? VxTheme.veilPressed : equalizerRow.hovered ? VxTheme.veilHover : "transparent"
    }

    MessageListener {
        messageTypes: [MessageBus.messageTypes.UPDATE_DEVICE_EQUALIZER_CURRENT, MessageBus.messageTypes.UPDATE_DEVICE_EQUALIZER_CURRENT_CHANGE_BY_TYPE]
        onMessage: () => equalizerRow.readEqualizer()
    }

    Component.onCompleted: readEqualizer()
}
