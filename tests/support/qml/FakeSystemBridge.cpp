#include "tests/support/qml/FakeSystemBridge.h"

#include "audio/equalizer/EqualizerBands.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QQmlEngine>
#include <QUrl>

QList<double> FakeSystemBridge::equalizerFrequencies() {
    QList<double> frequencies;
    for (const EqualizerBand& band : kEqualizerBands) {
        frequencies.append(static_cast<double>(band.frequencyHz));
    }
    return frequencies;
}

QVariantList FakeSystemBridge::calls() const {
    return recordedCalls;
}

void FakeSystemBridge::clearCalls() {
    recordedCalls.clear();
    emit callsChanged();
}

QVariantList FakeSystemBridge::getRunningApplications() {
    record("getRunningApplications");
    return applications;
}

QVariantList FakeSystemBridge::getRunningApplicationsByQt() {
    record("getRunningApplicationsByQt");
    return installed;
}

bool FakeSystemBridge::openApplication(const QString& appPath) {
    record("openApplication", {{"path", appPath}});
    return true;
}

bool FakeSystemBridge::simulateKeyPress(const QString& hotkey) {
    record("simulateKeyPress", {{"hotkey", hotkey}});
    return true;
}

bool FakeSystemBridge::takeScreenshot() {
    record("takeScreenshot");
    return true;
}

bool FakeSystemBridge::startScreenRecording() {
    record("startScreenRecording");
    return true;
}

bool FakeSystemBridge::SetDeviceSampleRate(const QString& deviceName, double sampleRate) {
    record("SetDeviceSampleRate", {{"deviceName", deviceName}, {"rate", sampleRate}});
    return true;
}

QString FakeSystemBridge::iconSource(const QString& iconFilePath) const {
    return iconsThere && QFileInfo(QUrl(iconFilePath).toLocalFile()).isFile() ? iconFilePath : QString();
}

void FakeSystemBridge::setAudioConfig(const QVariantList& configs) {
    record("setAudioConfig", {{"configs", configs}});
}

bool FakeSystemBridge::AddInputDevice(const QString& deviceName, int index) {
    record("AddInputDevice", {{"deviceName", deviceName}, {"index", index}});
    return !refusedInputs.contains(deviceName);
}

bool FakeSystemBridge::RemoveInputDevice(const QString& deviceName) {
    record("RemoveInputDevice", {{"deviceName", deviceName}});
    return true;
}

QVariantList FakeSystemBridge::GetInputDevices() const {
    QVariantList devices;
    for (const QString& name : configuredInputs) {
        devices.append(QVariantMap{{"name", name}, {"requestedChannels", 0}});
    }
    return devices;
}

void FakeSystemBridge::updateMonitorDevice() {
    record("updateMonitorDevice");
}

bool FakeSystemBridge::installFile(const QString& filePath) {
    record("installFile", {{"path", filePath}});
    return installs;
}

QVariantMap FakeSystemBridge::getSystemInfo() const {
    return {{"platform", "Linux"}, {"kernelVersion", "6.1.0"}, {"machineType", "host"}};
}

QString FakeSystemBridge::getTempDirectory() const {
    return tempDirectory;
}

void FakeSystemBridge::openPage(const QUrl& url) {
    record("openUrl", {{"url", url.toString()}});
}

void FakeSystemBridge::startPowerEventMonitor() {
    record("startPowerEventMonitor");
}

void FakeSystemBridge::quitApplication() {
    record("quitApplication");
}

void FakeSystemBridge::record(const QString& name, const QVariantMap& arguments) {
    QVariantMap call = arguments;
    call["name"] = name;
    recordedCalls.append(call);
    emit callsChanged();
}

void registerFakeSystemBridge() {
    qmlRegisterSingletonType<FakeSystemBridge>(
        "VexoDeckSystemBridge", 1, 0, "SystemBridge", [](QQmlEngine*, QJSEngine*) -> QObject* {
            auto* const bridge = new FakeSystemBridge;
            QDesktopServices::setUrlHandler(QStringLiteral("http"), bridge, "openPage");
            QDesktopServices::setUrlHandler(QStringLiteral("https"), bridge, "openPage");
            return bridge;
        });
}
