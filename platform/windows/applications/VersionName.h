#pragma once

// The name of a program in its version block.

#include "platform/windows/applications/InventorySystemCalls.h"

#include <functional>
#include <optional>
#include <span>
#include <string>

/// Returns the bytes of one value of a version block by its path, such as "\VarFileInfo\Translation"; nothing
/// where there is none.
using VersionQuery = std::function<std::optional<std::span<const std::byte>>(const std::wstring& path)>;

/// Product name, or else file description, of the first language; that of a Chinese one before any other.
/// Empty when there is none.
[[nodiscard]] std::wstring displayNameOf(const VersionQuery& version);

/// The same for an executable, with either kind of separators in its path. Empty without a version block. Any
/// thread.
[[nodiscard]] std::wstring versionDisplayName(const InventorySystemCalls& calls, std::wstring path);
