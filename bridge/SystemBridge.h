#pragma once

#include "audio/capture/AudioRouterConfig.h"
#include "audio/equalizer/MonitorEqualizer.h"

#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantList>
#include <QVariantMap>

#include <cstdint>
#include <functional>
#include <memory>

class AudioRouterService;

/// The one object through which QML reaches the operating system and the audio engine: system facts, the
/// inventories of programs, quitting, the capture service and the router. QML has it as singleton type
/// `SystemBridge` of module `VexoDeckSystemBridge`. Operations of the system are spelled in lower case, those
/// of the audio engine are capitalised.
///
/// The UI thread, but for prepareEqualizer() and processBlock(), which run on the capture worker. No
/// operation on the audio or the inventories throws: an exception is logged as "SystemBridge::OPERATION:
/// Exception:" with its text, and false, 0 or an empty value is returned.
///
/// Some operations only log their name and return an empty value: they belong to other systems that the class
/// was designed for. Callers accept the empty values.
class SystemBridge : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isMacOS READ isMacOS CONSTANT)
    Q_PROPERTY(bool isWindows READ isWindows CONSTANT)
    // Of the bands of the monitor equaliser, in order. Hz.
    Q_PROPERTY(QList<double> equalizerFrequencies READ equalizerFrequencies CONSTANT)

public:
    /// The process-wide object, made at the first call. The QML engine destroys it with its other singletons;
    /// not to be called after that.
    static SystemBridge* instance();

    /// Starts the router and reports its levels as audioInputLevelChanged. Where the sound server is still
    /// silent, that follows from the event loop, within half a second. The capture service comes later.
    explicit SystemBridge(QObject* parent = nullptr);
    /// Ends the power monitor, the capture service, the router and the making of icons, in this order.
    ~SystemBridge() override;

    [[nodiscard]] bool isMacOS() const { return false; }
    [[nodiscard]] bool isWindows() const;
    [[nodiscard]] static QList<double> equalizerFrequencies();

    /// Returns a stored setting by its key, invalid where there is none. Set before updateMonitorDevice(),
    /// which reads the equaliser's switch and preset through it.
    using SettingsReader = std::function<QVariant(const QString& key)>;
    void setSettingsReader(SettingsReader reader);

    /// Decides whether another run of the program may begin. restartApplication() calls it with false before
    /// it starts the program anew: the settings have to be on the disk then, since the new run reads them
    /// while this one is still ending. True follows where that has not started.
    using InstanceHold = std::function<void(bool isHeld)>;
    void setInstanceHold(InstanceHold hold);

    /// Requests the microphone permission where it is undecided, and creates and starts the capture service
    /// once it is granted. Denied: nothing is created, and the audio operations log that.
    void initializeMonitorDevice();

    /// "osName", "kernelType", "kernelVersion", "machineType" (the host's name), "platform".
    Q_INVOKABLE [[nodiscard]] QVariantMap getSystemInfo() const;
    Q_INVOKABLE [[nodiscard]] QVariantMap getAudioDeviceInfo() const;
    Q_INVOKABLE void showNotification(const QString& title, const QString& message) const;
    Q_INVOKABLE [[nodiscard]] QVariantMap checkSystemPermissions() const;
    Q_INVOKABLE [[nodiscard]] QVariantList getNetworkInterfaces() const;
    Q_INVOKABLE [[nodiscard]] QVariantMap getStorageInfo() const;
    Q_INVOKABLE [[nodiscard]] QVariantMap getCurrentUserInfo() const;
    /// Always false.
    Q_INVOKABLE [[nodiscard]] bool isAppInForeground() const { return false; }
    Q_INVOKABLE void bringAppToFront() const;
    Q_INVOKABLE void openSystemPreferences() const;
    /// The folder for temporary files of temporaryFolder(), else that of caches, else that of the program's
    /// data. On Linux it is the user's own one, which no other user can write to.
    Q_INVOKABLE [[nodiscard]] QString getTempDirectory() const;

    // What the button of the device starts; see Launching.h. Nothing waits, and failures are lines of the
    // log.

    /// Opens an address in the user's browser; an empty one is that of this machine.
    Q_INVOKABLE void openUrl(const QString& url) const;
    /// Starts a program, or opens a file or folder, by its path or "file:///" and its path.
    Q_INVOKABLE [[nodiscard]] bool openApplication(const QString& appPath) const;
    /// Presses keys, as "Ctrl+Shift+A"; see Hotkey.h.
    Q_INVOKABLE [[nodiscard]] bool simulateKeyPress(const QString& hotkey) const;
    /// The desktop's own screenshot, of which the user chooses the part; see ScreenCapture.h.
    Q_INVOKABLE [[nodiscard]] bool takeScreenshot() const;
    /// The desktop's own recording of the screen; see ScreenCapture.h.
    Q_INVOKABLE [[nodiscard]] bool startScreenRecording() const;

    // The end of the program.

    /// Starts an installer, and 200 ms later closes the windows and ends the program with 0. False where it
    /// is no file, or does not start; then the program goes on. True without effect in these 200 ms.
    Q_INVOKABLE [[nodiscard]] bool installFile(const QString& filePath);
    /// Starts the program anew with the same arguments, closes the windows and ends this one with 0. Goes on
    /// where it does not start. The new one is let in before it starts; see setInstanceHold(). No effect once
    /// a restart, an installer or quitApplication() has begun the end.
    Q_INVOKABLE void restartApplication();
    /// Hides every window, stops the device, the audio and the power monitor, closes the windows and ends the
    /// program with 0. Once: a later call has no effect.
    Q_INVOKABLE void quitApplication();

    Q_INVOKABLE void requestNotificationPermission() const;
    /// Input devices, then the programs that play sound; see ApplicationInventory.h.
    Q_INVOKABLE [[nodiscard]] QVariantList getRunningApplications() const;
    /// The system's browser, then the installed programs; see ApplicationInventory.h.
    Q_INVOKABLE [[nodiscard]] QVariantList getRunningApplicationsByQt() const;
    /// The address of an entry's icon for an image; empty while there is none. See ownIconAddress().
    Q_INVOKABLE [[nodiscard]] QString iconSource(const QString& iconFilePath) const;
    /// Always empty.
    Q_INVOKABLE [[nodiscard]] QVariantList getOutputStreamIDs() const { return {}; }
    /// The operating system's name.
    Q_INVOKABLE [[nodiscard]] QString getPlatform() const;
    /// From now on the screen's state is reported as screenPowerStateChanged; see PowerMonitor.h. No effect
    /// while that runs; a start that has failed may be tried again.
    Q_INVOKABLE void startPowerEventMonitor();
    Q_INVOKABLE void stopPowerEventMonitor();
    /// Hands the complete list of records to the router; see AudioRouterAPI::setAudioConfig().
    Q_INVOKABLE void setAudioConfig(const QVariantList& configs);

    // The capture service; see AudioRouterService. Each operation logs when there is none.

    /// Creates the service where there is none, whatever the permission is, and starts it with its defaults.
    /// False if it runs already, also when this call has just created it (creation starts it).
    Q_INVOKABLE bool Start();
    Q_INVOKABLE void Stop();
    Q_INVOKABLE bool Restart();
    Q_INVOKABLE [[nodiscard]] bool IsRunning() const;
    Q_INVOKABLE bool SetSampleRate(double sampleRate);
    /// Hz; 0.0 without a service.
    Q_INVOKABLE [[nodiscard]] double GetSampleRate() const;
    /// `index` is the source id under which the input reaches the mixer; -1: read, not forwarded.
    Q_INVOKABLE bool AddInputDevice(const QString& deviceName, int index = -1);
    Q_INVOKABLE bool RemoveInputDevice(const QString& deviceName);
    /// One map for each configured input: "name", "requestedChannels".
    Q_INVOKABLE [[nodiscard]] QVariantList GetInputDevices() const;
    /// The system's audio devices as maps (see AudioDeviceMaps.h): type 1 inputs, 2 outputs, else all. An
    /// exception leaves the maps that were made before it.
    Q_INVOKABLE [[nodiscard]] QVariantList GetDeviceList(int type = 0) const;
    /// Reads the stored equaliser switch and preset. To be called after any change of these.
    Q_INVOKABLE void updateMonitorDevice();
    /// Whether every device whose name contains `deviceName` would open at this rate, in Hz. Changes nothing.
    Q_INVOKABLE [[nodiscard]] bool SetDeviceSampleRate(const QString& deviceName, double sampleRate) const;

    /// Prepares the equaliser for the blocks of a stream that has opened; rate in Hz. The capture worker.
    void prepareEqualizer(std::int32_t channels, double rate);
    /// Runs the equaliser over a block in place: interleaved float. The capture worker.
    void processBlock(float* block, std::int32_t channels, std::int32_t frames, double rate);

