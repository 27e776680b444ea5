#pragma once

// Which processes are connected to a server's socket. Free functions for any thread; what may not be seen is
// left out.

#include <cstdint>
#include <set>
#include <string>

/// The inodes of the client ends of all connections to the socket that is bound to this path.
[[nodiscard]] std::set<std::uint32_t> socketsConnectedTo(const std::string& path);

/// Those of these sockets that a process holds.
[[nodiscard]] std::set<std::uint32_t> socketsAmong(const std::set<std::uint32_t>& inodes,
                                                   std::uint32_t processId);
