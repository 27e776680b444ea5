#pragma once

#include "device/HIDIntervals.h"
#include "device/link/Link.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <QVariantList>
#include <QVariantMap>

#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

struct hid_device_info; // NOLINT(readability-identifier-naming): the library's

class HIDDevice;
struct UsbIdentity;

/// The process-wide singleton through which everything reaches the device. It scans the HID bus for a known
/// device, opens it, drives the link stack with a tick of one millisecond, keeps the device information map,
/// and offers the attribute and private message operations to QML (module `VexoDeckHIDHotplug`).
///
/// A connection lasts from the first interface that opens to the last that closes. At the beginning of one,
/// everything that is known of the device before it is forgotten: half a frame, its link address, values and
/// requests. So every device is asked for all about itself, whatever its address and however soon it comes.
///
/// All of it runs on the main thread: scan, tick, parser (through the queued reports of the readers) and
/// callbacks. There is one link stack in the process, so one manager at a time.
class HIDHotplugManager : public QObject {
    Q_OBJECT
    /// A known device is on the bus and the user may not open it: on Linux the udev rule of the program is
    /// not installed. True from the second scan in a row that meets it, since the system gives a new device
    /// to its user a moment after it has come; false when the device opens or goes, or is refused for another
    /// reason.
    Q_PROPERTY(bool accessMissing READ isAccessMissing NOTIFY accessMissingChanged)
    /// A mixer in its bootloader was on the bus when it was looked at last, and has not been upgraded since.
    /// The bus is not looked at while a device is open or the manager is stopped.
    Q_PROPERTY(bool bootloaderPresent READ isBootloaderPresent NOTIFY bootloaderPresentChanged)

public:
    /// The process-wide object. The first call creates it and is made on the main thread.
    static HIDHotplugManager* instance();

    /// Starts the scan (every 2000 ms) and the tick (1 ms) and initialises the link stack. While the link has
    /// nothing to do, the tick's timer pauses, and the manager counts the missed ticks when it wakes: a
    /// thousand idle wake-ups a second would keep the processor from sleeping.
    explicit HIDHotplugManager(QObject* parent = nullptr, const HIDIntervals& intervals = {});
    ~HIDHotplugManager() override;

    /// A copy of the map of what is known about the device found last. Keys: `dpid` (USB product id: 0x1396
    /// Voxmic M40, 0x1397 Voxmic T40, 0x9829 Mixdesk R2), `pid` and `vid` (of its link address, not USB ids),
    /// `name`, `sn`, `version` ("V2.05"). After a disconnection the old values stay until a scan finds a
    /// device: then `dpid` is that device's and the others are gone.
    Q_INVOKABLE [[nodiscard]] QVariantMap getDeviceInfo() const;

    [[nodiscard]] bool isAccessMissing() const;
    [[nodiscard]] bool isBootloaderPresent() const;

    /// Writes an attribute; the link tracks and retries the write. The link cuts the size of `byteArray` to 8
    /// bits and drops a value of more than 200 bytes. Does nothing, and logs nothing, while no device is
    /// open. This and the reads below are lost before the device's login.
    Q_INVOKABLE void messageSend(std::uint16_t attID, const QByteArray& byteArray);
    /// Asks for one attribute; messageReceived brings the answer. Does nothing while no device is open.
    Q_INVOKABLE void messageGet(std::uint16_t attID);
    /// Asks for all attributes. Does nothing while no device is open.
    Q_INVOKABLE void messageGetAll();
    /// Each byte as an unsigned number 0 to 255.
    Q_INVOKABLE [[nodiscard]] QVariantList byteArrayToVariantList(const QByteArray& byteArray) const;

    /// Closes all interfaces and stops scan and tick: the link stands still.
    Q_INVOKABLE void stopAndDisconnectDevice();
    /// Starts scan and tick where they are stopped, in the upgrade of a mixer at its end. The next scan comes
    /// 2000 ms later.
    Q_INVOKABLE void startAndConnectDevice();

    /// Sends a private message to the logged-in device, as a notification, or as a tracked request for
    /// 0x8006. The link drops it when no device is logged in.
    Q_INVOKABLE void sendPriMessage(std::uint32_t msgid, const QByteArray& byteArray);

    /// Installs the firmware of this file on the device found last; upgradeFirmwareProgress tells all that
    /// comes of it.
    ///
    /// A microphone is asked whether it may be upgraded, and the call returns; the device then fetches the
    /// file block by block over the link and ends with its verdict. Nothing here limits the time that it
    /// takes. A file that cannot be read is a line in the log, without a signal. A new call takes the place
    /// of the transfer before it.
    ///
    /// Every other device is a mixer, in its bootloader or not. Its link is closed and stays so; the call
    /// returns at the transfer's end, minutes later, and other events run meanwhile, but for pauses of up to
    /// five seconds. A further call in that time is a warning in the log, and startAndConnectDevice waits for
    /// the end.
    Q_INVOKABLE void upgradeFirmware(const QString& filePath);
    /// The user leaves the mixers that are in their bootloader now as they are: the scan passes over them,
    /// each until it has been unplugged or the user asks, and finds other devices.
    Q_INVOKABLE void leaveBootloader();
    /// The user asks for what was left: the next scan takes it up.
    Q_INVOKABLE void askForBootloader();

