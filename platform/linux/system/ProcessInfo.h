#pragma once

// What /proc holds of running processes. Free functions for any thread. A process that ends meanwhile, or
// belongs to somebody else, is no error.

#include <cstdint>
#include <optional>
#include <string>

/// The id of the parent; nothing for a process that does not exist and for the first of all.
[[nodiscard]] std::optional<std::uint32_t> parentProcess(std::uint32_t processId);

/// Whether `processId` is `root` or a descendant of it.
[[nodiscard]] bool isInProcessTree(std::uint32_t processId, std::uint32_t root);

/// Full path of the process's image; empty when it may not be read.
[[nodiscard]] std::string processImagePath(std::uint32_t processId);

/// The process's file name, cut to 15 bytes by the kernel; empty when there is no such process.
[[nodiscard]] std::string processFileName(std::uint32_t processId);
