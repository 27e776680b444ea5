#pragma once

#include "dsp/frames/Bytes.h"
#include "dsp/frames/ParameterRecords.h"
#include "dsp/frames/RecordAssembly.h"

#include <QObject>
#include <QString>

#include <array>
#include <cstddef>
#include <cstdint>
#include <hidapi.h>
#include <vector>

/// The second path to a device's signal processor and to its FlashBoot loader: one HID handle of its own, one
/// report written at a time, the answer read by polling. The path of the attributes is closed before this one
/// opens.
///
/// One object in the process, on the main thread. Waits are event loops of their own, so other events run
/// meanwhile.
class hidProtocol : public QObject { // NOLINT(readability-identifier-naming): the name of the path in the log
    Q_OBJECT

public:
    /// Texts of the loader, as indices of `cmTexts`.
    enum CmText {
        CmRest,
        CmRomt,
        CmVcrc,
        CmVsrc,
        CmRead,
        CmBoot,
        CmCode,
        CmCnst,
        CmCnfg,
        Cm,
        CmUpgd,
        CmFnsh,
        CmDasd,
        CmUpgdOk
    };
    // NOLINTBEGIN(readability-identifier-naming): the names that the log prints
    enum State : std::int32_t {
        stateClosed,
        stateAttached,
        stateOpened,
        stateLinking,
        stateReadDSVersion,
        stateReadDevVersion,
        stateLinked,
        stateReadID,
        stateKeepLinked,
        stateStartGetPara,
        stateReadAdcParam,
        stateReadDacParam,
        stateReadI2sParam,
        stateGetSpkEqNums,
        stateReadSpkEqParam,
        stateGetMicEqNums,
        stateReadMicEqParam,
        stateReadAlgParam,
        stateEndGetParam,
        stateFinishedOK,
        stateFinishedFail,
        stateIdle,
        stateBusy
    };
    // NOLINTEND(readability-identifier-naming)
    static constexpr std::size_t kReplyBytes = 256;
    using ReplyBuffer = std::array<std::uint8_t, kReplyBytes>;

    /// The process's own, made at the first call.
    static hidProtocol& instance();
    hidProtocol(const hidProtocol&) = delete;
    hidProtocol& operator=(const hidProtocol&) = delete;
    ~hidProtocol() override;

    /// The payload of the last reply, zeros behind it, and the result of the last read. Each command clears
    /// them.
    static ReplyBuffer replyStore;
    static std::int32_t replyLength;
    /// While it is true, each send and each read gives -1.
    static bool stopRequested;

    [[nodiscard]] const char* cmText(CmText text) const { return cmTexts[text]; }
    [[nodiscard]] bool isHidReady() const { return hidReady; }
    [[nodiscard]] std::int32_t currentState() const { return state; }
    [[nodiscard]] bool isRunning() const { return running; }
    [[nodiscard]] const wchar_t* lastDeviceText() const { return textBuffer.data(); }
    void setState(std::int32_t entered);

    /// Opens the first interface of the ids; an open handle is closed before. A device whose permissions the
    /// system has not set yet is tried again for two seconds.
    bool openDevice(std::uint16_t vid, std::uint16_t pid, const wchar_t* serial = nullptr);
    /// Nothing when closed.
    void closeDevice();
    [[nodiscard]] bool isOpen() const { return handle != nullptr; }

    /// Writes a command of the signal processor. Returns the bytes written, or -1: closed, stopped, a payload
    /// that does not fit, a failed write. Reports that wait from before are read away first.
    int sendCommand(const std::uint8_t* payload, int length);
    /// Sets a parameter, or asks for a record: writes the command of the table with `index` and `parameters`,
    /// and reads the reply into `replyStore`. Returns as sendCommand(); -1 and nothing sent for an unknown
    /// command or a wrong count.
    int set(std::uint8_t group, std::uint8_t command, std::uint8_t index = 0,
            vexo::dsp::Bytes parameters = {});
    /// Writes a loader's command (`form` 1, `length` bytes) or data packet (`form` 2, a block of `length` + 2
    /// bytes) after 1 ms. Returns as sendCommand(); -1 also for a length over 60, another form, and where the
    /// program ends meanwhile.
    int sendFrame(const std::uint8_t* data, int length, int form);
    /// Polls for a report, at most ten times at 1 ms. Returns what the read gave, or -1 when closed or
    /// stopped. `buffer` and `replyStore` get the payload and zeros, `lengthOut` its length: 0 for a reply
    /// that has none.
    int readReply(ReplyBuffer& buffer, int& lengthOut);
    /// Runs the event loop for `milliseconds`. Returns whether it lasted: false where the program ends.
    bool waitMs(int milliseconds);

    /// Read into lastDeviceText(). Returns hidapi's result, -1 when closed.
    int readManufacturer();
    int readProduct();
    int readSerialNumber();
    int readIndexedString();
    /// Returns hidapi's result, -1 when closed.
    int sendFeatureReport();
    /// Prints the report in hexadecimal. Returns hidapi's result, -1 when closed.
    int showFeatureReport();

    /// A record's bytes, for an equaliser those of its sets one after the other.
    struct Store {
        std::vector<std::uint8_t> data;
        std::size_t count = 1;
        bool isLoaded = false;
    };
    [[nodiscard]] Store& storeOf(vexo::dsp::RecordKind kind) {
        return stores[static_cast<std::size_t>(kind)];
    }
    /// The loop form of hidUpdateStatus(), until the thread's interruption is requested. Nothing in the
    /// program calls it.
    void run();

    void hidTestProtocol();
    void hidActiveDfu();
    void hidShowEqParameter();

public slots:
    /// One step of the walk that links and then reads every parameter record into the stores: from
    /// stateOpened to stateFinishedOK. A device that does not answer leaves default records and one set of
    /// each equaliser.
    void hidUpdateStatus();

signals:
    void sigDisplay_HID_send(int result);
    void StatusChage(const QString& text);
    void signal_afterHidRead();

private:
    hidProtocol();
    [[nodiscard]] hid_device* openOnceAllowed(const wchar_t* serial);
    [[nodiscard]] bool canTransfer() const { return handle != nullptr && !stopRequested; }
    bool act();
    bool readCount(vexo::dsp::RecordKind kind, std::uint8_t command, const char* label);
    bool readRecords(vexo::dsp::RecordKind kind, std::size_t count);
    vexo::dsp::Report readRecord(vexo::dsp::RecordKind kind, std::uint8_t index);
    static void logFed(vexo::dsp::RecordAssembly::Result result, std::size_t total, std::size_t had,
                       std::size_t length);
    void beginCommand();
    void readAway();
    int writeBuffer(std::size_t length);
    void fillBuffer(vexo::dsp::Bytes report, bool checksumComputed);

    const std::array<const char*, 14> cmTexts{"cm_rest?isok", "cm_romt?isok", "cm_vcrc",      "cm_vsrc",
                                              "cm_read",      "cm_boot",      "cm_code",      "cm_cnst",
                                              "cm_cnfg",      "cm",           "cm_upgd?isok", "cm_fnsh?isok",
                                              "cm_dasd?isok", "cm_upgd!ok"};
    std::uint16_t vendorId = 0;
    std::uint16_t productId = 0;
    bool hidReady = false;
    /// The report under construction. The longest frame has 257 bytes.
    std::array<std::uint8_t, 257> frameBuffer{};
    hid_device* handle = nullptr;
    std::array<wchar_t, 255> textBuffer{};
    std::int32_t state = stateClosed;
    bool running = false;
    /// The length of the payload in `replyStore`.
    int replyBytes = 0;
    std::array<Store, 6> stores;
};
