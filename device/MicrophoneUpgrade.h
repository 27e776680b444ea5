#pragma once

#include "device/UpgradeFrame.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

/// The host's side of a microphone's firmware transfer: what a message of the device is answered with. The
/// device drives the transfer. It asks for block after block of the image and ends with a verdict; the host
/// counts, retries and times nothing. Main thread.

struct UpgradeReport {
    /// 0 to 100 from the host; a device's own number, 0 to 255, with a block.
    int progress = 0;
    QString message;

    bool operator==(const UpgradeReport&) const = default;
};

struct UpgradeAnswer {
    /// The frame to send, before the reports; empty for none.
    QByteArray frame;
    QList<UpgradeReport> reports;
    /// The device or the host has ended the transfer.
    bool isEnd = false;
};

/// The whole file, header included, or nothing where it is no regular file, cannot be read, or has more than
/// 64 MiB. A file that grows meanwhile is read up to the size that it had.
[[nodiscard]] std::optional<QByteArray> readFirmwareImage(const QString& filePath);

/// The frame that begins a transfer.
[[nodiscard]] QByteArray upgradeQuestion();

/// `image`: the whole file. Its first 32 bytes are a header, which no block contains. Logs what was asked.
[[nodiscard]] UpgradeAnswer answerUpgradeMessage(const UpgradeMessage& message, const QByteArray& image);
