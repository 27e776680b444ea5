// What a program learns of an interface when it enumerates the bus.
#pragma once

#include "emulator/Bytes.h"

namespace vexo::emulator {

struct InterfaceInfo {
    std::string path;
    std::uint16_t vendorId = 0;
    std::uint16_t productId = 0;
    // Binary-coded decimal: 0x0107 is 1.07.
    std::uint16_t releaseNumber = 0;
    std::string serial;
    std::string manufacturer;
    std::string product;
    std::uint16_t usagePage = 0;
    std::uint16_t usage = 0;
    int interfaceNumber = 0;
    Bytes reportDescriptor;

    bool operator==(const InterfaceInfo&) const = default;
};

} // namespace vexo::emulator
