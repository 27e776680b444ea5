#pragma once

// The name of a program in the version block of its file, whoever reads the block. Plain functions for any
// thread; a block is what its maker, or damage, has made of it.

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// Returns the bytes of one value of a version block by its path, such as "\VarFileInfo\Translation"; nothing
/// where there is none.
using VersionQuery = std::function<std::optional<std::span<const std::byte>>(const std::wstring& path)>;

/// Product name, or else file description, of the first language; that of a Chinese one before any other.
/// Empty when there is none.
[[nodiscard]] std::wstring displayNameOf(const VersionQuery& version);

/// The bytes of a value that is said to begin at `value` and to have `count` characters, where its path is
/// that of a text, or else bytes: as many as the block holds, and nothing where it begins outside.
[[nodiscard]] std::optional<std::span<const std::byte>> versionValueIn(std::span<const std::byte> block,
                                                                       const void* value, std::size_t count,
                                                                       std::wstring_view path);
