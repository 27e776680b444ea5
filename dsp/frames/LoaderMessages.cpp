#include "dsp/frames/LoaderMessages.h"

#include <algorithm>

namespace vexo::dsp {

namespace {

constexpr std::uint8_t byteOf(std::size_t value, unsigned index) {
    return static_cast<std::uint8_t>(value >> (8U * index));
}

} // namespace

CommandBlock commandBlock(std::string_view text, Bytes parameters) {
    CommandBlock block{};
    const std::size_t textBytes = std::min(text.size(), block.size());
    const auto end = std::copy_n(text.begin(), textBytes, block.begin());
    std::copy_n(parameters.begin(), std::min(parameters.size(), block.size() - textBytes), end);
    return block;
}

CommandBlock handshakeBlock(std::string_view text, std::uint16_t imageCrc) {
    // Three bytes and three more that the loader knows, then the checksum in four bytes.
    const std::array<std::uint8_t, 10> parameters{
        0x01, 0x01, 0x01, 0xAA, 0xBB, 0xCC, byteOf(imageCrc, 0), byteOf(imageCrc, 1), 0, 0};
    return commandBlock(text, parameters);
}

CommandBlock eraseBlock(std::string_view text, std::uint32_t imageBytes) {
    const std::array<std::uint8_t, 6> parameters{byteOf(kImageAddress, 0), byteOf(kImageAddress, 1),
                                                 byteOf(kImageAddress, 2), byteOf(imageBytes, 0),
                                                 byteOf(imageBytes, 1),    byteOf(imageBytes, 2)};
    return commandBlock(text, parameters);
}

CommandBlock lengthBlock(std::string_view text, std::uint32_t imageBytes) {
    const std::array<std::uint8_t, 3> parameters{byteOf(imageBytes, 0), byteOf(imageBytes, 1),
                                                 byteOf(imageBytes, 2)};
    return commandBlock(text, parameters);
}

std::size_t packetCount(std::size_t imageBytes) {
    return (imageBytes + kPacketDataBytes - 1) / kPacketDataBytes;
}

PacketBlock packetBlock(Bytes image, std::size_t index) {
    const std::size_t count = packetCount(image.size());
    const std::size_t number = index + 1;
    PacketBlock block{'c', 'm', byteOf(number, 0), byteOf(number, 1), byteOf(count, 0), byteOf(count, 1)};
    const Bytes rest = image.subspan(index * kPacketDataBytes);
    std::copy_n(rest.begin(), std::min(rest.size(), kPacketDataBytes), block.begin() + 6);
    return block;
}

} // namespace vexo::dsp
