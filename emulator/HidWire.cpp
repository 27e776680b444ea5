#include "emulator/HidWire.h"

#include <algorithm>

namespace vexo::emulator {

Bytes wireMessage(WireType type, BytesView body) {
    Bytes message{static_cast<std::uint8_t>(type)};
    appendU32(message, static_cast<std::uint32_t>(body.size()));
    message.insert(message.end(), body.begin(), body.end());
    return message;
}

void appendText(Bytes& body, std::string_view text) {
    const std::string_view kept = text.substr(0, 0xFFFF);
    appendU16(body, static_cast<std::uint16_t>(kept.size()));
    body.insert(body.end(), kept.begin(), kept.end());
}

void appendInterface(Bytes& body, const InterfaceInfo& info) {
    appendText(body, info.path);
    appendU16(body, info.vendorId);
    appendU16(body, info.productId);
    appendU16(body, info.releaseNumber);
    appendText(body, info.serial);
    appendText(body, info.manufacturer);
    appendText(body, info.product);
    appendU16(body, info.usagePage);
    appendU16(body, info.usage);
    body.push_back(static_cast<std::uint8_t>(info.interfaceNumber));
    appendText(body, std::string(info.reportDescriptor.begin(), info.reportDescriptor.end()));
}

BytesView WireReader::take(std::size_t count) {
    if (count > rest.size()) {
        intact = false;
        rest = {};
        return {};
    }
    const BytesView taken = rest.first(count);
    rest = rest.subspan(count);
    return taken;
}

std::uint8_t WireReader::takeU8() {
    const BytesView bytes = take(1);
    return bytes.empty() ? std::uint8_t{0} : bytes[0];
}

std::uint16_t WireReader::takeU16() {
    const BytesView bytes = take(2);
    return bytes.empty() ? std::uint16_t{0} : readU16(bytes, 0);
}

std::string WireReader::takeText() {
    const BytesView bytes = take(takeU16());
    return {bytes.begin(), bytes.end()};
}

InterfaceInfo WireReader::takeInterface() {
    InterfaceInfo info;
    info.path = takeText();
    info.vendorId = takeU16();
    info.productId = takeU16();
    info.releaseNumber = takeU16();
    info.serial = takeText();
    info.manufacturer = takeText();
    info.product = takeText();
    info.usagePage = takeU16();
    info.usage = takeU16();
    info.interfaceNumber = takeU8();
    const std::string descriptor = takeText();
    info.reportDescriptor.assign(descriptor.begin(), descriptor.end());
    return info;
}

std::size_t WireBuffer::missing() const {
    const std::size_t wanted =
        buffer.size() < kWireHeaderSize ? kWireHeaderSize : kWireHeaderSize + bodySize();
    return wanted - std::min(wanted, buffer.size());
}

bool WireBuffer::broken() const {
    return buffer.size() >= kWireHeaderSize && bodySize() > kMaxWireBody;
}

std::optional<WireBuffer::Message> WireBuffer::take() {
    if (buffer.size() < kWireHeaderSize || missing() > 0) {
        return std::nullopt;
    }
    const auto bodyBegin = buffer.begin() + kWireHeaderSize;
    const auto bodyEnd = bodyBegin + static_cast<std::ptrdiff_t>(bodySize());
    Message message{static_cast<WireType>(buffer[0]), Bytes(bodyBegin, bodyEnd)};
    buffer.erase(buffer.begin(), bodyEnd);
    return message;
}

} // namespace vexo::emulator
