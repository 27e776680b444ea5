pragma Singleton

import QtQml
// The program registers this module when it starts: qmllint finds no description of it.
import VexoDeckHIDHotplug // qmllint disable import
import "DeviceAttributes.js" as Attributes

/*
    The only way from the screens to the device. It holds the attribute catalogue, collects writes for 500 ms and sends
    the last value of each attribute, reads values at connection, and publishes the device's reports on MessageBus. It
    does not retry: a write while no device is open is lost.
*/
QtObject {
    id: deviceMgr

    // Attribute name to id.
    readonly property var attrs: Attributes.ids

    // The last map from the manager: dpid, pid, vid, name, sn, version. It keeps old values from a disconnection to the
    // next connection, which begins with dpid only. A device that logs in again on the same connection tells its version
    // anew, another one everything.
    property var deviceInfo: ({})
    property bool deviceReady: false
    property var connectTime: new Date()
    // The device that is reported as connected, until the record of its connection is made: sn and name.
    property var reportedDevice: null
    // The device that was found last is a mixer in its bootloader. It is not in deviceInfo.
    property bool bootloaderFound: false
    // One is on the bus, taken up or left alone.
    readonly property bool bootloaderPresent: manager.bootloaderPresent
    // The upgrade view shows an installation: the end of the program would cut it.
    property bool installing: false
    // Pending writes: attribute id to value bytes.
    property var messageCache: ({})

    readonly property DeviceReports reports: DeviceReports {
        attrs: deviceMgr.attrs
        isR2: deviceMgr.isR2()
    }

    readonly property var manager: HIDHotplugManager // qmllint disable unqualified
    // A device is on the bus and cannot be opened.
    readonly property bool accessMissing: manager.accessMissing

    readonly property Timer flushTimer: Timer {
        interval: 500
        repeat: true
        running: true
        onTriggered: deviceMgr.flushMessages()
    }

    readonly property Connections managerConnections: Connections {
        target: deviceMgr.manager

        function onDeviceConnected(deviceInfo: var, isConnected: bool) {
            deviceMgr.handleDeviceConnected(deviceInfo, isConnected);
        }

        function onMessageReceived(attID: int, byteArray: var) {
            deviceMgr.handleMessageReceived(attID, byteArray);
        }

        function onUpgradeFirmwareProgress(progress: int, message: string) {
            deviceMgr.upgradeFirmwareProgress(progress, message);
        }

        function onUpgradeFirmwareSignal() {
            deviceMgr.bootloaderFound = true;
            deviceMgr.upgradeFirmwareSignal();
        }
    }

    // The end of the program is the end of a connection.
    readonly property Connections programConnections: Connections {
        target: Qt.application

        function onAboutToQuit() {
            deviceMgr.recordConnection();
        }
    }

    signal deviceConnected(var deviceInfo, bool connected)
    signal upgradeFirmwareProgress(int progress, string message)
    signal upgradeFirmwareSignal
    signal messageReceived(int attID, var byteArray)

    // Queues the bytes of an attribute for the next flush; they replace what was queued for it. Not while the connected
    // device has yet to say who it is: they are meant for the one before.
    function sendMessage(attributeId: int, byteArray: var) {
        if (getDeviceDPID() !== "N/A" && getDeviceName() === "N/A")
            return;
        messageCache[attributeId] = byteArray;
    }

    // Whether a value of the attribute still waits for the next flush.
    function isPending(attributeId: int): bool {
        return attributeId in messageCache;
    }

    // Sends a private message at once.
    function sendPriMessage(attributeId: int, byteArray: var) {
        manager.sendPriMessage(attributeId, byteArray);
    }

    function stopAndDisconnectDevice() {
        if (!isR2())
            return;
        recordConnection();
        manager.stopAndDisconnectDevice();
    }

    // For a mixer. One in its bootloader has stopped the search for devices.
    function startAndConnectDevice() {
        if (isR2() || bootloaderFound)
            manager.startAndConnectDevice();
    }

    function getDeviceInfo(): var {
        deviceInfo = manager.getDeviceInfo();
        return deviceInfo;
    }

    // Begins when the caller has returned: the upgrade of a mixer runs until its end, and what the caller has closed has to
    // be gone before.
    function upgradeFirmware(filePath: string) {
        Qt.callLater(path => manager.upgradeFirmware(path), filePath);
    }

    // The model that an upgrade would be for, 0 without one. A mixer in its bootloader is a mixer.
    function getUpgradeModel(): int {
        return bootloaderFound ? 0x9829 : deviceInfo.dpid || 0;
    }

    // The user leaves a mixer in its bootloader as it is, or asks for what was left.
    function leaveBootloader() {
        if (isR2() || bootloaderFound)
            manager.leaveBootloader();
        bootloaderFound = false;
    }

    function askForBootloader() {
        manager.askForBootloader();
        manager.startAndConnectDevice();
    }

    function getDeviceName(): var {
        return deviceInfo.name || "N/A";
    }

    function getDeviceSN(): var {
        return deviceInfo.sn || "N/A";
    }

    function getDeviceVersion(): var {
        return deviceInfo.version || "N/A";
    }

    function getDevicePID(): var {
        return deviceInfo.pid || "N/A";
    }

    function getDeviceDPID(): var {
        return deviceInfo.dpid || "N/A";
    }

    function getDeviceVID(): var {
        return deviceInfo.vid || "N/A";
    }

    function isR2(): bool {
        return getDeviceDPID() === 0x9829;
    }

    function isM40(): bool {
        return getDeviceDPID() === 0x1396;
    }

    function isT40(): bool {
        return getDeviceDPID() === 0x1397;
    }

    function isDeviceReady(): bool {
        return true;
    }

    function stringToByteArray(str: string): var {
        return str.split("").map(character => character.charCodeAt(0));
    }

    function hexToByteArray(hexStr: string): var {
        const digits = hexStr.replace(/\s/g, "").replace(/0x/gi, "");
        const bytes = [];
        for (let index = 0; index < digits.length; index += 2)
            bytes.push(parseInt(digits.substr(index, 2), 16));
        return bytes;
    }

    function flushMessages() {
        for (const attributeId of Object.keys(messageCache)) {
            console.log("发送消息到设备:", attributeId, JSON.stringify(messageCache[attributeId]));
            manager.messageSend(attributeId, messageCache[attributeId]);
            delete messageCache[attributeId];
        }
    }

    function syncDeviceInfo() {
        const attributes = [attrs.mute, attrs.power, attrs.auto_gain, attrs.listen_output, attrs.mic_gain, attrs.listen_volume, attrs.mic_listen_ratio, attrs.ai_jianzao, attrs.other_light_off, attrs.auto_gain_on];
        for (const attribute of attributes)
            manager.messageGet(attribute);
    }

    function handleDeviceConnected(info: var, connected: bool) {
        deviceInfo = info;
        bootloaderFound = bootloaderFound && !connected;
        // The device has yet to say who it is: what was meant for the one before must not reach it.
        if (connected && getDeviceName() === "N/A")
            messageCache = {};
        deviceConnected(info, connected);
        const values = [getDeviceVersion(), getDevicePID(), getDeviceSN(), getDeviceVID(), getDeviceName()];
        if (connected) {
            if (values.includes("N/A")) {
                // Of what it told before, nothing holds. One that logs in again has kept its name.
                deviceReady = false;
                if (getDeviceName() === "N/A")
                    recordConnection();
                return;
            }
            if (deviceReady)
                return;
            console.log("=== HIDDeviceMgr.qml: 设备连接成功 ===");
            syncDeviceInfo();
            reportConnection();
            deviceReady = true;
        } else {
            recordConnection();
            deviceReady = false;
            MessageBus.publishUpdateFirmwareDisconnected();
        }
    }

    // Once for each connection.
    function reportConnection() {
        if (reportedDevice)
            return;
        connectTime = new Date();
        reportedDevice = {
            sn: getDeviceSN(),
            name: getDeviceName()
        };
        NetworkMgr.connectDevice();
    }

    // Stores the record of a connection that ends now.
    function recordConnection() {
        if (!reportedDevice)
            return;
        const endTime = new Date();
        const record = {
            trackId: ConfigMgr.getValue(ConfigMgr.keys.trackId),
            startTime: NetworkMgr.timeText(connectTime),
            endTime: NetworkMgr.timeText(endTime),
            productSn: reportedDevice.sn,
            productName: reportedDevice.name,
            duration: endTime - connectTime
        };
        reportedDevice = null;
        DataTrackerMgr.storeEventNow("", "", "", JSON.stringify(record), "connected");
    }

    function handleMessageReceived(attID: int, data: var) {
        messageReceived(attID, data);
        const report = reports.rowOf(attID);
        if (!report)
            return;
        console.log("收到" + report.word + "消息:", JSON.stringify(data));
        // A report without a value has no effect.
        if (data.length === 0)
            return;
        if (report.store)
            report.store(data[0]);
        report.publish(data[0]);
        DataTrackerMgr.storeEventNow(report.event[0], report.event[1], report.event[2], data[0], "hardware");
    }

    Component.onCompleted: {
        getDeviceInfo();
        bootloaderFound = bootloaderPresent;
    }
}
