// What the drop-in hidapi and the emulator say to each other on a LocalSocket.
//
// A HID client's first byte is 0xD1, which no command line begins with. Then each side sends messages:
//
//   offset  size    field
//   0       1       type
//   1       4       length of the body, little-endian
//   5       length  body
//
// Texts in a body are a u16 length and that many bytes. An open interface is one connection: its end is the
// unplug.
#pragma once

#include "emulator/InterfaceInfo.h"

namespace vexo::emulator {

constexpr std::uint8_t kHidClient = 0xD1;
constexpr std::size_t kWireHeaderSize = 5;
constexpr std::size_t kMaxWireBody = 1U << 20U;

// First byte of the answer to Open.
enum class OpenResult : std::uint8_t { NoInterface = 0, Opened = 1, NoPermission = 2 };

enum class WireType : std::uint8_t {
    // Client: vendor id u16, product id u16. Answer: count u16, interfaces.
    Enumerate = 1,
    // Client: path text. Answer: 1 u8 and the interface, 0 u8 when there is none, or 2 u8 without permission.
    Open = 2,
    // Client: the report. No answer.
    Write = 3,
    // Client: path text, the report. Answer: 1 or 0 u8.
    SetFeature = 4,
    // Client: path text, report id u8. Answer: 1 u8 and the report, or 0 u8.
    GetFeature = 5,
    // Emulator: a report.
    Input = 6,
    // Emulator: 1 u8 when the device takes no more reports, 0 when it does again. A write waits meanwhile.
    Hold = 7,
};

Bytes wireMessage(WireType type, BytesView body);

void appendText(Bytes& body, std::string_view text);
void appendInterface(Bytes& body, const InterfaceInfo& info);

// Takes values from a body. Past the end of a short body the values are zeros and ok() is false.
class WireReader {
public:
    explicit WireReader(BytesView body) : rest(body) {}

    std::uint8_t takeU8();
    std::uint16_t takeU16();
    std::string takeText();
    InterfaceInfo takeInterface();
    BytesView takeRest() { return take(rest.size()); }
    bool ok() const { return intact; }

private:
    BytesView take(std::size_t count);

    BytesView rest;
    bool intact = true;
};

// Collects bytes until a message is complete.
class WireBuffer {
public:
    struct Message {
        WireType type;
        Bytes body;
    };

    void add(BytesView bytes) { buffer.insert(buffer.end(), bytes.begin(), bytes.end()); }
    // How many more bytes the message needs, as far as is known: first those of its header.
    std::size_t missing() const;
    // The complete message at the front, taken out; nothing while it is not complete.
    std::optional<Message> take();
    // Whether the message at the front is longer than allowed.
    bool broken() const;

private:
    std::size_t bodySize() const { return readU32(buffer, 1); }

    Bytes buffer;
};

} // namespace vexo::emulator