signals:
    // The first three are declared for other systems and never emitted.
    void permissionChanged(const QString& permission, bool granted);
    void systemInfoUpdated();
    void networkStatusChanged();
    /// A map for each source that is not silent: "processID", "levelLeft", "levelRight". Every 50 ms.
    void audioInputLevelChanged(const QVariantList& levels);
    /// The screen went dark or on, or the session was locked or unlocked. Often several times for one cause.
    void screenPowerStateChanged(bool screenOn);

protected:
    /// The system's permission for the microphone.
    [[nodiscard]] virtual Qt::PermissionStatus microphonePermission() const;
    /// Asks the user, and calls the continuation on the UI thread when the user has answered.
    virtual void requestMicrophonePermission(const std::function<void()>& continuation);

private:
    void startRouter();
    void restartRouter();
    void startRouterWhenDevicesAreKnown();
    void startLateRouter();
    void noteSoundDevices();
    void useNewSoundDevices();
    void initializeNativeBridge();
    void endCaptureService();
    void cleanupNativeBridge() const;
    void readEqualizerSettings();

    bool powerMonitorRunning = false;
    std::unique_ptr<AudioRouterService> audioRouterService;
    std::int32_t defaultSampleRate = 48000; // Hz
    MonitorEqualizer monitorEqualizer;

    SettingsReader settingsReader;
    InstanceHold instanceHold;
    QTimer soundDevicesTimer;
    std::shared_ptr<void> soundDevicesWatch;
    QVariantList lastConfigs; // of the last setAudioConfig()
    // How the end of the program has begun.
    bool handingOver = false; // to an installer
    bool restarting = false;
    bool quitting = false;
};
