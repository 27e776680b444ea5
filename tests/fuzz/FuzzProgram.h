#pragma once

// What the fuzz targets of the device side share: the fuzzer's bytes as a small program, and frames of its
// choice.

#include "tests/fuzz/FuzzInput.h"
#include "tests/support/WireFrame.h"

#include <array>
#include <cstdint>

namespace fuzz {

class Program : public Input {
public:
    using Input::Input;

    LinkAddress address() {
        constexpr std::array<LinkAddress, 6> kUsual{
            {{1, 1, 28}, {7, 3, 0x1234}, {8, 3, 0x1234}, {0, 0, 0}, {2, 1, 28}, {0, 3, 1}}};
        const std::uint8_t choice = byte();
        return choice < 250 ? kUsual[choice % kUsual.size()]
                            : LinkAddress{byte(), static_cast<std::uint8_t>(choice % 3), byte()};
    }
    std::uint16_t messageId() {
        constexpr std::array<std::uint16_t, 14> kUsual{0,  1,  13, 14, 16,     23,     30,
                                                       31, 32, 33, 34, 0x8002, 0x8006, 0x9000};
        const std::uint8_t choice = byte();
        return choice < 250 ? kUsual[choice % kUsual.size()] : word();
    }
};

/// A frame of the fuzzer's choice with a sound header and checksum.
inline wireFrame::Bytes frameFrom(Program& program) {
    const std::uint8_t kind = program.byte() & 0x0F;
    const std::uint16_t messageId = program.messageId();
    const LinkAddress source = program.address();
    const LinkAddress destination = program.address();
    const std::uint16_t sequence = program.word();
    const std::uint16_t length = program.byte() < 200 ? program.byte() % 40 : program.word() % 501;
    return wireFrame::encode({kind, sequence, source, destination, messageId, program.bytes(length)});
}

} // namespace fuzz
