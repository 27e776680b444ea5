#pragma once

#include <QByteArray>
#include <QObject>
#include <QVariant>

// A fake of the device manager for tests of the documents: records their calls and emits its signals. Lives
// on the main thread; one for each engine, which owns it.
class FakeHIDHotplugManager : public QObject {
    Q_OBJECT
    // The calls since the last clearCalls(), in order: maps with "name" and, by call, "id" and "bytes" (a
    // list of numbers 0 to 255) or "path".
    Q_PROPERTY(QVariantList calls READ calls NOTIFY callsChanged)
    Q_PROPERTY(bool accessMissing MEMBER accessMissing NOTIFY accessMissingChanged)
    Q_PROPERTY(bool bootloaderPresent MEMBER bootloaderPresent NOTIFY bootloaderPresentChanged)

public:
    using QObject::QObject;

    [[nodiscard]] QVariantList calls() const;

    // What getDeviceInfo() returns.
    Q_INVOKABLE void setDeviceInfo(const QVariantMap& info);
    Q_INVOKABLE void clearCalls();

    Q_INVOKABLE QVariantMap getDeviceInfo();
    Q_INVOKABLE void messageSend(uint16_t attID, const QByteArray& byteArray);
    Q_INVOKABLE void messageGet(uint16_t attID);
    Q_INVOKABLE void messageGetAll();
    Q_INVOKABLE QVariantList byteArrayToVariantList(const QByteArray& byteArray) const;
    Q_INVOKABLE void stopAndDisconnectDevice();
    Q_INVOKABLE void startAndConnectDevice();
    Q_INVOKABLE void sendPriMessage(uint32_t msgid, const QByteArray& byteArray);
    Q_INVOKABLE void upgradeFirmware(const QString& filePath);
    Q_INVOKABLE void leaveBootloader();
    Q_INVOKABLE void askForBootloader();

signals:
    void callsChanged();
    void accessMissingChanged();
    void bootloaderPresentChanged();
    void deviceConnected(QVariantMap deviceInfo, bool isConnected);
    void messageReceived(uint16_t attID, QVariantList byteArray);
    void priMsgCallback(uint32_t msgid, uint8_t value);
    void upgradeFirmwareProgress(int progress, QString message);
    void upgradeFirmwareSignal();

private:
    void record(const QString& name, const QVariantMap& arguments = {});

    QVariantMap deviceInfo;
    bool accessMissing = false;
    bool bootloaderPresent = false;
    QVariantList recordedCalls;
};

// Registers the class as the singleton HIDHotplugManager of the module VexoDeckHIDHotplug. Before any
// document is loaded, once in a process.
void registerFakeHIDHotplugManager();
