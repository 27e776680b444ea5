// Fuzzes how emulated devices take a firmware: the loader's and signal processor's reports of the mixer,
// whole and damaged, with time between them, and the upgrade messages of a microphone. It fails when a
// sanitizer reports, when a device holds more than was written or says that an image is valid whose CRC is
// another, when time stands still, and when the same input has another outcome the second time.

#include "emulator/VirtualBus.h"
#include "tests/fuzz/FuzzInput.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <string_view>

namespace {

using fuzz::Input;
using fuzz::require;
using vexo::emulator::appendU16;
using vexo::emulator::Bytes;
using vexo::emulator::encodeFrame;
using vexo::emulator::Model;
using vexo::emulator::VirtualBus;
using vexo::emulator::VirtualDevice;

constexpr std::size_t kLongestInput = 512;
constexpr std::uint64_t kSeed = 7;
constexpr std::array<std::string_view, 7> kTexts{"cm_vsrc",      "cm_rest?isok", "cm_vcrc", "cm_code",
                                                 "cm_upgd?isok", "cm_fnsh?isok", "cm_read"};

// Fills up to 63 bytes and adds what makes the sum from offset 2 on 0.
Bytes sealed(Bytes report, std::size_t size) {
    report.resize(size, 0);
    const unsigned sum = std::accumulate(report.begin() + 2, report.end(), 0U);
    report.push_back(static_cast<std::uint8_t>(256 - sum % 256));
    return report;
}

Bytes reportOf(Input& input) {
    const std::uint8_t kind = input.byte();
    Bytes report;
    switch (kind % 5) {
    case 0: {
        report = {1, 62, 0};
        const std::string_view text = kTexts.at(input.byte() % kTexts.size());
        report.insert(report.end(), text.begin(), text.end());
        const Bytes parameters = input.bytes(std::min<std::size_t>(input.left(), 10));
        report.insert(report.end(), parameters.begin(), parameters.end());
        return sealed(std::move(report), 63);
    }
    case 1:
        report = {1, 'c', 'm'};
        appendU16(report, input.byte());
        appendU16(report, input.byte());
        report.push_back(input.byte());
        return sealed(std::move(report), 63);
    case 2: {
        report = {1, 0, 0xAA, 'S', 'N', 'D', 'C'};
        const std::size_t count = std::min<std::size_t>(input.left(), input.byte() % 40);
        const Bytes command = input.bytes(std::min(count, input.left()));
        report.insert(report.end(), command.begin(), command.end());
        report[1] = static_cast<std::uint8_t>(report.size() - 1);
        const std::size_t size = report.size();
        return sealed(std::move(report), size);
    }
    default:
        return input.bytes(std::min<std::size_t>(input.left(), 1 + kind / 4));
    }
}

// A message for the microphone in a sound frame; with an even first byte its own CRC is right too.
Bytes messageFrame(Input& input, const VirtualDevice& device) {
    const bool isSound = input.byte() % 2 == 0;
    Bytes checked{static_cast<std::uint8_t>(0x80 + input.byte() % 3)};
    const Bytes data = input.bytes(std::min<std::size_t>(input.left(), input.byte() % 30));
    appendU16(checked, static_cast<std::uint16_t>(data.size()));
    checked.insert(checked.end(), data.begin(), data.end());
    Bytes payload{0xAA, 0x55};
    appendU16(payload, isSound ? vexo::emulator::crc16(checked, 0xFFFF) : std::uint16_t{0});
    payload.insert(payload.end(), checked.begin(), checked.end());
    Bytes report = encodeFrame({.kind = vexo::emulator::kRequest,
                                .sequence = input.byte(),
                                .source = {1, 1, 28},
                                .destination = device.link.settings.address,
                                .messageId = vexo::emulator::kUpgradeFrame,
                                .payload = std::move(payload)});
    report.resize(64, 0);
    report.insert(report.begin(), 0);
    return report;
}

void checkDevices(const VirtualBus& bus) {
    const VirtualDevice& mixer = bus.device(0);
    require(mixer.flash().size() <= vexo::emulator::kLargestFirmware, "a flash has its size");
    require(mixer.loader->receivedBytes() <= mixer.flash().size(), "no more is written than there is room");
    const VirtualDevice& microphone = bus.device(1);
    require(microphone.upgrade->receivedBytes() <= vexo::emulator::kLargestFirmware, "an image has a limit");
    const auto info = vexo::emulator::readFirmwareInfo(microphone.flash());
    require(microphone.flash().empty() || (info && describesImage(*info, microphone.flash())),
            "only an image that describes itself is taken");
}

// Everything that the devices sent.
Bytes transcript(Input input) {
    constexpr std::array kModels{Model::MixdeskR2Bootloader, Model::VoxmicM40};
    VirtualBus bus(kModels, kSeed);
    Bytes sent;
    bus.setListener({.inputReport =
                         [&sent](VirtualBus::HandleId, const Bytes& report) {
                             sent.insert(sent.end(), report.begin(), report.end());
                             return true;
                         },
                     .unplugged = [](VirtualBus::HandleId) {},
                     .held = nullptr});
    bus.device(0).loader->settings.eraseMs = 10;
    bus.plug(0);
    bus.plug(1);
    while (!input.isOver()) {
        const std::uint8_t step = input.byte();
        if (step % 8 == 0) {
            bus.advance(bus.timeMs() + step);
            require(bus.nextEventAtMs() > bus.timeMs(), "time goes on");
        } else {
            const bool toMixer = step % 2 == 0;
            const Bytes report = toMixer ? reportOf(input) : messageFrame(input, bus.device(1));
            for (const auto& interface : bus.enumerate(toMixer ? 0x3327 : 0x2F05, 0)) {
                if (const auto handle = bus.open(interface.path)) {
                    (void)bus.write(*handle, report);
                }
            }
        }
        checkDevices(bus);
    }
    return sent;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size > kLongestInput) {
        return -1;
    }
    const Input input(bytes, size);
    const Bytes sent = transcript(input);
    if (size % 8 == 0) {
        require(transcript(input) == sent, "the same input has the same outcome");
    }
    return 0;
}
