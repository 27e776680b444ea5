#pragma once

#include <cstddef>
#include <optional>
#include <string>

enum class Links { Followed, Refused };

/// The content of a file that somebody else may have put there: a record of /proc, a desktop entry, a
/// picture. Nothing unless it is a regular file of at most `limitBytes` that may be read. A link at
/// its path is followed, unless it is refused: one of another root would lead elsewhere in ours. Pipes and
/// devices are not opened, not even for a moment, so none of them can keep the caller waiting. Any
/// thread.
[[nodiscard]] std::optional<std::string> readForeignFile(const std::string& path, std::size_t limitBytes,
                                                         Links links = Links::Followed);
