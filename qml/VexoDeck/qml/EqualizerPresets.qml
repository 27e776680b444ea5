pragma ComponentBehavior: Bound

import QtQuick
import MediaControls
// The program registers this module when it starts: qmllint finds no description of it.
import VexoDeckSystemBridge // qmllint disable import
import "EqualizerCurve.js" as Curve

/*
    The row of the equaliser's presets: seven fixed ones, then at most three of the user's own. It keeps the list and the
    selection, writes both to the settings and then notifies the engine.
*/
Item {
    id: eqSelect

    property int selectIndex: 0
    // Records with name, value (dB of the twelve bands) and img.
    property var dataList: []
    readonly property int countSum: EqualizerNames.firstUserIndex
    readonly property var currentEqData: dataList[selectIndex] ?? emptyRecord()
    readonly property bool userSelected: selectIndex >= countSum && selectIndex < dataList.length
    readonly property int tabIndex: selectIndex >= 0 && selectIndex < dataList.length ? selectIndex : 0
    readonly property int tileWidth: 78
    readonly property bool full: dataList.length >= countSum + 3

    readonly property var bridge: SystemBridge // qmllint disable unqualified

    function emptyRecord(): var {
        return {
            name: "",
            value: new Array(Curve.bandCount).fill(0),
            img: ""
        };
    }

    // A text that is no record becomes an empty one and keeps its place in the list.
    function parsed(text: string): var {
        let record = null;
        try {
            record = JSON.parse(text);
        } catch (error) {
            return emptyRecord();
        }
        return record !== null && typeof record === "object" ? record : emptyRecord();
    }

    function readSelection() {
        selectIndex = ConfigMgr.getValue(ConfigMgr.keys.device_equalizer_current_index);
    }

    function storeRecord() {
        ConfigMgr.setValue(ConfigMgr.keys.device_equalizer_current, JSON.stringify(currentEqData));
    }

    function storeIndex() {
        ConfigMgr.setValue(ConfigMgr.keys.device_equalizer_current_index, selectIndex);
    }

    function notify() {
        MessageBus.publishUpdateDeviceEqualizerCurrent(selectIndex);
        bridge.updateMonitorDevice();
    }

    // Does not turn the equaliser on.
    function select(index: int) {
        selectIndex = index;
        storeRecord();
        storeIndex();
        notify();
    }

    // The first preset follows the last.
    function selectByKey(index: int) {
        const place = (index + presets.count) % presets.count;
        select(place);
        presets.itemAt(place).forceActiveFocus(Qt.TabFocusReason);
    }

    // Does not select what it adds.
    function addPreset() {
        const record = {
            name: "自定义",
            value: new Array(Curve.bandCount).fill(0),
            img: "icons/zdy.svg"
        };
        dataList = dataList.concat([record]);
        ConfigMgr.addStringList(ConfigMgr.keys.device_equalizer_values, JSON.stringify(record));
        console.log("添加新的均衡器预设:", JSON.stringify(record));
        bridge.updateMonitorDevice();
        list.toRightEnd();
    }

    // Selects the next preset, or the one before where the last one was removed.
    function removeSelected() {
        ConfigMgr.removeStringListIndex(ConfigMgr.keys.device_equalizer_values, selectIndex);
        dataList = dataList.filter((record, index) => index !== selectIndex);
        if (selectIndex >= dataList.length)
            selectIndex = dataList.length - 1;
        storeIndex();
        storeRecord();
        notify();
    }

    function revealSelected() {
        if (selectIndex >= 0 && selectIndex < dataList.length)
            list.revealStretch(selectIndex * list.step, tileWidth);
    }

    // Does not notify the engine, which follows presses and not moves.
    function setGain(band: int, gain: real) {
        const gains = Curve.twelveGains(currentEqData.value);
        gains[band] = gain;
        const record = Object.assign({}, currentEqData, {
            value: gains
        });
        dataList = dataList.map((other, index) => index === selectIndex ? record : other);
        ConfigMgr.setStringList(ConfigMgr.keys.device_equalizer_values, dataList.map(other => JSON.stringify(other)));
        storeRecord();
        MessageBus.publishUpdateDeviceEqualizerCurrent(selectIndex);
    }

    // Records are not trusted: only the program's own pictures are shown.
    function iconOf(record: var): url {
        const known = ["gbz", "rs", "dq", "pt", "zp", "dzp"].map(name => "icons/" + name + ".svg");
        return VxConfig.iconUrl(known.includes(record.img) ? record.img : "icons/zdy.svg", "");
    }

    objectName: "eqSelect"
    implicitHeight: 74

    ScrollPage {
        id: list

        readonly property real step: eqSelect.tileWidth + row.spacing
        readonly property int places: eqSelect.dataList.length + (eqSelect.full ? 0 : 1)

        function toRightEnd() {
            contentX = Math.max(0, contentWidth - width);
        }

        objectName: "presetList"
        anchors.fill: parent
        // Computed, since the row follows a change of the list one frame later.
        contentWidth: places * step - row.spacing
        contentHeight: height
        flickableDirection: Flickable.HorizontalFlick
        mouseFlicks: true
        barThickness: 6
        clip: true
        Accessible.role: Accessible.Grouping
        Accessible.name: qsTr("均衡器")

        Row {
            id: row

            // With this spacing the last visible tile is cut, which shows that there are more.
            spacing: 4

            Repeater {
                id: presets

                model: eqSelect.dataList.length

                TileButton {
                    required property int index
                    readonly property var record: eqSelect.dataList[index] ?? eqSelect.emptyRecord()

                    objectName: "preset" + index
                    width: eqSelect.tileWidth
                    height: 66
                    text: EqualizerNames.displayName(typeof record.name === "string" ? record.name : "", index)
                    icon.source: eqSelect.iconOf(record)
                    selected: index === eqSelect.selectIndex
                    tabStop: index === eqSelect.tabIndex
                    onMoved: step => eqSelect.selectByKey(index + step)
                    onClicked: eqSelect.select(index)
                }
            }

            CustomButton {
                id: plusButton

                objectName: "addPreset"
                width: eqSelect.tileWidth
                height: 66
                visible: !eqSelect.full
                text: qsTr("添加均衡器预设")
                icon.source: VxConfig.iconUrl("icons/plus2.svg", "")
                onClicked: eqSelect.addPreset()

                Rectangle {
                    anchors.fill: parent
                    radius: VxTheme.radiusSmall
                    color: "transparent"
                    border.width: 1
                    border.color: plusButton.hovered ? VxTheme.outlineHover : VxTheme.outline
                }
            }
        }

        WheelHandler {
            acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad
            target: null
            onWheel: event => {
                const wanted = list.contentX - (event.angleDelta.y || event.angleDelta.x) / 2;
                list.contentX = Math.max(0, Math.min(list.contentWidth - list.width, wanted));
            }
        }
    }

    onSelectIndexChanged: revealSelected()
    onWidthChanged: revealSelected()
    Component.onCompleted: {
        dataList = ConfigMgr.getStringList(ConfigMgr.keys.device_equalizer_values).map(text => parsed(text));
        readSelection();
    }
}
