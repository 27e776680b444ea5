#include "emulator/MicrophoneFlash.h"

#include "emulator/Times.h"

#include <algorithm>
#include <array>

namespace vexo::emulator {
namespace {

constexpr std::uint8_t kCommandAsk = 0x80;
constexpr std::uint8_t kCommandBlock = 0x81;
constexpr std::uint8_t kCommandVerdict = 0x82;
constexpr std::size_t kUpgradeHeaderSize = 7;
constexpr std::size_t kBlockHeader = 6;
constexpr std::uint8_t kVerdictGood = 0;
constexpr std::uint8_t kVerdictBad = 1;
constexpr int kBlockRepeats = 3;
// A block that has not come by then is late.
constexpr std::uint64_t kBlockTimeoutMs = 5000;
constexpr std::uint64_t kRestartAfterMs = 100;

Bytes upgradeMessage(std::uint8_t command, BytesView data) {
    Bytes checked{command};
    appendU16(checked, static_cast<std::uint16_t>(data.size()));
    checked.insert(checked.end(), data.begin(), data.end());
    Bytes message{0xAA, 0x55};
    appendU16(message, crc16(checked, 0xFFFF));
    message.insert(message.end(), checked.begin(), checked.end());
    return message;
}

} // namespace

std::string_view stepWord(MicrophoneFlash::Step step) {
    constexpr std::array<std::string_view, 5> kWords{"idle", "asked", "transferring", "finished", "refused"};
    return kWords[static_cast<std::size_t>(step)];
}

void MicrophoneFlash::powerOff() {
    step = Step::Idle;
    image.clear();
    due.reset();
    restartsAtMs.reset();
    forgetAnswers();
}

void MicrophoneFlash::forgetAnswers() {
    answeredSequence.reset();
}

void MicrophoneFlash::receive(const LinkFrame& message, std::uint64_t nowMs) {
    now = nowMs;
    if (message.kind == kResponse) {
        return;
    }
    const BytesView bytes = message.payload;
    if (bytes.size() < kUpgradeHeaderSize || bytes[0] != 0xAA || bytes[1] != 0x55 ||
        readU16(bytes, 5) != bytes.size() - kUpgradeHeaderSize) {
        return repeatRequest(&message, "form");
    }
    if (readU16(bytes, 2) != crc16(bytes.subspan(4), 0xFFFF)) {
        return repeatRequest(&message, "checksum");
    }
    if (answeredSequence == message.sequence) {
        // The host did not hear the answer.
        ++duplicateBlocks;
        if (settings.acknowledges) {
            events.answer(message, lastAnswer);
        }
        return;
    }
    const BytesView data = bytes.subspan(kUpgradeHeaderSize);
    if (bytes[4] == kCommandAsk) {
        onAsk(message, data);
    } else if (bytes[4] == kCommandBlock) {
        onBlock(message, data);
    } else {
        ++refused["order"];
    }
}

void MicrophoneFlash::onAsk(const LinkFrame& message, BytesView data) {
    if (data.size() != 1 || data[0] != 0) {
        ++refused["form"];
        return;
    }
    if (restartsAtMs) {
        ++refused["time"];
        return;
    }
    if (events.cutAt("ask", true)) {
        return;
    }
    image.clear();
    turnaroundsMs.clear();
    repeats = 0;
    blocks = 0;
    due.reset();
    step = settings.status == 0 ? Step::Asked : Step::Refused;
    transmit(&message, upgradeMessage(kCommandAsk, BytesView(&settings.status, 1)));
    if (!events.cutAt("ask", false) && step == Step::Asked) {
        step = Step::Transferring;
        goOn(nullptr);
    }
}

std::string_view MicrophoneFlash::faultOf(BytesView data) const {
    if (data.size() < kBlockHeader) {
        return "form";
    }
    if (readU32(data, 0) != image.size()) {
        return "address";
    }
    if (readU16(data, 4) != wantedLength || data.size() - kBlockHeader != wantedLength) {
        return "length";
    }
    return {};
}

void MicrophoneFlash::onBlock(const LinkFrame& message, BytesView data) {
    if (step != Step::Transferring) {
        ++refused["order"];
        return;
    }
    if (due || (data.size() >= kBlockHeader && readU32(data, 0) < image.size())) {
        ++duplicateBlocks;
        if (settings.acknowledges) {
            events.answer(message, {});
        }
        return;
    }
    if (const std::string_view fault = faultOf(data); !fault.empty()) {
        return repeatRequest(&message, fault);
    }
    if (events.cutAt("block", true)) {
        return;
    }
    repeats = 0;
    ++blocks;
    turnaroundsMs.push_back(now - requestedAtMs);
    const BytesView block = data.subspan(kBlockHeader);
    image.insert(image.end(), block.begin(), block.end());
    if (events.cutAt("block", false)) {
        return;
    }
    if (settings.paceMs > 0) {
        due = Due{.atMs = now + settings.paceMs, .request = message};
        return;
    }
    goOn(&message);
}

void MicrophoneFlash::repeatRequest(const LinkFrame* block, std::string_view reason) {
    ++refused[reason];
    if (step != Step::Transferring) {
        return;
    }
    if (repeats == kBlockRepeats) {
        return judge(block);
    }
    ++repeats;
    requestNext(block);
}

std::optional<std::uint32_t> MicrophoneFlash::imageSize() const {
    if (settings.imageSize) {
        return settings.imageSize;
    }
    const std::optional<FirmwareInfo> info = readFirmwareInfo(image);
    return info ? std::optional(info->size) : std::nullopt;
}

void MicrophoneFlash::goOn(const LinkFrame* block) {
    const std::optional<std::uint32_t> size = imageSize();
    const bool isComplete = size && image.size() >= *size;
    const bool isUnknown = !size && image.size() >= kFirmwareInfoSize;
    if (isComplete || isUnknown || (size && *size > kLargestFirmware)) {
        return judge(block);
    }
    if (settings.stallAfter && blocks >= *settings.stallAfter) {
        return;
    }
    requestNext(block);
}

void MicrophoneFlash::requestNext(const LinkFrame* block) {
    const std::optional<std::uint32_t> size = imageSize();
    // The information block tells the size.
    const std::size_t missing = size.value_or(kFirmwareInfoSize) - image.size();
    wantedLength = static_cast<std::uint16_t>(std::min<std::size_t>(missing, settings.blockSize));
    Bytes data;
    appendU32(data, static_cast<std::uint32_t>(image.size()));
    appendU16(data, wantedLength);
    data.push_back(static_cast<std::uint8_t>(size ? image.size() * 100 / *size : 0));
    requestedAtMs = now;
    transmit(block, upgradeMessage(kCommandBlock, data));
}

void MicrophoneFlash::requestBlock(std::uint32_t address, std::uint16_t length, std::uint8_t progress) {
    Bytes data;
    appendU32(data, address);
    appendU16(data, length);
    data.push_back(progress);
    events.send(upgradeMessage(kCommandBlock, data));
}

void MicrophoneFlash::judge(const LinkFrame* block) {
    if (events.cutAt("verdict", true)) {
        return;
    }
    const std::optional<FirmwareInfo> info = readFirmwareInfo(image);
    const bool isWhole = imageSize() == image.size();
    const bool isGood =
        isWhole && (info ? describesImage(*info, image) && info->model == letter && !events.isOlder(*info)
                         : settings.imageSize.has_value());
    const std::uint8_t verdict = settings.verdict.value_or(isGood ? kVerdictGood : kVerdictBad);
    step = Step::Finished;
    if (verdict == kVerdictGood) {
        firmware = image;
        restartsAtMs = now + kRestartAfterMs;
        events.confirmed(firmware);
    }
    transmit(block, upgradeMessage(kCommandVerdict, BytesView(&verdict, 1)));
    events.cutAt("verdict", false);
}

void MicrophoneFlash::transmit(const LinkFrame* block, Bytes message) {
    if (block != nullptr) {
        answeredSequence = block->sequence;
        lastAnswer = message;
    }
    if (block == nullptr || !settings.acknowledges) {
        return events.send(std::move(message));
    }
    events.answer(*block, std::move(message));
}

bool MicrophoneFlash::takeRestart() {
    if (!restartsAtMs || *restartsAtMs > now) {
        return false;
    }
    restartsAtMs.reset();
    return true;
}

void MicrophoneFlash::advance(std::uint64_t nowMs) {
    now = nowMs;
    if (due && due->atMs <= now) {
        const LinkFrame request = std::move(due->request);
        due.reset();
        return goOn(&request);
    }
    if (nextEventAtMs() <= now && step == Step::Transferring) {
        repeatRequest(nullptr, "time");
    }
}

std::uint64_t MicrophoneFlash::nextEventAtMs() const {
    if (due) {
        return due->atMs;
    }
    const bool stalls = settings.stallAfter && blocks >= *settings.stallAfter;
    const std::uint64_t lateAtMs =
        step == Step::Transferring && !stalls ? requestedAtMs + kBlockTimeoutMs : kNever;
    return std::min(lateAtMs, restartsAtMs.value_or(kNever));
}

MicrophoneFlash::Turnaround MicrophoneFlash::turnaround() const {
    if (turnaroundsMs.empty()) {
        return {};
    }
    std::vector<std::uint64_t> sorted = turnaroundsMs;
    std::ranges::sort(sorted);
    return {.p50 = sorted[sorted.size() / 2], .p99 = sorted[sorted.size() * 99 / 100], .max = sorted.back()};
}

} // namespace vexo::emulator
