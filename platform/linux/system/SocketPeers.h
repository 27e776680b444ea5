#pragma once

// Which processes are connected to a server's socket. Free functions for any thread; what may not be seen is
// left out.

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>

/// The inodes of the client ends of all connections to the socket that is bound to this path.
[[nodiscard]] std::set<std::uint32_t> socketsConnectedTo(const std::string& path);

/// How many of these sockets a process holds.
[[nodiscard]] std::size_t countOfSockets(std::uint32_t processId, const std::set<std::uint32_t>& inodes);
