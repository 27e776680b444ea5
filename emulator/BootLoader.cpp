#include "emulator/BootLoader.h"

#include "emulator/Models.h"
#include "emulator/Times.h"

#include <algorithm>
#include <numeric>

namespace vexo::emulator {
namespace {

// A device takes this long from the command to its leaving the bus.
constexpr std::uint64_t kLeaveAfterMs = 100;
constexpr std::uint8_t kBlockLength = 62;
constexpr std::size_t kPacketData = 56;
constexpr std::uint32_t kStartAddress = 0x10000;
constexpr std::array<std::uint8_t, 6> kHandshakeKey{1, 1, 1, 0xAA, 0xBB, 0xCC};

// Reasons of a refusal.
constexpr std::string_view kForm = "form";
constexpr std::string_view kOrder = "order";
constexpr std::string_view kValue = "value";
constexpr std::string_view kLength = "length";
constexpr std::string_view kChecksum = "checksum";
constexpr std::string_view kTime = "time";

std::uint8_t lowSumOf(BytesView bytes) {
    return std::accumulate(
        bytes.begin(), bytes.end(), std::uint8_t{0},
        [](std::uint8_t sum, std::uint8_t byte) { return static_cast<std::uint8_t>(sum + byte); });
}

std::uint32_t readU24(BytesView bytes, std::size_t offset) {
    return readU16(bytes, offset) + bytes[offset + 2] * 0x10000U;
}

bool beginsWith(BytesView bytes, std::string_view text) {
    return bytes.size() >= text.size() && std::ranges::equal(bytes.first(text.size()), text);
}

} // namespace

std::string_view stepWord(BootLoader::Step step) {
    constexpr std::array<std::string_view, 6> kWords{"app",     "idle",    "shaken",
                                                     "erasing", "writing", "confirmed"};
    return kWords[static_cast<std::size_t>(step)];
}

void BootLoader::powerOff() {
    step = imageValid ? Step::App : Step::Idle;
    leavesAtMs.reset();
    packets = 0;
}

void BootLoader::loseFirmware() {
    imageValid = false;
    image.clear();
    powerOff();
}

std::size_t BootLoader::packetCount() const {
    return (size + kPacketData - 1) / kPacketData;
}

void BootLoader::receive(BytesView report, std::uint64_t nowMs) {
    now = nowMs;
    if (leavesAtMs) {
        return refuse(kTime);
    }
    const bool isPacket = report.size() > 2 && report[1] == 'c' && report[2] == 'm';
    if (report.size() != kReportSize || report[0] != kReportId ||
        (!isPacket && (report[1] != kBlockLength || report[2] != 0))) {
        return refuse(kForm);
    }
    if (lowSumOf(report.subspan(2)) != 0) {
        return refuse(kForm);
    }
    const BytesView block = report.subspan(isPacket ? 1 : 3, isPacket ? kBlockLength : kBlockLength - 2);
    constexpr std::array<std::string_view, 6> kWords{"cm_vsrc", "cm_rest", "cm_vcrc",
                                                     "cm_code", "cm_upgd", "cm_fnsh"};
    const auto* const found =
        std::ranges::find_if(kWords, [&](std::string_view text) { return beginsWith(block, text); });
    const std::string_view word = isPacket ? "packet" : (found == kWords.end() ? "" : *found);
    if (events.cutAt(word, true)) {
        return;
    }
    if (isPacket) {
        packet(block);
    } else {
        command(block);
    }
    events.cutAt(word, false);
}

void BootLoader::command(BytesView block) {
    if (beginsWith(block, "cm_vsrc")) {
        answer("cm_vsrc", "cm_vsrc", settings.version);
    } else if (beginsWith(block, "cm_rest?isok")) {
        if (step == Step::App) {
            leave(true);
        }
    } else if (beginsWith(block, "cm_vcrc")) {
        shake(block.subspan(7));
    } else if (beginsWith(block, "cm_code")) {
        beginErase(block.subspan(7));
    } else if (beginsWith(block, "cm_upgd?isok")) {
        confirm(block.subspan(12));
    } else if (beginsWith(block, "cm_fnsh?isok")) {
        finish();
    }
}

void BootLoader::shake(BytesView parameters) {
    if (step == Step::App || step == Step::Erasing) {
        return refuse(kOrder);
    }
    if (!std::ranges::equal(parameters.first(kHandshakeKey.size()), kHandshakeKey)) {
        return refuse(kValue);
    }
    const std::uint32_t wanted = readU32(parameters, kHandshakeKey.size());
    if (wanted > 0xFFFF) {
        return refuse(kChecksum);
    }
    crc = static_cast<std::uint16_t>(wanted);
    step = Step::Shaken;
    packets = 0;
    answer("cm_vcrc", "cm_vcrc");
}

void BootLoader::beginErase(BytesView parameters) {
    if (step != Step::Shaken) {
        return refuse(kOrder);
    }
    if (readU24(parameters, 0) != kStartAddress) {
        return refuse(kValue);
    }
    const std::uint32_t wanted = readU24(parameters, 3);
    if (wanted == 0 || wanted > kLargestFirmware) {
        return refuse(kLength);
    }
    size = wanted;
    // From here on the old firmware is no more.
    imageValid = false;
    image.clear();
    received = 0;
    step = Step::Erasing;
    eraseEndsAtMs = now + settings.eraseMs;
}

void BootLoader::packet(BytesView block) {
    if (step == Step::Erasing) {
        return refuse(kTime);
    }
    const std::size_t number = readU16(block, 2);
    if (step != Step::Writing || number != packets + 1 || number > packetCount()) {
        return refuse(kOrder);
    }
    if (readU16(block, 4) != packetCount()) {
        return refuse(kLength);
    }
    const std::uint64_t waitingMs = writtenAtMs > now ? writtenAtMs - now : 0;
    if (waitingMs > settings.programMs * settings.queueDepth) {
        return refuse(kTime);
    }
    writtenAtMs = std::max(writtenAtMs, now) + settings.programMs;
    const std::size_t offset = packets * kPacketData;
    const std::size_t length = std::min<std::size_t>(kPacketData, size - offset);
    std::ranges::copy(block.subspan(6, length), image.begin() + static_cast<std::ptrdiff_t>(offset));
    received += length;
    ++packets;
}

void BootLoader::confirm(BytesView parameters) {
    if (step != Step::Writing || packets != packetCount()) {
        return refuse(kOrder);
    }
    if (readU24(parameters, 0) != size) {
        return refuse(kLength);
    }
    if (crc16(image, 0) != crc) {
        return refuse(kChecksum);
    }
    imageValid = true;
    step = Step::Confirmed;
    events.confirmed(image);
    answer("cm_upgd", "cm_upgd?isok");
}

void BootLoader::finish() {
    if (step != Step::Confirmed) {
        return refuse(kOrder);
    }
    leave(false);
}

void BootLoader::leave(bool asBootloader) {
    leavesAtMs = now + kLeaveAfterMs;
    leavesForBootloader = asBootloader;
}

std::optional<BootLoader::Restart> BootLoader::takeRestart() {
    if (!leavesAtMs || *leavesAtMs > now) {
        return std::nullopt;
    }
    leavesAtMs.reset();
    return Restart{.awayMs = settings.returnMs, .asBootloader = leavesForBootloader};
}

void BootLoader::answer(std::string_view word, std::string_view text, BytesView values) {
    const auto scripted = settings.replies.find(word);
    const Reply how = scripted == settings.replies.end() ? Reply::Right : scripted->second;
    if (how == Reply::Silent) {
        return;
    }
    if (how == Reply::Wrong) {
        text = "cm_upgd!ok";
        values = {};
    }
    Bytes report{kReportId, static_cast<std::uint8_t>(text.size() + values.size() + 2), 0};
    report.insert(report.end(), text.begin(), text.end());
    report.insert(report.end(), values.begin(), values.end());
    report.push_back(static_cast<std::uint8_t>(0x100 - lowSumOf(BytesView(report).subspan(2))));
    report.resize(kReportSize, 0);
    if (how == Reply::Long) {
        report[1] = 255;
    }
    if (how == Reply::Twice) {
        events.reply(report);
    }
    events.reply(std::move(report));
}

void BootLoader::advance(std::uint64_t nowMs) {
    now = nowMs;
    if (step == Step::Erasing && eraseEndsAtMs <= now) {
        image.assign(size, 0xFF);
        step = Step::Writing;
        packets = 0;
        writtenAtMs = 0;
        if (!events.cutAt("erase", false)) {
            answer("cm_code", "cm_code");
        }
    }
}

std::uint64_t BootLoader::nextEventAtMs() const {
    const std::uint64_t eraseAtMs = step == Step::Erasing ? eraseEndsAtMs : kNever;
    return std::min(eraseAtMs, leavesAtMs.value_or(kNever));
}

} // namespace vexo::emulator
