#include "emulator/Models.h"

#include <algorithm>
#include <array>
#include <cassert>

namespace vexo::emulator {
namespace {

constexpr std::array<HidInterface, 2> kMixerInterfaces{{
    // Consumer page, consumer control.
    {.number = 3, .usagePage = 0x0C, .usage = 0x01, .isLink = true, .numbered = true},
    {.number = 4, .usagePage = 0xFF00, .usage = 0x01, .isLink = false, .numbered = true},
}};
constexpr std::array<HidInterface, 1> kMicrophoneInterfaces{{
    {.number = 2, .usagePage = 0x8C, .usage = 0x01, .isLink = true, .numbered = false},
}};
constexpr std::array<HidInterface, 1> kBootloaderInterfaces{{
    {.number = 0, .usagePage = 0xFF00, .usage = 0x01, .isLink = false, .numbered = true},
}};

constexpr std::array<ModelInfo, 4> kModels{{
    {.model = Model::MixdeskR2,
     .word = "r2",
     .productName = "VEXO Mixdesk R2",
     .vendorId = 0x3327,
     .productId = 0x9829,
     .linkAddress = {2, 3, 0x1001},
     .serialPrefix = "R2-",
     .versionMajor = 1,
     .versionMinor = 7,
     .interfaces = kMixerInterfaces,
     .bytesPerReport = 60,
     .reportHeader = 4},
    {.model = Model::VoxmicM40,
     .word = "m40",
     .productName = "VEXO Voxmic M40",
     .vendorId = 0x2F05,
     .productId = 0x1396,
     .linkAddress = {2, 3, 0x1002},
     .serialPrefix = "M40-",
     .versionMajor = 1,
     .versionMinor = 12,
     .interfaces = kMicrophoneInterfaces,
     .bytesPerReport = 64,
     .reportHeader = 0},
    {.model = Model::VoxmicT40,
     .word = "t40",
     .productName = "VEXO Voxmic T40",
     .vendorId = 0x2F05,
     .productId = 0x1397,
     .linkAddress = {2, 3, 0x1003},
     .serialPrefix = "T40-",
     .versionMajor = 2,
     .versionMinor = 3,
     .interfaces = kMicrophoneInterfaces,
     .bytesPerReport = 64,
     .reportHeader = 0},
    {.model = Model::MixdeskR2Bootloader,
     .word = "r2-bootloader",
     .productName = "VEXO Mixdesk R2 Bootloader",
     .vendorId = 0x3327,
     .productId = 0x0820,
     .linkAddress = {0, 0, 0},
     .serialPrefix = "R2-",
     .versionMajor = 0,
     .versionMinor = 1,
     .interfaces = kBootloaderInterfaces,
     .bytesPerReport = 60,
     .reportHeader = 4},
}};

} // namespace

std::span<const ModelInfo> allModels() {
    return kModels;
}

const ModelInfo& modelInfo(Model model) {
    return kModels[static_cast<std::size_t>(model)];
}

std::optional<Model> modelByWord(std::string_view word) {
    const auto* const found = std::ranges::find(kModels, word, &ModelInfo::word);
    return found == kModels.end() ? std::nullopt : std::optional(found->model);
}

Bytes reportDescriptor(const HidInterface& interface) {
    const std::uint8_t count = interface.numbered ? kReportSize - 1 : kReportSize;
    Bytes descriptor{0x06}; // usage page, two bytes
    appendU16(descriptor, interface.usagePage);
    descriptor.insert(descriptor.end(), {0x09, static_cast<std::uint8_t>(interface.usage)}); // usage
    descriptor.insert(descriptor.end(), {0xA1, 0x01});                                       // application
    if (interface.numbered) {
        descriptor.insert(descriptor.end(), {0x85, kReportId});
    }
    descriptor.insert(descriptor.end(), {
                                            0x15, 0x00,        // logical minimum 0
                                            0x26, 0xFF,  0x00, // logical maximum 255
                                            0x75, 0x08,        // report size: 8 bits
                                            0x95, count,       // report count
                                            0x09, 0x02,        // usage 2
                                            0x81, 0x02,        // input: data, variable, absolute
                                            0x95, count,       // report count
                                            0x09, 0x03,        // usage 3
                                            0x91, 0x02,        // output: data, variable, absolute
                                            0xC0,              // end of the collection
                                        });
    return descriptor;
}

std::optional<BytesView> frameBytesOfOutputReport(const ModelInfo& model, BytesView report) {
    if (report.empty()) {
        return std::nullopt;
    }
    if (model.reportHeader == 0) {
        if (report[0] != 0 || report.size() > 1 + kReportSize) {
            return std::nullopt;
        }
        return report.subspan(1);
    }
    if (report[0] != kReportId || report.size() < 2 || report.size() > kReportSize) {
        return std::nullopt;
    }
    const std::size_t length = report[1];
    if (length > kMixerOutputChunk || length > report.size() - 2) {
        return std::nullopt;
    }
    return report.subspan(2, length);
}

Bytes inputReport(const ModelInfo& model, BytesView chunk, bool padded) {
    assert(chunk.size() <= model.bytesPerReport);
    Bytes report;
    if (model.reportHeader != 0) {
        report = {kReportId, static_cast<std::uint8_t>(chunk.size()), 0, 0};
    }
    report.insert(report.end(), chunk.begin(), chunk.end());
    if (padded) {
        report.resize(kReportSize, 0);
    }
    return report;
}

} // namespace vexo::emulator
