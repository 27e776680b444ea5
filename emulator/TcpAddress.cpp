#include "emulator/TcpAddress.h"

#include <charconv>

namespace vexo::emulator {
namespace {

constexpr std::string_view kPrefix = "tcp:";

} // namespace

bool isTcpAddress(std::string_view address) {
    return address.starts_with(kPrefix);
}

std::optional<std::uint16_t> portOfTcpAddress(std::string_view address) {
    if (!isTcpAddress(address)) {
        return std::nullopt;
    }
    const std::string_view digits = address.substr(kPrefix.size());
    std::uint16_t port = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
    if (error != std::errc() || end != digits.data() + digits.size()) {
        return std::nullopt;
    }
    return port;
}

std::string tcpAddressOf(std::uint16_t port) {
    return std::string(kPrefix) + std::to_string(port);
}

} // namespace vexo::emulator
