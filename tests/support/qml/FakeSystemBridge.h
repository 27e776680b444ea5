#pragma once

#include <QObject>
#include <QUrl>
#include <QVariant>

// A fake of the bridge to the operating system and the sound engine for tests of the documents: records their
// calls, and the pages of the web that they open as openUrl(), and emits its signals. Lives on the main
// thread; one for each engine, which owns it.
class FakeSystemBridge : public QObject {
    Q_OBJECT
    // The calls since the last clearCalls(), in order: maps with "name" and, by call, "configs",
    // "deviceName", "index", "path", "hotkey", "rate", "url".
    Q_PROPERTY(QVariantList calls READ calls NOTIFY callsChanged)
    // What getRunningApplications() returns.
    Q_PROPERTY(QVariantList applications MEMBER applications NOTIFY applicationsChanged)
    // What getRunningApplicationsByQt() returns.
    Q_PROPERTY(QVariantList installed MEMBER installed)
    // Whether any file that is there counts as an icon of the inventory, or none.
    Q_PROPERTY(bool iconsThere MEMBER iconsThere)
    // What getTempDirectory() returns.
    Q_PROPERTY(QString tempDirectory MEMBER tempDirectory)
    // Whether installers start.
    Q_PROPERTY(bool installs MEMBER installs)
    // Inputs that the engine refuses to open.
    Q_PROPERTY(QStringList refusedInputs MEMBER refusedInputs)
    // Names of the inputs that the engine has, whatever has been added and removed.
    Q_PROPERTY(QStringList configuredInputs MEMBER configuredInputs)
    Q_PROPERTY(QList<double> equalizerFrequencies READ equalizerFrequencies CONSTANT)

public:
    using QObject::QObject;

    [[nodiscard]] static QList<double> equalizerFrequencies();
    [[nodiscard]] QVariantList calls() const;
    Q_INVOKABLE void clearCalls();

    Q_INVOKABLE QVariantList getRunningApplications();
    Q_INVOKABLE QVariantList getRunningApplicationsByQt();
    Q_INVOKABLE bool openApplication(const QString& appPath);
    Q_INVOKABLE bool simulateKeyPress(const QString& hotkey);
    Q_INVOKABLE bool takeScreenshot();
    Q_INVOKABLE bool startScreenRecording();
    Q_INVOKABLE bool SetDeviceSampleRate(const QString& deviceName, double sampleRate);
    Q_INVOKABLE [[nodiscard]] QString iconSource(const QString& iconFilePath) const;
    Q_INVOKABLE void setAudioConfig(const QVariantList& configs);
    Q_INVOKABLE bool AddInputDevice(const QString& deviceName, int index = -1);
    Q_INVOKABLE bool RemoveInputDevice(const QString& deviceName);
    Q_INVOKABLE [[nodiscard]] QVariantList GetInputDevices() const;
    Q_INVOKABLE bool installFile(const QString& filePath);
    // A system of a test's own.
    Q_INVOKABLE [[nodiscard]] QVariantMap getSystemInfo() const;
    Q_INVOKABLE [[nodiscard]] QString getTempDirectory() const;
    Q_INVOKABLE void updateMonitorDevice();
    Q_INVOKABLE void quitApplication();
    Q_INVOKABLE void startPowerEventMonitor();

public slots:
    // In the place of the user's browser.
    void openPage(const QUrl& url);

signals:
    void callsChanged();
    void applicationsChanged();
    void audioInputLevelChanged(QVariantList levels);
    void screenPowerStateChanged(bool screenOn);

private:
    void record(const QString& name, const QVariantMap& arguments = {});

    QVariantList applications;
    QVariantList installed;
    bool iconsThere = true;
    QString tempDirectory = QStringLiteral("/somewhere");
    bool installs = true;
    QStringList refusedInputs;
    QStringList configuredInputs;
    QVariantList recordedCalls;
};

// Registers the class as the singleton SystemBridge of the module VexoDeckSystemBridge. Before any document
// is loaded, once in a process.
void registerFakeSystemBridge();
