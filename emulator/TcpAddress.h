// Addresses of LocalSocket on TCP: "tcp:" and a port of 127.0.0.1.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vexo::emulator {

bool isTcpAddress(std::string_view address);

// The port of such an address; nothing when there is no port behind the prefix.
std::optional<std::uint16_t> portOfTcpAddress(std::string_view address);

std::string tcpAddressOf(std::uint16_t port);

} // namespace vexo::emulator
