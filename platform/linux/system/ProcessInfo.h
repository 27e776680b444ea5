#pragma once

// What /proc holds of running processes. Free functions for any thread. A process that ends meanwhile, or
// belongs to somebody else, is no error.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The id of the parent; nothing for a process that does not exist and for the first of all.
[[nodiscard]] std::optional<std::uint32_t> parentProcess(std::uint32_t processId);

/// Whether `processId` is `root` or a descendant of it.
[[nodiscard]] bool isInProcessTree(std::uint32_t processId, std::uint32_t root);

/// This process, as /proc numbers it: another number than getpid() where /proc is that of an outer namespace.
[[nodiscard]] std::uint32_t ownProcess();

/// What the process is called in each pid namespace that it is in: first the id of /proc, last the one that
/// it knows itself. Empty when there is no such process.
[[nodiscard]] std::vector<std::uint32_t> namespaceIds(std::uint32_t processId);

/// The processes in pid namespaces other than that of /proc, by the id by which they know themselves; of one
/// id the oldest first. Reads all of /proc: some milliseconds.
[[nodiscard]] std::map<std::uint32_t, std::vector<std::uint32_t>> namespacedProcesses();

/// Full path of the process's image; empty when it may not be read.
[[nodiscard]] std::string processImagePath(std::uint32_t processId);

/// The process's file name, cut to 15 bytes by the kernel; empty when there is no such process.
[[nodiscard]] std::string processFileName(std::uint32_t processId);

/// The application's id ("org.example.Player") of a process in a Flatpak; empty for any other. Waits for no
/// file system that the process may have brought along.
[[nodiscard]] std::string flatpakApplication(std::uint32_t processId);
