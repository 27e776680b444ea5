// What the models are on the USB bus: identities, interfaces, report descriptors and report layouts.
#pragma once

#include "emulator/Bytes.h"
#include "emulator/LinkFrame.h"

namespace vexo::emulator {

enum class Model { MixdeskR2, VoxmicM40, VoxmicT40, MixdeskR2Bootloader };

// One HID interface of a model.
struct HidInterface {
    int number;
    std::uint16_t usagePage;
    std::uint16_t usage;
    // The interface that carries the link.
    bool isLink;
    // Reports carry the report id 1 as their first byte.
    bool numbered;
};

struct ModelInfo {
    Model model;
    // The word for commands: "r2".
    std::string_view word;
    std::string_view productName;
    std::uint16_t vendorId;
    std::uint16_t productId;
    LinkAddress linkAddress;
    // What the serial number begins with; four digits follow.
    std::string_view serialPrefix;
    std::uint8_t versionMajor;
    std::uint8_t versionMinor;
    std::span<const HidInterface> interfaces;
    // Most frame bytes in a report to the host; before them stand reportHeader bytes.
    std::size_t bytesPerReport;
    // id 1, length, 0, 0 on the mixer; nothing on the microphones.
    std::size_t reportHeader;
};

// The id of every report of the mixer.
inline constexpr std::uint8_t kReportId = 1;
inline constexpr std::string_view kManufacturer = "VEXO";
// Every report to the host has this many bytes, the report id included where there is one.
inline constexpr std::size_t kReportSize = 64;
// Most frame bytes in a report from the host to the mixer.
inline constexpr std::size_t kMixerOutputChunk = 58;

std::span<const ModelInfo> allModels();
const ModelInfo& modelInfo(Model model);
std::optional<Model> modelByWord(std::string_view word);

// The report descriptor of an interface: one application collection of its usage with a 64-byte input and a
// 64-byte output report (63 and the report id where reports are numbered).
Bytes reportDescriptor(const HidInterface& interface);

// The frame bytes in a report that the host wrote, report id first as hidapi has it. Nothing when the model
// does not know such a report: another report id, a length above 58 or above what follows, more than 64
// bytes.
std::optional<BytesView> frameBytesOfOutputReport(const ModelInfo& model, BytesView report);

// A report to the host with up to bytesPerReport bytes in it, padded with zeros to its full size if wanted.
Bytes inputReport(const ModelInfo& model, BytesView chunk, bool padded);

} // namespace vexo::emulator
