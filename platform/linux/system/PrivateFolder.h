#pragma once

// Folders of this user alone, for the program's own files. Free functions for any thread.

#include "platform/linux/system/FileDescriptor.h"

#include <string>
#include <string_view>
#include <vector>

/// Opens the folder that lies `levels` deep in `base`, a folder of the user's such as "~/.cache". What is
/// missing is made, for this user alone. Not open where `base` or one of the levels belongs to somebody else,
/// or where a level is a link or no folder. Rights of others in the last level are taken back.
///
/// What is done by the descriptor stays in this very folder, wherever its path may lead later.
[[nodiscard]] FileDescriptor openPrivateFolder(const std::string& base,
                                               const std::vector<std::string>& levels);

/// Whether the folder has a regular file of this name. A link is none.
[[nodiscard]] bool hasFile(const FileDescriptor& folder, const std::string& name);

/// Writes a file, readable by this user alone, in place of what has this name: whole or not at all. False
/// when that failed; a folder of this name stays.
[[nodiscard]] bool writeFile(const FileDescriptor& folder, const std::string& name, std::string_view content);
