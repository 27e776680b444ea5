#pragma once

#include "platform/linux/system/FileDescriptor.h"

#include <cstddef>
#include <optional>
#include <string>

/// The content of a file that somebody else may have put there: a record of /proc, a desktop entry, a
/// picture. Nothing unless it is a regular file of at most `limitBytes` that may be read. A link at its path
/// is followed. Pipes and devices are not opened, not even for a moment, so none of them can keep the caller
/// waiting. Any thread.
[[nodiscard]] std::optional<std::string> readForeignFile(const std::string& path, std::size_t limitBytes);

/// The same of a place in the file system, as O_PATH opens it.
[[nodiscard]] std::optional<std::string> readForeignFile(const FileDescriptor& place, std::size_t limitBytes);

/// The first bytes of such a file, at most `count` of them, however long it is. Any thread.
[[nodiscard]] std::optional<std::string> readForeignFileStart(const std::string& path, std::size_t count);
