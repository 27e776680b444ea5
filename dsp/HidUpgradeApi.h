#pragma once

#include "dsp/hidProtocol.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <cstdint>
#include <functional>
#include <utility>

/// The pauses of an upgrade in milliseconds. A test makes them shorter.
struct UpgradeWaits {
    int handshakeMs = 20;
    int eraseMs = 3500;
    int packetMs = 5;
    int lengthMs = 5;
    int finishMs = 120;
    /// These block the thread.
    int closeMs = 300;
    int probePauseMs = 100;
    int jumpPauseMs = 100;
    int jumpLimitMs = 5000;
};

/// Writes a firmware image into a device through its FlashBoot loader, from the normal identity to the
/// finished flash. Lives for one upgrade on the main thread, and uses the process's hidProtocol, whose handle
/// it opens and closes.
class HidUpgradeApi : public QObject {
    Q_OBJECT

public:
    using ProgressCallback = std::function<void(int progress, const QString& text)>;
    enum Result { Succeeded = 0, Refused = 1, NotFound = 2, BadFile = 3, NoFlashBoot = 4 };

    explicit HidUpgradeApi(const UpgradeWaits& chosen = {});

    /// Called on the same thread at each step, with 0 to 100; not at a failure.
    void setProgressCallback(ProgressCallback function) { progressCallback = std::move(function); }
    /// Whether a device of the vendor is there: blocks for a second where there is none.
    [[nodiscard]] bool deviceExists(std::uint16_t vendorId) const;
    /// Takes minutes; other events run meanwhile. The file has 1 to 0x100000 bytes. Returns a Result, and for
    /// all but Succeeded lastErrorText() tells what failed. The handle is closed at the end. Where the
    /// program ends meanwhile, the step under way fails.
    int upgrade(const QString& filePath, std::uint16_t vendorId, std::uint16_t bootProductId);
    [[nodiscard]] QString lastErrorText() const { return lastError; }

private:
    [[nodiscard]] std::uint16_t probe(std::uint16_t vendorId, int tries) const;
    void closeWithDelay();
    void progress(int value, const QString& text);
    /// Keeps and logs the text. Returns false.
    bool fail(const QString& text);
    bool enterFlashBoot(std::uint16_t vendorId, std::uint16_t current, std::uint16_t bootProductId);
    bool readLoaderVersion();
    void restartIntoFlashBoot();
    bool awaitFlashBoot(std::uint16_t vendorId, std::uint16_t bootProductId);
    bool loadImage(const QString& filePath);
    bool flash();
    bool sendPackets();
    void finish();
    bool sendBlock(vexo::dsp::Bytes block);
    [[nodiscard]] vexo::dsp::Bytes reply();
    bool confirmed(const char* text);

    ProgressCallback progressCallback;
    QString lastError;
    const UpgradeWaits waits;
    hidProtocol& hid = hidProtocol::instance();
    hidProtocol::ReplyBuffer replyBuffer{};
    QByteArray image;
    std::uint16_t imageCrc = 0;
};
