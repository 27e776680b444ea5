#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// The program or library that an address of this process lies in. For signal handlers: asks the kernel
/// alone, allocates nothing, takes no lock.
class LoadedModule {
public:
    /// Finds the module of `address`; false where there is none. Reading lasts about half a millisecond.
    [[nodiscard]] bool find(std::uintptr_t address) noexcept;

    /// Its file, as the kernel names it.
    [[nodiscard]] std::string_view path() const noexcept { return {pathText.data(), pathSize}; }
    /// The address as the module's own tables count it.
    [[nodiscard]] std::uint64_t offset() const noexcept { return ownOffset; }
    /// Where the linker has left none: size 0.
    [[nodiscard]] const unsigned char* buildId() const noexcept { return id.data(); }
    [[nodiscard]] std::size_t buildIdSize() const noexcept { return idSize; }

private:
    bool takeLine(std::string_view line, std::uintptr_t address) noexcept;
    void readHeader(std::uintptr_t address) noexcept;
    void readNotes(std::uintptr_t notes, std::size_t size) noexcept;

    std::uintptr_t base = 0;
    std::uint64_t ownOffset = 0;
    std::size_t pathSize = 0;
    std::size_t idSize = 0;
    std::array<char, 4096> pathText{};
    std::array<unsigned char, 64> id{};
};
