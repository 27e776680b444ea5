#pragma once

// What the records of a process in /proc say. Pure functions of a record's text, for any thread: a program
// names itself as it likes, and one that is no such record says nothing.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A whole decimal number; nothing for any other text.
[[nodiscard]] std::optional<std::uint32_t> processNumber(std::string_view text);

/// The parent of a process, of its record "stat"; nothing for the first of all.
[[nodiscard]] std::optional<std::uint32_t> parentIn(std::string_view stat);

/// When a process began, in ticks since the start of the system, of its record "stat"; the largest number for
/// none.
[[nodiscard]] std::uint64_t startTimeIn(std::string_view stat);

/// What a process is called in each of its pid namespaces, the outermost first, of its record "status".
[[nodiscard]] std::vector<std::uint32_t> namespaceIdsIn(std::string_view status);

/// The path of a process's image, of the target of its link "exe".
[[nodiscard]] std::string_view imagePathIn(std::string_view target);

/// The first line of a record; empty without one.
[[nodiscard]] std::string_view firstLineIn(std::string_view record);

/// The application's id of a Flatpak, of its record ".flatpak-info"; empty for none.
[[nodiscard]] std::string_view flatpakApplicationIn(std::string_view info);

/// The number of the mount that an opened place is in, of its record in "fdinfo"; empty for none.
[[nodiscard]] std::string_view mountIn(std::string_view fdinfo);

/// The kind of file system that a list of mounts, a record "mountinfo", names for one; empty where it does
/// not.
[[nodiscard]] std::string_view kindOfMountIn(std::string_view mountinfo, std::string_view mount);
