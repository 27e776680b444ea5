// Fuzzes the messages with which a microphone pulls its firmware, and what the host answers. It fails when a
// sanitizer reports, when a block holds other bytes than the image has at its address, when a request outside
// the image is served, when an answer's header or CRC is wrong, and when a message has other reports than its
// command and data call for.

#include "device/MicrophoneUpgrade.h"
#include "device/UpgradeFrame.h"
#include "tests/fuzz/FuzzInput.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QtGlobal>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace {

using fuzz::Input;
using fuzz::require;

constexpr std::size_t kLongestInput = 256;
constexpr qsizetype kFileHeader = 32;
/// The most that a message of the link carries beside the headers.
constexpr std::uint64_t kLongestBlock = 0xFFFF - 13;

std::uint64_t numberAt(QByteArrayView bytes, qsizetype offset, qsizetype count) {
    std::uint64_t number = 0;
    for (qsizetype i = count; i > 0; --i) {
        number = number << 8U | static_cast<std::uint8_t>(bytes[offset + i - 1]);
    }
    return number;
}

unsigned crcOf(QByteArrayView bytes) {
    unsigned crc = 0xFFFF;
    for (const char byte : bytes) {
        for (unsigned mask = 0x80; mask != 0; mask >>= 1U) {
            const bool turns = ((crc & 0x8000U) != 0) != ((static_cast<std::uint8_t>(byte) & mask) != 0);
            crc = (crc << 1U & 0xFFFFU) ^ (turns ? 0x1021U : 0U);
        }
    }
    return crc;
}

/// The image's bytes that a block takes: 32 behind its address, short or none at the end.
QByteArrayView blockOf(const QByteArray& image, std::uint64_t address, std::uint64_t length) {
    const auto from = static_cast<qsizetype>(address) + kFileHeader;
    const QByteArrayView all(image);
    return from >= all.size()
               ? QByteArrayView()
               : all.sliced(from).first(std::min(static_cast<qsizetype>(length), all.size() - from));
}

void checkBlock(QByteArrayView data, const UpgradeAnswer& answer, const QByteArray& image) {
    if (data.size() < 7) {
        require(answer.frame.isEmpty() && answer.reports.isEmpty(),
                "a request that is too short has no answer");
        return;
    }
    const std::uint64_t address = numberAt(data, 0, 4);
    const std::uint64_t length = numberAt(data, 4, 2);
    const auto size = static_cast<std::uint64_t>(image.size());
    if (image.isEmpty() || address >= size || address + length > size || length > kLongestBlock) {
        require(answer.frame.isEmpty(), "a request outside the image gets no block");
        require(answer.reports == QList<UpgradeReport>{{100, QStringLiteral("升级失败")}},
                "its failure is told");
        return;
    }
    const QByteArrayView block = blockOf(image, address, length);
    const QByteArrayView frame(answer.frame);
    require(frame.size() == 13 + block.size(), "an answer has a header of 13 bytes and the block");
    require(frame.first(2) == QByteArrayView("\xAA\x55") && frame[4] == '\x81', "an answer is a block");
    require(numberAt(frame, 2, 2) == crcOf(frame.sliced(4)), "an answer has its CRC");
    require(numberAt(frame, 5, 2) == static_cast<std::uint64_t>(6 + block.size()),
            "an answer has its length");
    require(frame.sliced(7, 6) == data.first(6), "an answer names what was asked");
    require(frame.sliced(13) == block, "a block is the image's");
    const int progress = static_cast<std::uint8_t>(data[6]);
    require(answer.reports == QList<UpgradeReport>{{progress, QStringLiteral("升级进度:%1").arg(progress)}},
            "a block tells the device's own progress");
}

/// How many reports a status or a verdict has.
qsizetype reportsOf(const UpgradeMessage& message) {
    if (message.dataLength != 1 || message.data.isEmpty()) {
        return 0;
    }
    const auto value = static_cast<std::uint8_t>(message.data[0]);
    if (message.command == 0x80) {
        return value < 4 ? 1 : 0;
    }
    constexpr std::array<qsizetype, 2> kVerdicts{1, 2};
    return value < kVerdicts.size() ? kVerdicts.at(value) : 0;
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer's own name
extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*words*/) {
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size > kLongestInput) {
        return -1;
    }
    Input input(bytes, size);
    const qsizetype imageSize = input.byte() < 200 ? input.byte() : input.word();
    QByteArray image(imageSize, '\0');
    for (qsizetype i = 0; i < imageSize; ++i) {
        image[i] = static_cast<char>(i % 251);
    }
    const std::string rest = input.rest();
    const QByteArrayView frame(rest);
    const std::optional<UpgradeMessage> message = readUpgradeFrame(frame);
    require(message.has_value() == (frame.size() >= 7), "a message has at least its header");
    if (!message) {
        return 0;
    }
    require(message->data ==
                frame.sliced(7).first(std::min<qsizetype>(frame.size() - 7, message->dataLength)),
            "the data ends with its length or with the frame");
    const UpgradeAnswer answer = answerUpgradeMessage(*message, image);
    if (message->command == 0x81) {
        checkBlock(message->data, answer, image);
        return 0;
    }
    const bool isKnown = message->command == 0x80 || message->command == 0x82;
    require(answer.frame.isEmpty(), "only a request for a block is answered");
    require(answer.reports.size() == (isKnown ? reportsOf(*message) : 0),
            "a status or verdict has its texts");
    return 0;
}
