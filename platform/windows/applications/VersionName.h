#pragma once

// The name of a program in its version block.

#include "inventory/VersionNames.h"
#include "platform/windows/applications/InventorySystemCalls.h"

#include <string>

/// displayNameOf() of an executable, with either kind of separators in its path. Empty without a version
/// block. Any thread.
[[nodiscard]] std::wstring versionDisplayName(const InventorySystemCalls& calls, std::wstring path);
