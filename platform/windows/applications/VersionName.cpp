#include "platform/windows/applications/VersionName.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <span>
#include <vector>
#include <windows.h>

std::wstring versionDisplayName(const InventorySystemCalls& calls, std::wstring path) {
    if (path.empty()) {
        return {};
    }
    std::ranges::replace(path, L'/', L'\\');
    const DWORD size = calls.getFileVersionInfoSize(path.c_str());
    if (size == 0) {
        return {};
    }
    std::vector<std::byte> block(size);
    if (calls.getFileVersionInfo(path.c_str(), size, block.data()) == 0) {
        return {};
    }
    return displayNameOf(
        [&calls, &block](const std::wstring& name) -> std::optional<std::span<const std::byte>> {
            void* value = nullptr;
            UINT length = 0;
            if (calls.verQueryValue(block.data(), name.c_str(), &value, &length) == 0 || value == nullptr) {
                return std::nullopt;
            }
            return versionValueIn(block, value, length, name);
        });
}