    /// Returns when no thread of the transport runs any more, see HIDDevice; for the end of the process.
    void waitForThreads();

public slots:
    /// Runs one scan.
    void onScanTimer();
    /// Runs one tick of the link: counts the ticks of a pause, does the periodic work, counts this tick.
    void onTimeout();

signals:
    /// An interface opened or closed; the name, serial number or version came; or the device logged in again
    /// or another took its place, and has to tell anew what it had told. `isConnected`: whether any interface
    /// is open at that moment.
    void deviceConnected(const QVariantMap& deviceInfo, bool isConnected);
    /// The device reported an attribute, as an answer or by itself.
    void messageReceived(uint16_t attID, const QVariantList& byteArray);
    /// A private message of the device other than 0x8006 came; `value` is its first byte, 0 where it has
    /// none.
    void priMsgCallback(uint32_t msgid, uint8_t value);
    /// Progress of a firmware transfer, 0 to 100, and its text.
    void upgradeFirmwareProgress(int progress, const QString& message);
    /// The scan saw a mixer in its bootloader. The manager has stopped itself, and upgradeFirmware is meant
    /// for that mixer from now on.
    void upgradeFirmwareSignal();
    void accessMissingChanged();
    void bootloaderPresentChanged();

private:
    void connectTransport();
    void installLinkCallbacks();
    void onReport(const QByteArray& report);
    /// Opens the device that the scan found. What keeps it closed is logged once, and its retries not at all.
    void openFoundDevice();
    /// `isRefused`: this scan found a device that did not open.
    void countRefusedScan(bool isRefused);
    /// Pauses the tick's timer, if it runs, for as long as the link has nothing to do.
    void pauseLink();
    /// Ends a pause: counts its ticks and lets the timer run each millisecond again. Call it before anything
    /// that gives the link work.
    void wakeLink();
    /// Sends one frame of the link in the model's reports; -1 while no device is open, otherwise 1.
    int sendFrame(std::uint32_t channel, std::uint32_t length, const std::uint8_t* bytes);

    /// Takes what the last connection still has queued, when no interface is open.
    void endLastConnection();
    /// Forgets the device before this one.
    void beginConnection(const UsbIdentity& identity);

    void onLogin(std::uint8_t from, std::uint8_t type, const LinkAddress& address);
    void onPeerFound(const LinkAddress& address);
    void onPeerLost(const LinkAddress& address);
    /// A peer that has logged in becomes the device that is spoken to. What the one before has told is
    /// forgotten; of the same address the name and the serial number stay until they are told anew.
    void follow(const LinkAddress& address);
    /// Makes a peer the device that is spoken to, and asks it for all about itself if it has an id.
    void turnTo(const LinkAddress& address);
    /// Whether what came from an address is of the device that is spoken to.
    [[nodiscard]] bool isPeer(const LinkAddress& address) const { return address == peerAddress; }
    int onName(const LinkInfo& info, const std::uint8_t* bytes);
    int onSerial(const LinkInfo& info, const std::uint8_t* bytes);
    int onVersion(const LinkInfo& info, const std::uint8_t* bytes);
    int onAttribute(const LinkInfo& info, std::uint16_t attID, const std::uint8_t* bytes);
    void onPrivateMessage(const LinkFrame& frame);
    void onUpgradeMessage(const QByteArray& bytes);
    void emitDeviceConnected();

    /// Whether the device found last is a microphone.
    [[nodiscard]] bool isMicrophone() const;
    void upgradeMicrophone(const QString& filePath);
    void upgradeMixer(const QString& filePath);
    /// Returns whether the mixer has confirmed the image.
    bool runMixerUpgrade(const QString& filePath);
    void forgetBootloaders();
    /// Emits upgradeFirmwareProgress. One line in the log for each step, of progress in such steps.
    void reportUpgrade(int progress, const QString& message, int stepOfLines);
    void logUpgradeEnd(const QString& result) const;
    /// Notes the mixers in their bootloader of a list of the bus; those that were left and have gone are
    /// forgotten.
    void noteBootloaders(const hid_device_info* list);
    /// The first entry of the bus that the program knows and the user has not left, or null.
    [[nodiscard]] const hid_device_info* firstKnownDevice(const hid_device_info* list) const;

    const HIDIntervals intervals;
    /// USB ids of the device found last.
    std::uint16_t vendorId = 0;
    std::uint16_t productId = 0;
    /// "FIXED_USAGE": the usage page that an interface must have to be opened.
    std::uint16_t fixedUsage = 0;
    /// Link address of the device that has logged in on this connection and is spoken to.
    std::optional<LinkAddress> peerAddress;
    /// The peers of this connection, the one that is spoken to first.
    std::vector<LinkAddress> peers;
    /// [0] the scan, [1] the tick.
    std::array<QTimer*, 2> timers{};
    /// The longest that the present pause may be; 0 while the timer runs each millisecond.
    std::uint32_t pauseTicks = 0;
    QElapsedTimer pauseClock;
    /// The last scan saw a known device.
    bool online = false;
    /// Scans in a row that found a device which did not open, counted up to the one that tells.
    int refusedScans = 0;
    /// Why the last interface did not open, with its path; empty when all of the last scan opened.
    QString refusal;
    /// The refusal that has been told; empty while there is none.
    QString toldRefusal;
    bool accessMissing = false;
    /// The link's channel number for this transport.
    std::int32_t linkChannel = 0;
    QVariantMap deviceInfo;
    HIDDevice* hidDevice = nullptr;

    /// The file that a microphone fetches, header included. Kept after the transfer's end: a device may ask
    /// again.
    QByteArray firmwareImage;
    /// Since the last upgrade has begun.
    QElapsedTimer upgradeClock;
    bool isUpgradingMixer = false;
    /// Scan and tick were asked for in the upgrade of a mixer.
    bool startsAfterUpgrade = false;
    /// The progress of the last line in the log, -1 before the first.
    int toldProgress = -1;
    /// The hidapi paths of the mixers in their bootloader when the bus was looked at last, and of those that
    /// the user has left.
    std::set<std::string> bootloaders;
    std::set<std::string> leftBootloaders;
};
