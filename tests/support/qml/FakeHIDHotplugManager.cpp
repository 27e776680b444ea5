#include "tests/support/qml/FakeHIDHotplugManager.h"

#include <QQmlEngine>

QVariantList FakeHIDHotplugManager::calls() const {
    return recordedCalls;
}

void FakeHIDHotplugManager::setDeviceInfo(const QVariantMap& info) {
    deviceInfo = info;
}

void FakeHIDHotplugManager::clearCalls() {
    recordedCalls.clear();
    emit callsChanged();
}

QVariantMap FakeHIDHotplugManager::getDeviceInfo() {
    record("getDeviceInfo");
    return deviceInfo;
}

void FakeHIDHotplugManager::messageSend(uint16_t attID, const QByteArray& byteArray) {
    record("messageSend", {{"id", attID}, {"bytes", byteArrayToVariantList(byteArray)}});
}

void FakeHIDHotplugManager::messageGet(uint16_t attID) {
    record("messageGet", {{"id", attID}});
}

void FakeHIDHotplugManager::messageGetAll() {
    record("messageGetAll");
}

QVariantList FakeHIDHotplugManager::byteArrayToVariantList(const QByteArray& byteArray) const {
    QVariantList bytes;
    for (const char byte : byteArray)
        bytes.append(static_cast<uint>(static_cast<unsigned char>(byte)));
    return bytes;
}

void FakeHIDHotplugManager::stopAndDisconnectDevice() {
    record("stopAndDisconnectDevice");
}

void FakeHIDHotplugManager::startAndConnectDevice() {
    record("startAndConnectDevice");
}

void FakeHIDHotplugManager::sendPriMessage(uint32_t msgid, const QByteArray& byteArray) {
    record("sendPriMessage", {{"id", msgid}, {"bytes", byteArrayToVariantList(byteArray)}});
}

void FakeHIDHotplugManager::upgradeFirmware(const QString& filePath) {
    record("upgradeFirmware", {{"path", filePath}});
}

void FakeHIDHotplugManager::leaveBootloader() {
    record("leaveBootloader");
}

void FakeHIDHotplugManager::askForBootloader() {
    record("askForBootloader");
}

void FakeHIDHotplugManager::record(const QString& name, const QVariantMap& arguments) {
    QVariantMap call = arguments;
    call["name"] = name;
    recordedCalls.append(call);
    emit callsChanged();
}

void registerFakeHIDHotplugManager() {
    qmlRegisterSingletonType<FakeHIDHotplugManager>(
        "VexoDeckHIDHotplug", 1, 0, "HIDHotplugManager",
        [](QQmlEngine*, QJSEngine*) -> QObject* { return new FakeHIDHotplugManager; });
}
